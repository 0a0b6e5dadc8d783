#include "reference_rows.h"

namespace mcp_responses {

Object build_reference(const PlainRecord& reference, Value code) {
  return reference_row(reference, std::move(code));
}

Object build_api_endpoint(const PlainRecord& symbol, Value file_path, Value component_name) {
  return api_endpoint(symbol, std::move(file_path), std::move(component_name));
}

Object build_component(const PlainRecord& component) { return component_row(component); }

Object build_test_coverage(Value test_file, Value source_file, Value symbols_imported) {
  return test_coverage(std::move(test_file), std::move(source_file), std::move(symbols_imported));
}

}  // namespace mcp_responses
