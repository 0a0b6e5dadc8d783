// The encoder on trees of Python objects, without a conversion to Values.
#pragma once

#include <cstddef>

#include "detail/sinks.h"
#include "py_ref.h"

namespace mcp_responses {

/// The JSON text of a tree of Python objects, as a new str. It is written into `scratch` first, which
/// keeps up to 1 MiB from one call to the next: memory freed after each text would go back to the
/// kernel, and cost a page fault per 4 KiB at the next one. Throws `UnsupportedObject`,
/// `NestingError` and `PythonError`.
PyRef encoded_py_text(PyObject* root, detail::TextBuffer& scratch);

/// The size of that text in UTF-8, in bytes. Throws `SurrogateError` too.
std::size_t encoded_py_size(PyObject* root);

}  // namespace mcp_responses
