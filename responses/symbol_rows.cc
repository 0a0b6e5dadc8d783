#include "symbol_rows.h"

#include "errors.h"

namespace mcp_responses {

FirstSentence sentence_of(const Value& docstring) {
  if (docstring.is_null()) return FirstSentence({});
  if (docstring.kind() != Kind::string)
    throw KindError("symbol.docstring", "str or None", docstring.kind());
  return FirstSentence(docstring.holder().text(docstring.payload()));
}

Object build_symbol_search_result(const Record& symbol, Value file_path) {
  return symbol_search_result(symbol, std::move(file_path));
}

Object build_symbol_full_details(const Record& symbol, Value file_path) {
  return symbol_full_details(symbol, std::move(file_path));
}

}  // namespace mcp_responses
