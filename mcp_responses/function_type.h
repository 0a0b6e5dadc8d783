// The type of this module's functions. To a Python programmer they behave like functions defined
// with `def`: signature, annotations, defaults, documentation, binding as a method, pickling and
// copying by name.
#pragma once

#include "py_ref.h"

namespace mcp_responses {

class Call;

/// A new type for one module object. Throws `PythonError`.
PyRef make_function_type(PyObject* module);

/// A new function of that type, with the name, signature and documentation of `declaration`, a Python
/// function that returns `locals()`. Requires a module with a `ModuleState`. `body` reads the
/// arguments of a call and returns the answer. Throws `PythonError`.
PyRef make_function(PyObject* type, PyObject* module, PyObject* declaration,
                    PyRef (*body)(Call& call));

}  // namespace mcp_responses
