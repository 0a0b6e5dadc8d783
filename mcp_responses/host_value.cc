#include "host_value.h"

#include <algorithm>
#include <cstring>

#include "cuts.h"
#include "host_copy.h"
#include "host_encode.h"

namespace mcp_responses {
namespace {

void retain(Payload payload) noexcept { Py_INCREF(object_in(payload)); }
void release(Payload payload) noexcept { give_up(object_in(payload)); }

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
    list.append(to_value(HostRef::borrow(PySequence_Fast_GET_ITEM(object, i))));
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
    object.add(text_of(HostRef::borrow(key)), to_value(HostRef::borrow(value)));
  }
  return object;
}

std::size_t encoded_size(Payload payload) { return encoded_host_size(object_in(payload)); }

Value held_by(const Holder& holder, HostRef object) noexcept {
  return {holder, Payload{.pointer = object.release()}};
}

Value integer_value(HostRef object) {
  const long long content = integer_in(object.get());
  if (PyLong_CheckExact(object.get())) return held_by(host_integer, std::move(object));
  return static_cast<std::int64_t>(content);
}

Py_UCS4 highest_in(Range range) noexcept {
  switch (range) {
    case Range::ascii:
      return 0x7F;
    case Range::latin1:
      return 0xFF;
    case Range::bmp:
      return 0xFFFF;
    default:
      return 0x10FFFF;
  }
}

HostRef string_of(const TextView& view) {
  if (view.range == Range::ascii) return exact_host_string(view);
  return checked(PyUnicode_FromKindAndData(static_cast<int>(unit_size(view.range)), view.data,
                                           static_cast<Py_ssize_t>(view.size)));
}

}  // namespace

const Holder host_text{.kind = Kind::string, .retain = retain, .release = release, .text = text};
const Holder host_integer{
    .kind = Kind::integer, .retain = retain, .release = release, .integer = integer};
const Holder host_list{.kind = Kind::list,
                       .retain = retain,
                       .release = release,
                       .size = list_size,
                       .opened = opened_list,
                       .encoded_size = encoded_size};
const Holder host_dict{.kind = Kind::object,
                       .retain = retain,
                       .release = release,
                       .size = dict_size,
                       .opened = opened_dict,
                       .encoded_size = encoded_size};

void raise_refused(const Refused& refused, const std::string& where) {
  if (PyLong_Check(refused.object())) {
    PyErr_Format(PyExc_OverflowError, "%s is an int beyond 64 bits (from -2**63 to 2**63 - 1)",
                 where.c_str());
  } else {
    PyErr_Format(PyExc_TypeError, "%s must be None, bool, int, float%s, not %s", where.c_str(),
                 refused.is_key() ? " or str" : ", str, list, tuple or dict",
                 Py_TYPE(refused.object())->tp_name);
  }
}

std::size_t most_nesting() noexcept {
  return static_cast<std::size_t>(
      std::clamp(Py_GetRecursionLimit(), 400, int{NestingError::most_levels}));
}

Value to_value(HostRef object) {
  switch (host_kind(object.get())) {
    case HostKind::null:
      return {};
    case HostKind::boolean:
      return object.get() == Py_True;
    case HostKind::integer:
      return integer_value(std::move(object));
    case HostKind::real:
      return PyFloat_AS_DOUBLE(object.get());
    case HostKind::string:
      return text_of(std::move(object));
    case HostKind::list:
    case HostKind::tuple:
      return held_by(host_list, std::move(object));
    case HostKind::dict:
      return held_by(host_dict, std::move(object));
    case HostKind::other:
      break;
  }
  throw Refused(object.get());
}

long long integer_in(PyObject* object) {
  int overflow = 0;
  const long long content = PyLong_AsLongLongAndOverflow(object, &overflow);
  if (overflow != 0) throw Refused(object);
  return content;
}

Text text_of(HostRef string) {
  check(PyUnicode_READY(string.get()));
  if (!PyUnicode_CheckExact(string.get())) string = checked(PyUnicode_FromObject(string.get()));
  return {host_text, Payload{.pointer = string.release()}};
}

HostRef exact_host_string(const TextView& characters) {
  HostRef string = checked(
      PyUnicode_New(static_cast<Py_ssize_t>(characters.size), highest_in(characters.range)));
  if (characters.size > 0) {
    std::memcpy(PyUnicode_DATA(string.get()), characters.data,
                characters.size * unit_size(characters.range));
  }
  return string;
}

HostRef to_host_string(const Handle& text) {
  if (PyObject* object = host_leaf(text)) return HostRef::borrow(object);
  return string_of(text.holder().text(text.payload()));
}

HostRef host_first_sentence(PyObject* docstring) {
  check(PyUnicode_READY(docstring));
  const FirstSentence sentence(view_of(docstring));
  return sentence.view().size == 0 ? HostRef::borrow(Py_None) : string_of(sentence.view());
}

}  // namespace mcp_responses
