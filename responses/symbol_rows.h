// The two shapes in which a single symbol is answered: the row of a search, and its full details.
#pragma once

#include <utility>

#include "records.h"
#include "shaped.h"
#include "value.h"

namespace mcp_responses {

/// The row of a symbol that a search lists: "fqn", "name", "kind", "file", "line", "signature",
/// "summary", each only when it is not null. "line" is the symbol's `start_line`, 1-based. The
/// fields are read in the order of the keys.
Object build_symbol_search_result(const PlainRecord& symbol, Value file_path = {});

/// The whole symbol: "found" (true), "fqn", "name", "kind", "file", "start_line", "end_line",
/// "signature", "is_export", "docstring" and "docstring_truncated", nulls included, the docstring
/// uncut.
Object build_symbol_full_details(const PlainRecord& symbol, Value file_path = {});

/// The members of these answers, of any kind of record. The fields are read in the order of the
/// keys, so the first that a record lacks is the one that its error names. What `file_path` holds
/// is only handed on: a Value, or whatever kind a host has for it.
template <Record Source, class HandedOn>
auto symbol_search_result(const Source& symbol, HandedOn file_path) {
  return Shaped{
      "fqn"_known = symbol.handed_on(Field::fqn),
      "name"_known = symbol.handed_on(Field::name),
      "kind"_known = symbol.handed_on(Field::kind),
      "file"_known = std::move(file_path),
      "line"_known = symbol.handed_on(Field::start_line),
      "signature"_known = symbol.handed_on(Field::signature),
      "summary"_known = symbol.summary(Field::docstring),
  };
}

template <Record Source, class HandedOn>
auto symbol_full_details(const Source& symbol, HandedOn file_path) {
  return Shaped{
      "found"_key = true,
      "fqn"_key = symbol.handed_on(Field::fqn),
      "name"_key = symbol.handed_on(Field::name),
      "kind"_key = symbol.handed_on(Field::kind),
      "file"_key = std::move(file_path),
      "start_line"_key = symbol.handed_on(Field::start_line),
      "end_line"_key = symbol.handed_on(Field::end_line),
      "signature"_key = symbol.handed_on(Field::signature),
      "is_export"_key = symbol.handed_on(Field::is_export),
      "docstring"_key = symbol.handed_on(Field::docstring),
      "docstring_truncated"_key = symbol.handed_on(Field::docstring_truncated),
  };
}

}  // namespace mcp_responses
