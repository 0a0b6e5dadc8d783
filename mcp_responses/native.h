// The native functions, which the Python functions of namespace.py call.
#pragma once

#include "call.h"
#include "py_ref.h"

namespace mcp_responses {

/// The state of a module, in a capsule that its native functions own together. Throws `PythonError`.
PyRef new_module_state();
ModuleState& state_in(PyObject* capsule) noexcept;

/// The code object of namespace.py. The constants of its functions contain new native functions with
/// this state. So a function needs no name of the namespace to find its native function, and works as
/// long as it exists. Throws `PythonError`.
PyRef namespace_code_with(PyObject* state);

}  // namespace mcp_responses
