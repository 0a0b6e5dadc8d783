// The errors that the arguments of a call can cause.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

#include "detail/handle.h"

namespace mcp_responses {

/// The names of these kinds in messages, as in Python: "list, tuple or None".
std::string names_of(std::initializer_list<Kind> kinds);

/// A value has the wrong kind: "sections[3] must be dict, not str". TypeError in Python.
class KindError : public std::invalid_argument {
 public:
  KindError(std::string_view path, std::initializer_list<Kind> expected, Kind actual);
};

/// A field of a PlainRecord has the wrong kind. For a record in Python, it is an AttributeError.
class FieldKindError : public KindError {
 public:
  using KindError::KindError;
};

/// A record lacks a field: "the record has no field layer".
class FieldMissing : public std::invalid_argument {
 public:
  explicit FieldMissing(std::string_view field);
};

/// Lists and objects are nested too deeply, or one contains itself. RecursionError in Python.
class NestingError : public std::runtime_error {
 public:
  static constexpr std::size_t max_levels = 1000;

  NestingError();
};

/// Throws `NestingError` if a list or object inside `levels` others exceeds the limit.
inline void check_nesting(std::size_t levels, std::size_t max_levels = NestingError::max_levels) {
  if (levels >= max_levels) throw NestingError();
}

}  // namespace mcp_responses
