// The errors that the arguments of a call can cause. Kinds have Python's names in the messages, which
// the service's programmers read.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string_view>

#include "handle.h"

namespace mcp_responses {

/// "None", "bool", "int", "float", "str", "list" or "dict".
std::string_view kind_name(Kind kind) noexcept;

/// A value is of the wrong kind: "sections[3] must be dict, not str". TypeError in Python.
class KindError : public std::invalid_argument {
 public:
  KindError(std::string_view path, std::string_view expected, Kind actual);
};

/// A record or value lacks an attribute: "'int' object has no attribute 'startswith'". AttributeError
/// in Python.
class AttributeMissing : public std::invalid_argument {
 public:
  AttributeMissing(std::string_view type, std::string_view attribute);
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
