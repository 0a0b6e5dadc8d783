// The two answers about a symbol: the row of a search, and its full details. The fields are read in the
// order of the keys, so an error names the first one that the record lacks.
#pragma once

#include <utility>

#include "records.h"
#include "static_object.h"
#include "value.h"

namespace mcp_responses {

/// The row of a symbol in a search: "fqn", "name", "kind", "file", "line", "signature", "summary", each
/// only if it is not null. Reads `fqn`, `name`, `kind`, `start_line` (1-based), `signature` and
/// `docstring`.
template <Record Source, class Passed = Value>
auto build_symbol_search_result(const Source& symbol, Passed file_path = {}) {
  return StaticObject{
      "fqn"_optional = symbol.pass_through(Field::fqn),
      "name"_optional = symbol.pass_through(Field::name),
      "kind"_optional = symbol.pass_through(Field::kind),
      "file"_optional = std::move(file_path),
      "line"_optional = symbol.pass_through(Field::start_line),
      "signature"_optional = symbol.pass_through(Field::signature),
      "summary"_optional = symbol.summary(Field::docstring),
  };
}

/// A whole symbol: "found" (true), "fqn", "name", "kind", "file", "start_line", "end_line",
/// "signature", "is_export", "docstring" and "docstring_truncated", nulls included. The docstring is
/// not cut. Reads the fields of these names, except "found" and "file".
template <Record Source, class Passed = Value>
auto build_symbol_full_details(const Source& symbol, Passed file_path = {}) {
  return StaticObject{
      "found"_key = true,
      "fqn"_key = symbol.pass_through(Field::fqn),
      "name"_key = symbol.pass_through(Field::name),
      "kind"_key = symbol.pass_through(Field::kind),
      "file"_key = std::move(file_path),
      "start_line"_key = symbol.pass_through(Field::start_line),
      "end_line"_key = symbol.pass_through(Field::end_line),
      "signature"_key = symbol.pass_through(Field::signature),
      "is_export"_key = symbol.pass_through(Field::is_export),
      "docstring"_key = symbol.pass_through(Field::docstring),
      "docstring_truncated"_key = symbol.pass_through(Field::docstring_truncated),
  };
}

}  // namespace mcp_responses
