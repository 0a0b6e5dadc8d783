// The rows of references, API endpoints, components and test coverage.
#pragma once

#include <utility>

#include "records.h"
#include "static_object.h"
#include "value.h"

namespace mcp_responses {

/// "file" and "line", nulls included, then "code", "caller", "caller_kind" and "usage_type", each
/// only if it is not null. `code` is the line of code at that place. Reads `caller_symbol`, whose "fqn"
/// and "kind" are the caller, `usage_type`, `file_path` and `line`. Throws `FieldKindError` if
/// `caller_symbol` is truthy and not an object.
template <Record Source, class Passed = Value>
auto build_reference(const Source& reference, Passed code = {}) {
  // Read before the path: the order in which attributes are read is part of the interface.
  const Value caller = reference.value_of_kind(Field::caller_symbol, {Kind::object, Kind::null});
  auto usage_type = reference.pass_through(Field::usage_type);
  return StaticObject{
      "file"_key = reference.pass_through(Field::file_path),
      "line"_key = reference.pass_through(Field::line),
      "code"_optional = std::move(code),
      "caller"_optional = caller.get("fqn"_key),
      "caller_kind"_optional = caller.get("kind"_key),
      "usage_type"_optional = std::move(usage_type),
  };
}

/// "fqn", "name", "kind", "file" ("" for a falsy path), "line", "signature", "component", nulls
/// included. Reads `fqn`, `name`, `kind`, `start_line` and `signature`.
template <Record Source, class Passed = Value>
auto build_api_endpoint(const Source& symbol, Value file_path = {}, Passed component_name = {}) {
  if (!file_path.truthy()) file_path = Text();
  return StaticObject{
      "fqn"_key = symbol.pass_through(Field::fqn),
      "name"_key = symbol.pass_through(Field::name),
      "kind"_key = symbol.pass_through(Field::kind),
      "file"_key = std::move(file_path),
      "line"_key = symbol.pass_through(Field::start_line),
      "signature"_key = symbol.pass_through(Field::signature),
      "component"_key = std::move(component_name),
  };
}

/// "name", "layer", "path_pattern", "file_count", "symbol_count", nulls included. Reads the
/// fields of these names.
template <Record Source>
auto build_component(const Source& component) {
  return StaticObject{
      "name"_key = component.pass_through(Field::name),
      "layer"_key = component.pass_through(Field::layer),
      "path_pattern"_key = component.pass_through(Field::path_pattern),
      "file_count"_key = component.pass_through(Field::file_count),
      "symbol_count"_key = component.pass_through(Field::symbol_count),
  };
}

/// "test_file", "source_file", then "symbols_imported" if truthy.
auto build_test_coverage(auto test_file, auto source_file, Value symbols_imported = {}) {
  if (!symbols_imported.truthy()) symbols_imported = {};
  return StaticObject{
      "test_file"_key = std::move(test_file),
      "source_file"_key = std::move(source_file),
      "symbols_imported"_optional = std::move(symbols_imported),
  };
}

}  // namespace mcp_responses
