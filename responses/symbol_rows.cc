#include "symbol_rows.h"

#include "cuts.h"
#include "errors.h"
#include "keys.h"

namespace mcp_responses {

Value summary_of(const Record& symbol) {
  const Value docstring = symbol.read(Field::docstring);
  if (docstring.is_null()) return {};
  if (docstring.kind() != Kind::string)
    throw KindError("symbol.docstring", "str or None", docstring.kind());
  auto sentence = first_sentence(docstring.text());
  return sentence ? Value(*std::move(sentence)) : Value();
}

Object build_symbol_search_result(const Record& symbol, Value file_path) {
  return Known{
      "fqn"_key = symbol.read(Field::fqn),         "name"_key = symbol.read(Field::name),
      "kind"_key = symbol.read(Field::kind),       "file"_key = std::move(file_path),
      "line"_key = symbol.read(Field::start_line), "signature"_key = symbol.read(Field::signature),
      "summary"_key = summary_of(symbol),
  };
}

Object build_symbol_full_details(const Record& symbol, Value file_path) {
  return Shaped{
      "found"_key = true,
      "fqn"_key = symbol.read(Field::fqn),
      "name"_key = symbol.read(Field::name),
      "kind"_key = symbol.read(Field::kind),
      "file"_key = std::move(file_path),
      "start_line"_key = symbol.read(Field::start_line),
      "end_line"_key = symbol.read(Field::end_line),
      "signature"_key = symbol.read(Field::signature),
      "is_export"_key = symbol.read(Field::is_export),
      "docstring"_key = symbol.read(Field::docstring),
      "docstring_truncated"_key = symbol.read(Field::docstring_truncated),
  };
}

}  // namespace mcp_responses
