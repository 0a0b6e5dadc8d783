// The two shapes in which a single symbol is answered: the row of a search, and its full details.
#pragma once

#include <utility>

#include "keys.h"
#include "records.h"
#include "value.h"

namespace mcp_responses {

/// The row of a symbol that a search lists: "fqn", "name", "kind", "file", "line", "signature",
/// "summary", each only when it is not null. "line" is the symbol's `start_line`, 1-based. The
/// fields are read in the order of the keys.
Object build_symbol_search_result(const Record& symbol, Value file_path = {});

/// The whole symbol: "found" (true), "fqn", "name", "kind", "file", "start_line", "end_line",
/// "signature", "is_export", "docstring" and "docstring_truncated", nulls included, the docstring
/// uncut.
Object build_symbol_full_details(const Record& symbol, Value file_path = {});

/// The members of these answers, over any kind of value that a source gives.
template <RecordSource Source, class Passed>
auto symbol_search_result(const Source& symbol, Passed file_path) {
  return Shaped{
      "fqn"_known = symbol.read(Field::fqn),
      "name"_known = symbol.read(Field::name),
      "kind"_known = symbol.read(Field::kind),
      "file"_known = std::move(file_path),
      "line"_known = symbol.read(Field::start_line),
      "signature"_known = symbol.read(Field::signature),
      "summary"_known = symbol.summary(Field::docstring),
  };
}

template <RecordSource Source, class Passed>
auto symbol_full_details(const Source& symbol, Passed file_path) {
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
