#include "errors.h"

#include <array>
#include <string>

namespace mcp_responses {
namespace {

std::string joined(std::initializer_list<std::string_view> pieces) {
  std::string text;
  for (const std::string_view piece : pieces) text += piece;
  return text;
}

}  // namespace

std::string_view kind_name(Kind kind) noexcept {
  constexpr std::array<std::string_view, 7> names{"None", "bool", "int", "float",
                                                  "str",  "list", "dict"};
  return names[static_cast<std::size_t>(kind)];
}

KindError::KindError(std::string_view path, std::string_view expected, Kind actual)
    : std::invalid_argument(joined({path, " must be ", expected, ", not ", kind_name(actual)})) {}

AttributeMissing::AttributeMissing(std::string_view type, std::string_view attribute)
    : std::invalid_argument(joined({"'", type, "' object has no attribute '", attribute, "'"})) {}

NestingError::NestingError()
    : std::runtime_error(
          "maximum nesting depth exceeded: a list or dict that deep, or one in itself") {}

}  // namespace mcp_responses
