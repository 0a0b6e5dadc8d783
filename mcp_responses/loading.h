// Loading: the steps that fill a new module object, in their order. Each may fail, and ends the
// import with its error; a later import starts afresh.
#pragma once

#include "py_ref.h"

namespace mcp_responses {

/// Defines the module's names, in the order of its namespace. Throws `PythonError`.
void load(PyObject* module);

}  // namespace mcp_responses
