// Host objects as values. Leaves are shared: a string or an integer is used where it lies, its
// object kept alive, and goes back to the host as that very object. A container stands for itself
// until a builder looks into it, one level at a time.
#pragma once

#include "cuts.h"
#include "host_ref.h"
#include "value.h"

namespace mcp_responses {

/// A value that stands for the object and keeps it alive. Throws `Refused`.
Value to_value(HostRef object);

/// A text held by a str: the str itself when it is exactly one, else a copy of its base type.
Text to_text(HostRef string);

/// How host objects are held.
extern const Holder host_text;
extern const Holder host_integer;
extern const Holder host_list;
extern const Holder host_dict;

inline PyObject* object_in(Payload payload) noexcept {
  return static_cast<PyObject*>(const_cast<void*>(payload.pointer));
}

/// The host object that a value is without being copied (borrowed): a constant, or the leaf that
/// the value came from. Null for every other value.
inline PyObject* leaf_of(const Handle& value) noexcept {
  const Holder* const holder = &value.holder();
  if (holder == &host_text || holder == &host_integer) return object_in(value.payload());
  if (holder == &null_holder) return Py_None;
  if (holder == &boolean_holder) return value.payload().boolean ? Py_True : Py_False;
  return nullptr;
}

/// The host's list, tuple or dict that a value stands for (borrowed), or null.
inline PyObject* container_of(const Handle& value) noexcept {
  const Holder* const holder = &value.holder();
  return holder == &host_list || holder == &host_dict ? object_in(value.payload()) : nullptr;
}

/// A str with the characters of a text: the very one that it came from when there is one.
HostRef string_of(const Text& text);

/// A new str of what is left of a text that was cut.
HostRef string_of(const Cut& cut);

/// The first sentence of a str as `first_sentence` has it, or None.
HostRef first_sentence_of(PyObject* docstring);

}  // namespace mcp_responses
