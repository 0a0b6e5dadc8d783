// The type of this module's functions. To a Python programmer they behave like functions defined
// with `def`: signature, annotations, defaults, documentation, binding as a method, pickling and
// copying by name.
#pragma once

#include <array>
#include <cstddef>

#include "arguments.h"
#include "py_ref.h"

namespace mcp_responses {

class Call;

/// The declaration of a function, and its body.
struct Signature {
  const char* name;
  /// The first `positional` parameters may be given by position or by name, the others only by name.
  /// A null name ends them.
  std::array<Parameter, max_parameters + 1> parameters;
  std::size_t positional;
  const char* returns;  // the annotation, as text
  PyRef (*body)(Call& call);
  const char* documentation;

  constexpr std::size_t count() const {
    std::size_t count = 0;
    while (parameters[count].name != nullptr) ++count;
    return count;
  }
};

/// The module's functions, in the order of their definitions. Defined in signatures.cc.
extern const std::array<Signature, 24> signatures;

/// A new type for one module object. Throws `PythonError`.
PyRef make_function_type(PyObject* module);

/// A new function of that type. Requires a module with a `ModuleState`, and a signature with static
/// storage. Throws `PythonError`.
PyRef make_function(PyObject* type, PyObject* module, const Signature& signature);

}  // namespace mcp_responses
