// Python objects as Values. Leaves are shared: a Value refers to the str or int itself, keeps it
// alive, and is converted back to the same object. A list or dict is converted one level at a time,
// when a builder inspects it.
#pragma once

#include "cuts.h"
#include "py_ref.h"
#include "value.h"

namespace mcp_responses {

/// A value that refers to the object and keeps it alive. Throws `UnsupportedObject`.
Value to_value(PyRef object);

/// A text that refers to a str: the str itself if it is exactly one, otherwise a copy of its base
/// type. Requires a str or an instance of a subclass.
Text to_text(PyRef string);

/// The operations of Values that refer to Python objects.
extern const detail::ValueOps py_string_ops;
extern const detail::ValueOps py_list_ops;
extern const detail::ValueOps py_dict_ops;

inline PyObject* object_in(detail::Payload payload) noexcept {
  return static_cast<PyObject*>(payload.pointer);
}

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

/// A str with the characters of a text: the str that the text refers to, or else a new one.
PyRef string_of(const Text& text);

/// A new str of a text that was cut.
PyRef string_of(const Cut& cut);

/// The first sentence of a str, as `first_sentence` defines it, or None.
PyRef first_sentence_of(PyObject* docstring);

}  // namespace mcp_responses
