#include "errors.h"

#include <array>
#include <vector>

namespace mcp_responses {
namespace {

std::string_view name_of(Kind kind) noexcept {
  constexpr std::array<std::string_view, 7> names{"None", "bool", "int", "float",
                                                  "str",  "list", "dict"};
  return names[static_cast<std::size_t>(kind)];
}

}  // namespace

std::string names_of(std::initializer_list<Kind> kinds) {
  std::vector<std::string_view> names;
  for (const Kind kind : kinds) {
    names.push_back(name_of(kind));
    if (kind == Kind::list) names.emplace_back("tuple");
  }
  std::string text(names.front());
  for (std::size_t i = 1; i < names.size(); ++i) {
    text += i + 1 == names.size() ? " or " : ", ";
    text += names[i];
  }
  return text;
}

KindError::KindError(std::string_view path, std::initializer_list<Kind> expected, Kind actual)
    : std::invalid_argument(std::string(path) + " must be " + names_of(expected) + ", not " +
                            std::string(name_of(actual))) {}

FieldMissing::FieldMissing(std::string_view field)
    : std::invalid_argument("the record has no field " + std::string(field)) {}

NestingError::NestingError()
    : std::runtime_error("lists or objects are nested too deeply, or one contains itself") {}

}  // namespace mcp_responses
