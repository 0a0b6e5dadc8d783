// Python objects in place: the kind of each, the content of a leaf, and a cursor over a container. An
// instance of a subclass counts as its base type, even if it overrides methods. Nothing here runs Python
// code.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "cpython_layout.h"
#include "detail/handle.h"
#include "py_errors.h"
#include "py_ref.h"

namespace mcp_responses {

/// The kind of an object, by its type alone. A tuple is a list, and a bool is not an integer. Null for an
/// object without a JSON representation.
inline std::optional<Kind> py_kind(PyObject* object) noexcept {
  PyTypeObject* const type = Py_TYPE(object);
  if (type == &PyUnicode_Type) return Kind::string;
  if (type == &PyLong_Type) return Kind::integer;
  if (type == &PyDict_Type) return Kind::object;
  if (object == Py_None) return Kind::null;
  if (type == &PyBool_Type) return Kind::boolean;
  if (type == &PyFloat_Type) return Kind::real;
  if (PyList_Check(object) || PyTuple_Check(object)) return Kind::list;
  if (PyUnicode_Check(object)) return Kind::string;
  if (PyLong_Check(object)) return Kind::integer;
  if (PyDict_Check(object)) return Kind::object;
  if (PyFloat_Check(object)) return Kind::real;
  return {};
}

/// True for an OrderedDict, whose order is not that of its entries.
inline bool has_own_order(PyObject* dict) noexcept {
  return !PyDict_CheckExact(dict) && PyODict_Check(dict);
}

bool fits_64_bits(PyObject* integer) noexcept;

/// True for a leaf that an answer shares with the caller: exactly of a built-in type, and not an int
/// beyond 64 bits. Any other object is copied.
inline bool is_shareable(PyObject* object) noexcept {
  if (PyUnicode_CheckExact(object) || object == Py_None) return true;
  if (PyLong_CheckExact(object)) return is_small_integer(object) || fits_64_bits(object);
  return PyBool_Check(object) || PyFloat_CheckExact(object);
}

/// `integer_in` for an int of any size.
std::int64_t integer_in_slow(PyObject* object);

/// The content of an int, or of a subclass. Throws `UnsupportedObject` beyond 64 bits.
inline std::int64_t integer_in(PyObject* object) {
  return is_small_integer(object) ? small_integer(object) : integer_in_slow(object);
}

/// How deep containers may be nested: the interpreter's recursion limit, but at least 400 and at most
/// 1000.
std::size_t max_nesting() noexcept;

/// Iterates over a list, a tuple or a dict, in order. All references are borrowed, also the one to
/// the container. `next` is safe after any change of a container that is still alive; the key and the
/// value are valid until Python code runs.
class PyCursor {
 public:
  PyCursor() noexcept = default;
  explicit PyCursor(PyObject* container) noexcept : PyCursor(container, PyDict_Check(container)) {}
  PyCursor(PyObject* container, bool is_object) noexcept
      : container_(container), is_object_(is_object), is_list_(PyList_Check(container)) {}

  /// Moves to the next element or member; false after the last.
  bool next() noexcept {
    if (is_object_) [[unlikely]]
      return next_member(container_, position_, key_, value_);
    if (position_ >= Py_SIZE(container_)) return false;
    value_ =
        is_list_ ? PyList_GET_ITEM(container_, position_) : PyTuple_GET_ITEM(container_, position_);
    ++position_;
    return true;
  }

  PyObject* container() const noexcept { return container_; }
  /// True for a dict.
  bool is_object() const noexcept { return is_object_; }
  PyObject* value() const noexcept { return value_; }
  /// The key of a member; null in a list or tuple.
  PyObject* key() const noexcept { return key_; }
  /// The 0-based position of an element in its list or tuple.
  Py_ssize_t index() const noexcept { return position_ - 1; }

 private:
  PyObject* container_ = nullptr;
  PyObject* key_ = nullptr;
  PyObject* value_ = nullptr;
  Py_ssize_t position_ = 0;
  bool is_object_ = false;
  bool is_list_ = false;
};

}  // namespace mcp_responses
