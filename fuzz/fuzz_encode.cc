// The encoder: an independent library writes the same text, or reads the same value back where it
// writes floats otherwise; the size is that of the text.
#include <nlohmann/json.hpp>

#include "contract.h"
#include "encode.h"

namespace mcp_responses {
namespace {

using Json = nlohmann::ordered_json;

Json json_of(const Value& value) {
  if (value.is_null()) return nullptr;
  if (const auto boolean = value.boolean()) return *boolean;
  if (const auto integer = value.integer()) return *integer;
  if (const auto real = value.real()) return *real;
  if (const auto text = value.text()) return text->utf8();
  Json json = value.list() ? Json::array() : Json::object();
  for (const Value& element : value.list().value_or(List())) json.push_back(json_of(element));
  for (const Member& member : value.object().value_or(Object()))
    json[member.key.utf8()] = json_of(member.value);
  return json;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  models::Choices choices(contract::bytes_of(data, size));
  const bool with_floats = choices.below(2) == 1;
  // After the last byte, a long text contains only U+0000, whose escape is the longest.
  const Value value = choices.below(8) == 0 ? models::text_of(models::any_text(choices, 9000))
                                            : models::any_value(choices, 5, with_floats);
  const std::string text = tool_result_text(value).utf8();
  const std::string actual = with_floats ? Json::parse(text).dump() : text;
  contract::require_equal(actual, json_of(value).dump(), "the text of a value");
  contract::require(encoded_size(value) == text.size(), "the size is not the text's: " + text);
  return 0;
}

}  // namespace mcp_responses
