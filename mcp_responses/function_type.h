// The type of this module's functions. Where it matters to a Python programmer they are like
// functions defined with `def`: signature, annotations, defaults, documentation, binding as a
// method, pickling and copying by name.
#pragma once

#include <array>
#include <cstddef>

#include "arguments.h"
#include "py_ref.h"

namespace mcp_responses {

class Call;

/// What a function is to its callers, and what it does.
struct Signature {
  const char* name;
  /// Those before `positional` may be given by position or by name, the others only by name. A null
  /// name ends them.
  std::array<Parameter, max_parameters + 1> parameters;
  std::size_t positional;
  const char* returns;  // as the host's annotations hold it: text
  PyRef (*body)(Call& call);
  const char* documentation;

  constexpr std::size_t count() const {
    std::size_t count = 0;
    while (parameters[count].name != nullptr) ++count;
    return count;
  }
};

/// The type, made for one module object. Throws `PythonError`.
PyRef make_function_type(PyObject* module);

/// A function of that type. Requires that the module keeps a `State*` and that the signature lives
/// as long as the program. Throws `PythonError`.
PyRef make_function(PyObject* type, PyObject* module, const Signature& signature);

}  // namespace mcp_responses
