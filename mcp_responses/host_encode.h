// The encoder on trees of host objects, which it walks where they lie: no value stands between them
// and the text.
#pragma once

#include <cstddef>

#include "host_ref.h"

namespace mcp_responses {

/// The text of a tree of host objects, as a new str. Throws `Refused` and `NestingError`.
HostRef encoded_host_text(PyObject* root);

/// The bytes of that text in UTF-8. Throws `SurrogateError` too.
std::size_t encoded_host_size(PyObject* root);

}  // namespace mcp_responses
