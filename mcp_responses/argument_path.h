// Names the place of an object within an argument, for an error's text.
#pragma once

#include <string>

#include "py_ref.h"

namespace mcp_responses {

/// Where in `root`, called `name`, the object stands: "items[3]['line']", or "a key of items[3]".
/// Empty when it is not there. Walks the whole argument: meant for the moment when a call has
/// failed already.
std::string place_in(PyObject* root, const std::string& name, PyObject* object);

}  // namespace mcp_responses
