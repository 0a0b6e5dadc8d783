// The native functions, which the Python functions of namespace.py call.
#pragma once

#include "call.h"
#include "check_interrupt.h"
#include "py_ref.h"

namespace mcp_responses {

/// The state of a module, in a capsule that its native functions own together. Throws `PythonError`.
PyRef new_module_state();
ModuleState& state_in(PyObject* capsule) noexcept;

/// The code object of namespace.py. The constants of its functions contain new native functions with
/// this state. So a function needs no name of the namespace to find its native function, and works as
/// long as it exists. Throws `PythonError`.
PyRef namespace_code_with(PyObject* state);

/// The interruption check of each call. It is static, because greenlets can end calls out of order: an
/// InterruptScope then restores a pointer to the check of a call that has ended.
extern const CheckInterrupt run_signal_handlers;

}  // namespace mcp_responses
