// Host objects as values. Leaves are shared: a string or an integer is used where it lies, its
// object kept alive, and goes back to the host as that very object. A container stands for itself
// until a builder looks into it, one level at a time. An instance of a subclass counts as its base
// type, whatever it overrides.
#pragma once

#include <string>
#include <string_view>

#include "errors.h"
#include "host_ref.h"
#include "value.h"

namespace mcp_responses {

/// What a host object is to the library, by its type alone. `other` has no counterpart.
enum class HostKind : unsigned char {
  null,
  boolean,
  integer,
  real,
  string,
  list,
  tuple,
  dict,
  other
};
inline HostKind host_kind(PyObject* object) noexcept {
  PyTypeObject* const type = Py_TYPE(object);
  if (type == &PyUnicode_Type) return HostKind::string;
  if (type == &PyLong_Type) return HostKind::integer;
  if (type == &PyDict_Type) return HostKind::dict;
  if (object == Py_None) return HostKind::null;
  if (type == &PyBool_Type) return HostKind::boolean;
  if (type == &PyFloat_Type) return HostKind::real;
  if (PyList_Check(object)) return HostKind::list;
  if (PyTuple_Check(object)) return HostKind::tuple;
  if (PyUnicode_Check(object)) return HostKind::string;
  if (PyLong_Check(object)) return HostKind::integer;
  if (PyDict_Check(object)) return HostKind::dict;
  if (PyFloat_Check(object)) return HostKind::real;
  return HostKind::other;
}

/// An object that no value can stand for, or no key's text: of another type, or an integer beyond
/// 64 bits.
class Refused {
 public:
  enum class As : bool { value, key };

  explicit Refused(PyObject* object, As as = As::value) noexcept
      : object_(HostRef::borrow(object)), as_(as) {}
  PyObject* object() const noexcept { return object_.get(); }
  bool is_key() const noexcept { return as_ == As::key; }

 private:
  HostRef object_;
  As as_;
};

/// Sets the interpreter's error: TypeError, or OverflowError for an integer; `where` says which
/// part of what it is.
void raise_refused(const Refused& refused, const std::string& where);

/// How deep containers may stand inside each other: the host's own recursion limit, but at least
/// 400 and at most 1000, whatever the limit is set to.
std::size_t most_nesting() noexcept;

/// A value that stands for the object and keeps it alive. Throws `Refused`.
Value to_value(HostRef object);

/// The 64-bit content of an int, or of a subclass. Throws `Refused` beyond that.
long long integer_in(PyObject* object);

/// True for a leaf that an answer shares with the caller as it is: of exactly the host's own type,
/// and no int beyond 64 bits.
inline bool is_plain_leaf(PyObject* object) noexcept {
  if (PyUnicode_CheckExact(object) || object == Py_None) return true;
  if (PyLong_CheckExact(object)) {
    int overflow = 0;
    PyLong_AsLongLongAndOverflow(object, &overflow);
    return overflow == 0;
  }
  return PyBool_Check(object) || PyFloat_CheckExact(object);
}

/// The characters of a str, or of a subclass, where they lie.
inline TextView view_of(PyObject* string) noexcept {
  const Py_UCS4 highest = PyUnicode_MAX_CHAR_VALUE(string);
  const Range range = highest < 0x80      ? Range::ascii
                      : highest < 0x100   ? Range::latin1
                      : highest < 0x10000 ? Range::bmp
                                          : Range::full;
  return {PyUnicode_DATA(string), static_cast<std::size_t>(PyUnicode_GET_LENGTH(string)), range};
}

/// A text held by a str: the str itself when it is exactly one, else a copy of its base type.
Text text_of(HostRef string);

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
inline PyObject* host_leaf(const Handle& value) noexcept {
  const Holder* const holder = &value.holder();
  if (holder == &host_text || holder == &host_integer) return object_in(value.payload());
  if (holder == &null_holder) return Py_None;
  if (holder == &boolean_holder) return value.payload().boolean ? Py_True : Py_False;
  return nullptr;
}

/// The host's list, tuple or dict that a value stands for (borrowed), or null.
inline PyObject* host_container(const Handle& value) noexcept {
  const Holder* const holder = &value.holder();
  return holder == &host_list || holder == &host_dict ? object_in(value.payload()) : nullptr;
}

/// A str with the characters of a text or of a value that is one: the very one that it came from
/// when there is one.
HostRef to_host_string(const Handle& text);

/// A new str of these characters. Requires that their range is the narrowest that fits.
HostRef exact_host_string(const TextView& characters);

/// The first sentence of a str, or None.
HostRef host_first_sentence(PyObject* docstring);

}  // namespace mcp_responses
