#include "host_value.h"

#include <algorithm>

#include "host_copy.h"
#include "host_encode.h"

namespace mcp_responses {
namespace {

PyObject* object_in(Payload payload) noexcept {
  return static_cast<PyObject*>(const_cast<void*>(payload.pointer));
}

void retain(Payload payload) noexcept { Py_INCREF(object_in(payload)); }
void release(Payload payload) noexcept { Py_DECREF(object_in(payload)); }

std::int64_t integer(Payload payload) noexcept {
  return PyLong_AsLongLong(object_in(payload));
}  // it was checked
TextView text(Payload payload) noexcept { return view_of(object_in(payload)); }

std::size_t list_size(Payload payload) noexcept {
  return static_cast<std::size_t>(PySequence_Fast_GET_SIZE(object_in(payload)));
}

std::size_t dict_size(Payload payload) noexcept {
  return static_cast<std::size_t>(PyDict_Size(object_in(payload)));
}

// Opening runs no host code, so what is walked cannot change meanwhile.
Value opened_list(Payload payload) {
  PyObject* const object = object_in(payload);
  List list;
  list.reserve(list_size(payload));
  for (Py_ssize_t i = 0; i < PySequence_Fast_GET_SIZE(object); ++i) {
    list.append(to_value(PySequence_Fast_GET_ITEM(object, i)));
  }
  return list;
}

Value opened_dict(Payload payload) {
  Object object;
  object.reserve(dict_size(payload));
  const HostRef keyed_by_text = with_text_keys(object_in(payload));
  PyObject* key = nullptr;
  PyObject* value = nullptr;
  for (Py_ssize_t position = 0; PyDict_Next(keyed_by_text.get(), &position, &key, &value) != 0;) {
    object.add(text_of(key), to_value(value));
  }
  return object;
}

std::size_t encoded_size(Payload payload) { return encoded_host_size(object_in(payload)); }

constexpr Holder host_text{
    .kind = Kind::string, .retain = retain, .release = release, .text = text};
constexpr Holder host_integer{
    .kind = Kind::integer, .retain = retain, .release = release, .integer = integer};
constexpr Holder host_list{.kind = Kind::list,
                           .retain = retain,
                           .release = release,
                           .size = list_size,
                           .opened = opened_list,
                           .encoded_size = encoded_size};
constexpr Holder host_dict{.kind = Kind::object,
                           .retain = retain,
                           .release = release,
                           .size = dict_size,
                           .opened = opened_dict,
                           .encoded_size = encoded_size};

Value held_by(const Holder& holder, PyObject* object) noexcept {
  Py_INCREF(object);
  return {holder, Payload{.pointer = object}};
}

Value integer_value(PyObject* object) {
  const long long content = integer_in(object);
  if (PyLong_CheckExact(object)) return held_by(host_integer, object);
  return static_cast<std::int64_t>(content);
}

Range range_of(PyObject* string) noexcept {
  const Py_UCS4 highest = PyUnicode_MAX_CHAR_VALUE(string);
  return highest < 0x80      ? Range::ascii
         : highest < 0x100   ? Range::latin1
         : highest < 0x10000 ? Range::bmp
                             : Range::full;
}

}  // namespace

HostKind host_kind(PyObject* object) noexcept {
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

void raise_refused(const Refused& refused, const std::string& where) {
  if (PyLong_Check(refused.object())) {
    PyErr_Format(PyExc_OverflowError, "%s is an int beyond 64 bits (from -2**63 to 2**63 - 1)",
                 where.c_str());
  } else {
    PyErr_Format(PyExc_TypeError,
                 "%s must be None, bool, int, float, str, list, tuple or dict, not %s",
                 where.c_str(), Py_TYPE(refused.object())->tp_name);
  }
}

std::size_t most_nesting() noexcept {
  return static_cast<std::size_t>(std::clamp(Py_GetRecursionLimit(), 400, 1000));
}

Value to_value(PyObject* object) {
  switch (host_kind(object)) {
    case HostKind::null:
      return {};
    case HostKind::boolean:
      return object == Py_True;
    case HostKind::integer:
      return integer_value(object);
    case HostKind::real:
      return PyFloat_AS_DOUBLE(object);
    case HostKind::string:
      return text_of(object);
    case HostKind::list:
    case HostKind::tuple:
      return held_by(host_list, object);
    case HostKind::dict:
      return held_by(host_dict, object);
    case HostKind::other:
      break;
  }
  throw Refused(object);
}

long long integer_in(PyObject* object) {
  int overflow = 0;
  const long long content = PyLong_AsLongLongAndOverflow(object, &overflow);
  if (overflow != 0) throw Refused(object);
  return content;
}

TextView view_of(PyObject* string) noexcept {
  return {PyUnicode_DATA(string), static_cast<std::size_t>(PyUnicode_GET_LENGTH(string)),
          range_of(string)};
}

Text text_of(PyObject* string) {
  check(PyUnicode_READY(string));
  HostRef exact = PyUnicode_CheckExact(string) ? HostRef::borrow(string)
                                               : checked(PyUnicode_FromObject(string));
  return {host_text, Payload{.pointer = exact.release()}};
}

PyObject* held_object(const Handle& handle) noexcept {
  const Holder* const holder = &handle.holder();
  const bool is_held = holder == &host_text || holder == &host_integer || holder == &host_list ||
                       holder == &host_dict;
  return is_held ? object_in(handle.payload()) : nullptr;
}

HostRef to_host_string(const Text& text) {
  if (PyObject* object = held_object(text)) return HostRef::borrow(object);
  const TextView view = text.view();
  return checked(PyUnicode_FromKindAndData(static_cast<int>(unit_size(view.range)), view.data,
                                           static_cast<Py_ssize_t>(view.size)));
}

}  // namespace mcp_responses
