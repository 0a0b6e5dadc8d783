#include "records.h"

#include <algorithm>

#include "cuts.h"
#include "errors.h"

namespace mcp_responses {

Value PlainRecord::looked_into(Field field) const {
  const auto found = std::ranges::find(fields_, field, &std::pair<Field, Value>::first);
  if (found == fields_.end()) throw AttributeMissing("PlainRecord", field_name(field));
  return found->second;
}

Value PlainRecord::summary(Field field) const {
  const Value docstring = looked_into(field);
  if (!docstring.is_null() && !docstring.text()) refuse_docstring(docstring);
  const auto sentence = first_sentence(docstring.text());
  return sentence ? Value(*sentence) : Value();
}

void refuse_docstring(const Value& docstring) {
  throw KindError("symbol.docstring", "str or None", docstring.kind());
}

}  // namespace mcp_responses
