// The encoder: any value's text equals a character-at-a-time encoding, its size is counted without
// making it, and an independent parser reads it back.
#include <nlohmann/json.hpp>

#include "contract.h"
#include "encode.h"
#include "models/any_value.h"
#include "models/slow_encode.h"

namespace mcp_responses {
namespace {

using Json = nlohmann::ordered_json;

bool reads_as(const Value& value, const Json& json) {
  if (const auto boolean = value.boolean())
    return json.is_boolean() && json.get<bool>() == *boolean;
  if (const auto integer = value.integer()) {
    return json.is_number_integer() && json.get<std::int64_t>() == *integer;
  }
  if (const auto real = value.real()) {
    return json.is_number_float() &&
           std::bit_cast<std::uint64_t>(json.get<double>()) == std::bit_cast<std::uint64_t>(*real);
  }
  if (const auto text = value.text())
    return json.is_string() && json.get<std::string>() == text->utf8();
  if (value.is_null()) return json.is_null();
  if (json.size() != value.size()) return false;
  auto inside = json.begin();
  if (const auto list = value.list()) {
    return json.is_array() &&
           std::ranges::all_of(*list, [&](const Value& v) { return reads_as(v, *inside++); });
  }
  return json.is_object() && std::ranges::all_of(*value.object(), [&](const Member& member) {
           const auto at = inside++;
           return at.key() == member.key.utf8() && reads_as(member.value, at.value());
         });
}

bool has_bare_word(const Value& value) {
  if (const auto real = value.real()) return !std::isfinite(*real);
  if (const auto list = value.list()) return std::ranges::any_of(*list, has_bare_word);
  const auto object = value.object();
  return object && std::ranges::any_of(*object, has_bare_word, &Member::value);
}

void check_size(const Value& value, const Text& text) {
  try {
    const std::string utf8 = text.utf8();
    contract::require(_encoded_size(value) == utf8.size(), "the size is not the text's: " + utf8);
  } catch (const SurrogateError&) {
    try {
      _encoded_size(value);
    } catch (const SurrogateError&) {
      return;
    }
    throw std::logic_error("a text with a surrogate was counted");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  models::Choices choices(contract::bytes_of(data, size));
  const bool with_surrogates = choices.below(8) == 7;
  const Value value = models::any_value(choices, 5, with_surrogates);
  const Text text = tool_result_text(value);
  contract::require(text == models::text_of(models::slow_text(value)),
                    "not the text that the slow encoder writes");
  check_size(value, text);
  if (with_surrogates || has_bare_word(value)) return 0;
  contract::require(reads_as(value, Json::parse(text.utf8())),
                    "reads back otherwise: " + text.utf8());
  return 0;
}

}  // namespace mcp_responses
