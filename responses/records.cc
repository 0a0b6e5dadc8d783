#include "records.h"

#include <algorithm>

#include "errors.h"

namespace mcp_responses {

Value Record::summary(Field field) const {
  const FirstSentence sentence = sentence_of(read(field));
  if (sentence.view().size == 0) return {};
  return visit_units(sentence.view(), [](auto units) { return Text::copy_of(units); });
}

FirstSentence sentence_of(const Value& docstring) {
  if (docstring.is_null()) return FirstSentence({});
  if (docstring.kind() != Kind::string)
    throw KindError("symbol.docstring", "str or None", docstring.kind());
  return FirstSentence(docstring.holder().text(docstring.payload()));
}

Value PlainRecord::read(Field field) const {
  const auto found = std::ranges::find(fields_, field, &std::pair<Field, Value>::first);
  if (found == fields_.end()) throw AttributeMissing("PlainRecord", field_name(field));
  return found->second;
}

}  // namespace mcp_responses
