// The rows of references, API endpoints, components and test coverage. They differ in what they
// leave out.
#pragma once

#include <utility>

#include "keys.h"
#include "records.h"
#include "value.h"

namespace mcp_responses {

/// "file" and "line" (null when unknown), then "code", "caller", "caller_kind" and "usage_type",
/// each only when known. `code` is the line of code that the reference stands on. The caller is
/// read from the reference's `caller_symbol`, an object with "fqn" and "kind"; throws
/// `AttributeMissing` when that is truthy but no object.
Object build_reference(const Record& reference, Value code = {});

/// "fqn", "name", "kind", "file" ("" when no path is given), "line", "signature", "component";
/// nulls included.
Object build_api_endpoint(const Record& symbol, Value file_path = {}, Value component_name = {});

/// "name", "layer", "path_pattern", "file_count", "symbol_count", as the record gives them.
Object build_component(const Record& component);

/// "test_file", "source_file", then "symbols_imported" when truthy.
Object build_test_coverage(Value test_file, Value source_file, Value symbols_imported = {});

/// The caller of a reference, for its keys to be read; empty when it is falsy.
Object caller_of(const Value& caller_symbol);

/// The members of these rows, over any kind of value that a source gives.
template <RecordSource Source, class Passed>
auto reference_row(const Source& reference, Passed code) {
  const Object caller = caller_of(reference.value(Field::caller_symbol));
  auto usage_type = reference.read(Field::usage_type);
  return Shaped{
      "file"_key = reference.read(Field::file_path),
      "line"_key = reference.read(Field::line),
      "code"_known = std::move(code),
      "caller"_known = caller.get("fqn"_key),
      "caller_kind"_known = caller.get("kind"_key),
      "usage_type"_known = std::move(usage_type),
  };
}

template <RecordSource Source, class Passed>
auto api_endpoint(const Source& symbol, Value file_path, Passed component_name) {
  if (!file_path.truthy()) file_path = Text();
  return Shaped{
      "fqn"_key = symbol.read(Field::fqn),         "name"_key = symbol.read(Field::name),
      "kind"_key = symbol.read(Field::kind),       "file"_key = std::move(file_path),
      "line"_key = symbol.read(Field::start_line), "signature"_key = symbol.read(Field::signature),
      "component"_key = std::move(component_name),
  };
}

template <RecordSource Source>
auto component_row(const Source& component) {
  return Shaped{
      "name"_key = component.read(Field::name),
      "layer"_key = component.read(Field::layer),
      "path_pattern"_key = component.read(Field::path_pattern),
      "file_count"_key = component.read(Field::file_count),
      "symbol_count"_key = component.read(Field::symbol_count),
  };
}

}  // namespace mcp_responses
