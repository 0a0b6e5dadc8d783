// Python objects as Values. A str is shared: a Value refers to it, keeps it alive, and is converted back
// to the same object. None, booleans and numbers are stored in the Value. A list or dict is converted one
// level at a time, when a builder inspects it.
#pragma once

#include "py_ref.h"
#include "py_text.h"
#include "value.h"

namespace mcp_responses {

/// The object as a Value, which keeps a str, list, tuple or dict alive. Throws `UnsupportedObject`.
Value to_value(PyRef object);

/// The operations of Values that refer to lists, tuples and dicts.
extern const detail::ValueOps py_list_ops;
extern const detail::ValueOps py_dict_ops;

/// The Python object of a value that needs no conversion (borrowed): a constant, or the leaf that the
/// value refers to. Null for every other value.
inline PyObject* leaf_of(const detail::Handle& value) noexcept {
  const detail::ValueOps* const ops = &value.ops();
  if (ops == &py_string_ops) return object_in(value.payload());
  if (ops == &detail::null_ops) return Py_None;
  if (ops == &detail::boolean_ops) return value.payload().boolean ? Py_True : Py_False;
  return nullptr;
}

/// The list, tuple or dict that a value refers to (borrowed), or null.
inline PyObject* container_of(const detail::Handle& value) noexcept {
  const detail::ValueOps* const ops = &value.ops();
  return ops == &py_list_ops || ops == &py_dict_ops ? object_in(value.payload()) : nullptr;
}

}  // namespace mcp_responses
