// Lays a call's arguments out in the order of a function's parameters, as the interpreter does for
// a function defined in its own language: the same errors, the same texts, the same one first when
// several apply.
#pragma once

#include <span>

#include "host_ref.h"

namespace mcp_responses {

/// A function's parameters as the host knows them. All pointers are borrowed from the function
/// object.
struct HostParameters {
  const char* function;
  std::span<PyObject* const> names;     // interned
  std::span<PyObject* const> defaults;  // one for each name; null: it must be given
  std::size_t positional;               // how many may be given by position: the first ones
};

/// A call as the vectorcall protocol hands it over.
struct GivenArguments {
  PyObject* const* values;  // those by position, then those by name
  std::size_t by_position;
  PyObject* names;  // a tuple, or null
};

/// Fills `arguments`, one for each parameter, with borrowed references. Throws `HostError`
/// (TypeError) for a call that does not fit.
void lay_out(const HostParameters& parameters, const GivenArguments& given,
             std::span<PyObject*> arguments);

}  // namespace mcp_responses
