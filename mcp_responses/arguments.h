// A function's parameters, and a call's arguments laid out in their order, as the interpreter does
// it for a function defined in its own language: the same errors, the same texts, the same one
// first when several apply.
#pragma once

#include <cstddef>
#include <span>

#include "py_ref.h"

namespace mcp_responses {

/// What a parameter is when it is left out.
enum class Default : unsigned char { required, none, no, zero, zero_real, empty_string, items };

struct Parameter {
  const char* name = nullptr;
  const char* type = nullptr;  // as the host's annotations hold it: text
  Default fallback = Default::required;
};

inline constexpr std::size_t max_parameters = 12;

/// A function's parameters as the host knows them. All pointers are borrowed from the function
/// object.
struct BoundParameters {
  const char* function;
  std::span<PyObject* const> names;     // interned
  std::span<PyObject* const> defaults;  // one for each name; null: it must be given
  std::size_t positional;               // how many may be given by position: the first ones
};

/// A call as the vectorcall protocol hands it over.
struct CallArguments {
  PyObject* const* values;  // those by position, then those by name
  std::size_t by_position;
  PyObject* names;  // a tuple, or null
};

/// Fills `arguments`, from the first on one for each parameter, with borrowed references. Throws
/// `PythonError` (TypeError) for a call that does not fit.
void bind_arguments(const BoundParameters& parameters, const CallArguments& given,
                    std::span<PyObject*, max_parameters> arguments);

}  // namespace mcp_responses
