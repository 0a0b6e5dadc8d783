#include "errors.h"

#include <array>

namespace mcp_responses {
namespace {

std::string_view kind_name(Kind kind) noexcept {
  constexpr std::array<std::string_view, 7> names{"null",   "boolean", "integer", "float",
                                                  "string", "list",    "object"};
  return names[static_cast<std::size_t>(kind)];
}

std::string kind_error_message(std::string_view path, std::initializer_list<Kind> expected,
                               Kind actual) {
  std::vector<std::string_view> names;
  for (const Kind kind : expected) names.push_back(kind_name(kind));
  return std::string(path) + " must be " + alternatives(names) + ", not " +
         std::string(kind_name(actual));
}

}  // namespace

std::string alternatives(std::span<const std::string_view> names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? " or " : ", ";
    text += names[i];
  }
  return text;
}

KindError::KindError(std::string_view path, std::initializer_list<Kind> expected, Kind actual)
    : std::invalid_argument(kind_error_message(path, expected, actual)),
      path_(path),
      expected_(expected),
      actual_(actual) {}

FieldMissing::FieldMissing(std::string_view field)
    : std::invalid_argument("the record has no field " + std::string(field)) {}

NestingError::NestingError()
    : std::runtime_error("lists or objects are nested too deeply, or one contains itself") {}

}  // namespace mcp_responses
