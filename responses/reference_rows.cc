#include "reference_rows.h"

#include "errors.h"
#include "keys.h"

namespace mcp_responses {
namespace {

Object caller_of(const Record& reference) {
  const Value caller = reference.read(Field::caller_symbol);
  if (!caller.truthy()) return {};
  const auto object = caller.object();
  if (!object) throw AttributeMissing(kind_name(caller.kind()), "get");
  return *object;
}

}  // namespace

Object build_reference(const Record& reference, Value code) {
  const Object caller = caller_of(reference);
  Value usage_type = reference.read(Field::usage_type);
  Object row = Shaped{
      "file"_key = reference.read(Field::file_path),
      "line"_key = reference.read(Field::line),
  };
  row.reserve(4);
  row.add_known("code"_key, std::move(code));
  row.add_known("caller"_key, caller.get("fqn"_key));
  row.add_known("caller_kind"_key, caller.get("kind"_key));
  row.add_known("usage_type"_key, std::move(usage_type));
  return row;
}

Object build_api_endpoint(const Record& symbol, Value file_path, Value component_name) {
  return Shaped{
      "fqn"_key = symbol.read(Field::fqn),
      "name"_key = symbol.read(Field::name),
      "kind"_key = symbol.read(Field::kind),
      "file"_key = file_path.truthy() ? std::move(file_path) : Value(Text()),
      "line"_key = symbol.read(Field::start_line),
      "signature"_key = symbol.read(Field::signature),
      "component"_key = std::move(component_name),
  };
}

Object build_component(const Record& component) {
  return Shaped{
      "name"_key = component.read(Field::name),
      "layer"_key = component.read(Field::layer),
      "path_pattern"_key = component.read(Field::path_pattern),
      "file_count"_key = component.read(Field::file_count),
      "symbol_count"_key = component.read(Field::symbol_count),
  };
}

Object build_test_coverage(Value test_file, Value source_file, Value symbols_imported) {
  Object row = Shaped{
      "test_file"_key = std::move(test_file),
      "source_file"_key = std::move(source_file),
  };
  if (symbols_imported.truthy()) row.add("symbols_imported"_key, std::move(symbols_imported));
  return row;
}

}  // namespace mcp_responses
