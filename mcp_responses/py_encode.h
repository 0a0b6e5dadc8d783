// The encoder on trees of host objects, which it walks where they lie: no value stands between them
// and the text.
#pragma once

#include <cstddef>

#include "detail/sinks.h"
#include "py_ref.h"

namespace mcp_responses {

/// The text of a tree of host objects, as a new str. It is written into `kept` first, which grows to
/// the longest text so far, up to 1 MiB: memory that was freed after each text would go back to the
/// kernel, and each page of it would be faulted in anew at the next one. Throws `UnsupportedObject` and
/// `NestingError`.
PyRef encoded_py_text(PyObject* root, TextBuffer& kept);

/// The bytes of that text in UTF-8. Throws `SurrogateError` too.
std::size_t encoded_py_size(PyObject* root);

}  // namespace mcp_responses
