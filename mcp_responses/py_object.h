// Host objects where they lie: what kind each is, what a leaf holds, and the way through a
// container. An instance of a subclass counts as its base type, whatever it overrides: nothing here
// runs host code.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cpython_layout.h"
#include "py_errors.h"
#include "py_ref.h"
#include "text.h"

namespace mcp_responses {

/// What a host object is to the library, by its type alone: bool is told from int, and a tuple from
/// a list, which answers turn it into. `other` has no counterpart.
enum class PyKind : unsigned char {
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
inline PyKind py_kind(PyObject* object) noexcept {
  PyTypeObject* const type = Py_TYPE(object);
  if (type == &PyUnicode_Type) return PyKind::string;
  if (type == &PyLong_Type) return PyKind::integer;
  if (type == &PyDict_Type) return PyKind::dict;
  if (object == Py_None) return PyKind::null;
  if (type == &PyBool_Type) return PyKind::boolean;
  if (type == &PyFloat_Type) return PyKind::real;
  if (PyList_Check(object)) return PyKind::list;
  if (PyTuple_Check(object)) return PyKind::tuple;
  if (PyUnicode_Check(object)) return PyKind::string;
  if (PyLong_Check(object)) return PyKind::integer;
  if (PyDict_Check(object)) return PyKind::dict;
  if (PyFloat_Check(object)) return PyKind::real;
  return PyKind::other;
}

/// True for an OrderedDict, whose own order is not that of its storage.
inline bool has_own_order(PyObject* dict) noexcept {
  return !PyDict_CheckExact(dict) && PyODict_Check(dict);
}

bool fits_64_bits(PyObject* integer) noexcept;

/// True for a leaf that an answer shares with the caller: of exactly the host's own type, and no
/// int beyond 64 bits. Anything else that an answer carries is copied.
inline bool is_shareable(PyObject* object) noexcept {
  if (PyUnicode_CheckExact(object) || object == Py_None) return true;
  if (PyLong_CheckExact(object)) return small_integer(object) || fits_64_bits(object);
  return PyBool_Check(object) || PyFloat_CheckExact(object);
}

/// The 64-bit content of an int, or of a subclass. Throws `UnsupportedObject` beyond that.
std::int64_t integer_in(PyObject* object);

/// The characters of a str, or of a subclass, where they lie. Requires one that is ready. Valid
/// while the str lives.
inline TextView view_of(PyObject* string) noexcept {
  const Py_UCS4 highest = PyUnicode_MAX_CHAR_VALUE(string);
  const Repertoire repertoire = highest < 0x80      ? Repertoire::ascii
                                : highest < 0x100   ? Repertoire::latin1
                                : highest < 0x10000 ? Repertoire::bmp
                                                    : Repertoire::full;
  return {PyUnicode_DATA(string), static_cast<std::size_t>(PyUnicode_GET_LENGTH(string)),
          repertoire};
}

/// The highest code point of a repertoire, by which the host chooses the form of a str.
Py_UCS4 highest_in(Repertoire repertoire) noexcept;

/// A new str of these characters, in the narrowest form, as the host demands of each str. Throws
/// `PythonError`.
PyRef string_of(const TextView& characters);
/// The same, without looking for the narrowest form. Requires that their repertoire is exact.
PyRef exact_string_of(const TextView& characters);

/// How deep containers may stand inside each other: the host's own recursion limit, but at least
/// 400 and at most 1000, whatever the limit is set to.
std::size_t max_nesting() noexcept;

/// Goes through a list, a tuple or a dict, in order. All references are borrowed and the container
/// is not held: valid while no host code runs.
class PyCursor {
 public:
  explicit PyCursor(PyObject* container) noexcept : PyCursor(container, PyDict_Check(container)) {}
  PyCursor(PyObject* container, bool is_dict) noexcept : container_(container), is_dict_(is_dict) {}

  /// On to the next element or member; false past the last.
  bool next() noexcept {
    if (is_dict_) return next_member(container_, position_, key_, value_);
    if (position_ >= PySequence_Fast_GET_SIZE(container_)) return false;
    value_ = PySequence_Fast_GET_ITEM(container_, position_++);
    return true;
  }

  PyObject* container() const noexcept { return container_; }
  bool is_dict() const noexcept { return is_dict_; }
  PyObject* value() const noexcept { return value_; }
  /// Of a member; null in a list or tuple.
  PyObject* key() const noexcept { return key_; }
  /// Of an element in its list or tuple, counted from 0.
  Py_ssize_t index() const noexcept { return position_ - 1; }

 private:
  PyObject* container_;
  PyObject* key_ = nullptr;
  PyObject* value_ = nullptr;
  Py_ssize_t position_ = 0;
  bool is_dict_;
};

}  // namespace mcp_responses
