// What a record of the service's storage lets a builder read: its fields, each by name, when the
// builder needs it. The host reads attributes of its own objects; C++ callers have PlainRecord.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "cuts.h"
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
};

inline constexpr std::array<const char*, 17> field_names{
    "fqn",        "name",        "kind",
    "start_line", "end_line",    "signature",
    "docstring",  "is_export",   "docstring_truncated",
    "file_path",  "line",        "caller_symbol",
    "usage_type", "layer",       "path_pattern",
    "file_count", "symbol_count"};

constexpr const char* field_name(Field field) {
  return field_names[static_cast<std::size_t>(field)];
}

class Record {
 public:
  Record() = default;
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
  virtual ~Record() = default;

  /// The value of a field. Throws `AttributeMissing`, or the host's own error, when the record does
  /// not have it.
  virtual Value read(Field field) const = 0;
  Value value(Field field) const { return read(field); }
  /// The first sentence of the docstring in a field; null where there is none. Throws `KindError`
  /// when the field is neither a string nor null.
  Value summary(Field field) const;
};

/// What a row is read from: `read` gives a field that the row only hands on, of whatever kind the
/// host has for it, `value` one that it looks into, `summary` what it shows of one.
template <class Source>
concept RecordSource = requires(const Source& source, Field field) {
  source.read(field);
  source.summary(field);
  { source.value(field) } -> std::same_as<Value>;
};

/// The first sentence of a docstring; no text for null. Throws `KindError` when it is neither a
/// string nor null.
FirstSentence sentence_of(const Value& docstring);

/// A record made of the fields it is given.
class PlainRecord : public Record {
 public:
  PlainRecord(std::initializer_list<std::pair<Field, Value>> fields) : fields_(fields) {}
  Value read(Field field) const override;

 private:
  std::vector<std::pair<Field, Value>> fields_;
};

}  // namespace mcp_responses
