// The rows of references, API endpoints, components and test coverage. They differ in what they
// leave out.
#pragma once

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

}  // namespace mcp_responses
