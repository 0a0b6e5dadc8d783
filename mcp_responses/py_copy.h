// Copies of trees of host objects, from host to host.
#pragma once

#include <utility>

#include "py_object.h"
#include "py_ref.h"

namespace mcp_responses {

/// A copy of a tree of host objects: lists and dicts are new at every depth, tuples become lists,
/// instances of subclasses their base type, keys text. Leaves are shared. Throws `UnsupportedObject` and
/// `NestingError`.
PyRef plain_copy(PyObject* root);

/// The same of a dict, without its members whose value is None: as `without_nulls` has it.
PyRef plain_copy_without_nulls(PyObject* dict);

/// What goes into an answer for an object that is only handed on: a leaf itself where it can be
/// shared, a copy of anything else.
inline PyRef pass_through(PyRef object) {
  return is_shareable(object.get()) ? std::move(object) : plain_copy(object.get());
}

/// The dict itself when all its keys are exactly str, else a copy in which every other key has
/// become the text that the encoding writes for it. Where two keys become the same text, the first
/// keeps its place and the last gives the value. An OrderedDict is copied in its own order.
PyRef with_text_keys(PyObject* dict);

}  // namespace mcp_responses
