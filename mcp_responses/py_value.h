// Host objects as values. Leaves are shared: a string or an integer is used where it lies, its
// object kept alive, and goes back to the host as that very object. A container stands for itself
// until a builder looks into it, one level at a time.
#pragma once

#include "cuts.h"
#include "py_ref.h"
#include "value.h"

namespace mcp_responses {

/// A value that stands for the object and keeps it alive. Throws `UnsupportedObject`.
Value to_value(PyRef object);

/// A text held by a str: the str itself when it is exactly one, else a copy of its base type.
Text to_text(PyRef string);

/// How host objects are held.
extern const ValueOps py_string_ops;
extern const ValueOps py_integer_ops;
extern const ValueOps py_list_ops;
extern const ValueOps py_dict_ops;

inline PyObject* object_in(Payload payload) noexcept {
  return static_cast<PyObject*>(const_cast<void*>(payload.pointer));
}

/// The host object that a value is without being copied (borrowed): a constant, or the leaf that
/// the value came from. Null for every other value.
inline PyObject* leaf_of(const Handle& value) noexcept {
  const ValueOps* const ops = &value.ops();
  if (ops == &py_string_ops || ops == &py_integer_ops) return object_in(value.payload());
  if (ops == &null_ops) return Py_None;
  if (ops == &boolean_ops) return value.payload().boolean ? Py_True : Py_False;
  return nullptr;
}

/// The host's list, tuple or dict that a value stands for (borrowed), or null.
inline PyObject* container_of(const Handle& value) noexcept {
  const ValueOps* const ops = &value.ops();
  return ops == &py_list_ops || ops == &py_dict_ops ? object_in(value.payload()) : nullptr;
}

/// A str with the characters of a text: the very one that it came from when there is one.
PyRef string_of(const Text& text);

/// A new str of what is left of a text that was cut.
PyRef string_of(const Cut& cut);

/// The first sentence of a str as `first_sentence` has it, or None.
PyRef first_sentence_of(PyObject* docstring);

}  // namespace mcp_responses
