// What a builder reads of a record of the service's storage: its fields, each by name, when the
// builder needs it.
//
// A host reads attributes of its own objects; C++ callers have PlainRecord. A builder's body is the
// one place that says which fields it reads, and in what order.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

#include "value.h"

namespace mcp_responses {

/// The fields of all records. A symbol has `fqn` to `docstring_truncated`, a reference `file_path`
/// to `usage_type`, a component `name` and `layer` to `symbol_count`.
enum class Field : std::uint8_t {
  fqn,
  name,
  kind,
  start_line,
  end_line,
  signature,
  docstring,
  is_export,
  docstring_truncated,
  file_path,
  line,
  caller_symbol,
  usage_type,
  layer,
  path_pattern,
  file_count,
  symbol_count,
  end_of_fields,
};

/// The names of the fields, in the order of `Field`.
inline constexpr std::array<const char*, static_cast<std::size_t>(Field::end_of_fields)>
    field_names{"fqn",        "name",        "kind",
                "start_line", "end_line",    "signature",
                "docstring",  "is_export",   "docstring_truncated",
                "file_path",  "line",        "caller_symbol",
                "usage_type", "layer",       "path_pattern",
                "file_count", "symbol_count"};
static_assert(field_names.back() != nullptr, "each field has a name");

constexpr const char* field_name(Field field) {
  return field_names[static_cast<std::size_t>(field)];
}

/// What a row is built from. All three throw what reading the field throws, `AttributeMissing` or a
/// host's own error.
///
///   pass_through(field)      a field that the row only carries, as whatever kind the host has for it
///   value(field)    a field that the row depends on, as a Value
///   value_with_method(attribute, field)    the same of a field that has to have an attribute (a method, as
///                         a Python programmer sees it), such as "startswith": a truthy host object
///                         that no Value can stand for lacks it, `AttributeMissing`
///   summary(field)        the first sentence of a docstring, or null where there is none. Throws
///                         `KindError` when the field is neither a string nor null
template <class Source>
concept Record = requires(const Source& record, Field field) {
  record.pass_through(field);
  { record.value(field) } -> std::same_as<Value>;
  { record.value_with_method("attribute", field) } -> std::same_as<Value>;
  record.summary(field);
};

/// A record made of the fields it is given.
class PlainRecord {
 public:
  PlainRecord(std::initializer_list<std::pair<Field, Value>> fields) : fields_(fields) {}

  Value pass_through(Field field) const { return value(field); }
  Value value(Field field) const;
  Value value_with_method(const char*, Field field) const { return value(field); }
  Value summary(Field field) const;

 private:
  std::vector<std::pair<Field, Value>> fields_;
};

/// Says that a record's docstring is neither a string nor null.
[[noreturn]] void throw_docstring_error(const Value& docstring);

}  // namespace mcp_responses
