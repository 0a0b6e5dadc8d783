// What a function of this module looks like to its callers: the rows of the table in functions.cc.
#pragma once

#include <array>
#include <cstddef>

#include "host_ref.h"

namespace mcp_responses {

class Call;

/// What a parameter is when it is left out.
enum class Default : unsigned char { required, none, no, zero, zero_real, empty_string, items };

struct Parameter {
  const char* name = nullptr;
  const char* type = nullptr;  // as the host's annotations hold it: text
  Default fallback = Default::required;
};

inline constexpr std::size_t most_parameters = 12;

struct Signature {
  const char* name;
  /// Those before `positional` may be given by position or by name, the others only by name. A null
  /// name ends them.
  std::array<Parameter, most_parameters + 1> parameters;
  std::size_t positional;
  const char* returns;
  HostRef (*target)(const Call& call);
  const char* documentation;

  constexpr std::size_t count() const {
    std::size_t count = 0;
    while (parameters[count].name != nullptr) ++count;
    return count;
  }
};

}  // namespace mcp_responses
