// The errors that a caller's arguments can cause. Kinds are called by the names that the host's
// programmers know.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string_view>

#include "handle.h"

namespace mcp_responses {

/// "None", "bool", "int", "float", "str", "list" or "dict".
std::string_view kind_name(Kind kind) noexcept;

/// A value is of the wrong kind: "sections[3] must be dict, not str". The host's TypeError.
class KindError : public std::invalid_argument {
 public:
  KindError(std::string_view where, std::string_view expected, Kind met);
};

/// A record or value has no such attribute: "'int' object has no attribute 'startswith'". The
/// host's AttributeError.
class AttributeMissing : public std::invalid_argument {
 public:
  AttributeMissing(std::string_view type, std::string_view attribute);
};

/// Lists and objects stand deeper inside each other than is walked, or one stands in itself. The
/// host's RecursionError.
class NestingError : public std::runtime_error {
 public:
  static constexpr std::size_t max_levels = 1000;

  NestingError();
};

}  // namespace mcp_responses
