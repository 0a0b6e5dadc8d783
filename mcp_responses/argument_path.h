// Finds the path of an object within an argument, for an error message.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "py_ref.h"

namespace mcp_responses {

/// The path of an object in an argument: "items[3]['line']", or "a key of items[3]".
struct ArgumentPath {
  std::string text;
  std::size_t levels;  // the number of containers around the object
};

/// The path to `object` from `root`, which is called `name`. Nothing if it is not found. Traverses the
/// whole argument: meant for a call that has failed. Throws `PythonError`.
std::optional<ArgumentPath> argument_path(PyObject* root, const std::string& name,
                                          PyObject* object);

/// Describes the first container within `root` that contains itself or is nested more than
/// `max_levels` deep: "items[3] contains itself". `name` is the name of `root`. Traverses the whole
/// argument. Each container is searched once, on the first path to it, so the result is empty if only a
/// longer path is too deep. Throws `PythonError`.
std::string nesting_problem(PyObject* root, const std::string& name, std::size_t max_levels);

}  // namespace mcp_responses
