// Records of the service's storage, as builders read them: each field by its name, when it is needed.
//
// The extension reads the attributes of Python objects; C++ callers use PlainRecord. The body of a
// builder determines which fields are read, and in which order.
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

/// A record that a row is built from. Each function throws if the field cannot be read:
/// `FieldMissing`, or an error of a foreign runtime.
///
///   pass_through(field)              a field that the row only contains: a Value, or the foreign
///                                    object
///   value(field)                     a field whose content determines the row, as a Value
///   value_of_kind(field, kinds)      the same, for a field that must have one of these kinds. Throws
///                                    `FieldKindError`. If the kinds contain null, a falsy field of
///                                    any kind counts as null
///   summary(field)                   the first sentence of a docstring, or null. Throws `KindError`
///                                    if the field is neither a string nor null
template <class Source>
concept Record = requires(const Source& record, Field field) {
  record.pass_through(field);
  { record.value(field) } -> std::same_as<Value>;
  { record.value_of_kind(field, {Kind::string}) } -> std::same_as<Value>;
  record.summary(field);
};

/// A record of C++ values.
class PlainRecord {
 public:
  PlainRecord(std::initializer_list<std::pair<Field, Value>> fields) : fields_(fields) {}

  Value pass_through(Field field) const { return value(field); }
  Value value(Field field) const;
  Value value_of_kind(Field field, std::initializer_list<Kind> kinds) const;
  Value summary(Field field) const;

 private:
  std::vector<std::pair<Field, Value>> fields_;
};

}  // namespace mcp_responses
