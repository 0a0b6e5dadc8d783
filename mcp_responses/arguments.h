// Binds a call's arguments to the parameters of a function, like `inspect.Signature.bind`. The errors
// are those of the interpreter for a function defined in Python: the same texts, and the same one
// first if several apply.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "py_ref.h"

namespace mcp_responses {

/// The default of a parameter.
enum class Default : unsigned char { required, none, no, zero, zero_real, empty_string, items };

struct Parameter {
  const char* name = nullptr;
  const char* type = nullptr;  // the annotation, as text
  Default fallback = Default::required;
};

/// The types that an annotation accepts, for an error message: "list, tuple or None" for
/// "list[Any] | None".
std::string accepted_types(std::string_view annotation);

inline constexpr std::size_t max_parameters = 12;

/// A function's parameters as Python objects. All pointers are borrowed from the function object.
struct PyParameters {
  const char* function;
  std::span<PyObject* const> names;     // interned
  std::span<PyObject* const> defaults;  // one for each name; null for a required parameter
  std::size_t positional;               // the number that may be given by position: the first ones
};

/// The arguments of a vectorcall.
struct CallArguments {
  PyObject* const* values;  // by position, then by name
  std::size_t by_position;
  PyObject* names;  // a tuple, or null
};

/// Sets `arguments` to one borrowed reference for each parameter. Throws `PythonError` (TypeError) if
/// the arguments do not fit.
void bind_arguments(const PyParameters& parameters, const CallArguments& given,
                    std::span<PyObject*, max_parameters> arguments);

}  // namespace mcp_responses
