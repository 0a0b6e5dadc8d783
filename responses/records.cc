#include "records.h"

#include <algorithm>

#include "cuts.h"
#include "errors.h"

namespace mcp_responses {

Value PlainRecord::value(Field field) const {
  const auto found = std::find_if(fields_.begin(), fields_.end(),
                                  [field](const auto& entry) { return entry.first == field; });
  if (found == fields_.end()) throw FieldMissing(field_name(field));
  return found->second;
}

Value PlainRecord::value_of_kind(Field field, std::initializer_list<Kind> kinds) const {
  Value found = value(field);
  const auto is_one = [kinds](Kind kind) {
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
  };
  if (is_one(found.kind())) return found;
  if (is_one(Kind::null) && !found.truthy()) return {};
  throw FieldKindError(field_name(field), kinds, found.kind());
}

Value PlainRecord::summary(Field field) const {
  const Value docstring = value(field);
  if (!docstring.is_null() && !docstring.text())
    throw KindError(field_name(field), {Kind::string, Kind::null}, docstring.kind());
  const auto sentence = first_sentence(docstring.text());
  return sentence ? Value(*sentence) : Value();
}

}  // namespace mcp_responses
