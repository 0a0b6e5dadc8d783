#include "py_value.h"

#include <optional>
#include <utility>

#include "py_copy.h"
#include "py_encode.h"
#include "py_errors.h"
#include "py_object.h"

namespace mcp_responses {
namespace {

using detail::Payload;
using detail::ValueOps;

std::size_t list_size(Payload payload) noexcept {
  return static_cast<std::size_t>(PySequence_Fast_GET_SIZE(object_in(payload)));
}

std::size_t dict_size(Payload payload) noexcept {
  return static_cast<std::size_t>(PyDict_Size(object_in(payload)));
}

Value materialized_list(Payload payload) {
  List list;
  list.reserve(list_size(payload));
  for (PyCursor at(object_in(payload), false); at.next(); count_work(element_work))
    list.append(to_value(PyRef::borrow(at.value())));
  return list;
}

Value materialized_dict(Payload payload) {
  const PyRef dict = with_string_keys(object_in(payload));
  Object object;
  object.reserve(dict_size(payload));
  for (PyCursor at(dict.get(), true); at.next(); count_work(element_work)) {
    Value value = to_value(PyRef::borrow(at.value()));
    // A signal handler may have added a key of another type.
    object.add(to_text(key_string(at.key())), std::move(value));
  }
  return object;
}

/// True if a str has these characters.
bool is_text(PyObject* string, const TextView& wanted) {
  ensure_ready(string);
  return static_cast<std::size_t>(PyUnicode_GET_LENGTH(string)) == wanted.size &&
         view_of(string) == wanted;
}

/// The value of a key in a dict whose keys are all exactly str, so that their texts differ. Borrowed;
/// null if there is none.
PyObject* find_in_entries(CPythonDictKeys* keys, const TextView& wanted) {
  PyObject* key = nullptr;
  PyObject* value = nullptr;
  for (Py_ssize_t position = 0; next_entry(keys, position, key, value);)
    if (is_text(key, wanted)) return value;
  return nullptr;
}

/// The same in any dict. Of several keys with the same text, the last entry counts.
PyObject* find_last_entry(PyObject* dict, const TextView& wanted) {
  PyObject* found = nullptr;
  for (PyCursor at(dict, true); at.next();)
    if (PyUnicode_Check(at.key()) && is_text(at.key(), wanted)) found = at.value();
  return found;
}

Value find_in_dict(Payload payload, const TextView& wanted) {
  count_work(element_work * (1 + dict_size(payload)));
  PyObject* const dict = object_in(payload);
  CPythonDictKeys* const keys = unicode_keys_of(dict);
  PyObject* const found =
      keys == nullptr ? find_last_entry(dict, wanted) : find_in_entries(keys, wanted);
  return found == nullptr ? Value() : to_value(PyRef::borrow(found));
}

std::size_t encoded_size(Payload payload) { return encoded_py_size(object_in(payload)); }

Value reference_to(const ValueOps& ops, PyRef object) noexcept {
  return {ops, Payload{.pointer = object.release()}};
}

}  // namespace

const ValueOps py_list_ops{.kind = Kind::list,
                           .retain = retain_object,
                           .release = release_object,
                           .size = list_size,
                           .materialized = materialized_list,
                           .encoded_size = encoded_size};
const ValueOps py_dict_ops{.kind = Kind::object,
                           .retain = retain_object,
                           .release = release_object,
                           .size = dict_size,
                           .materialized = materialized_dict,
                           .get = find_in_dict,
                           .encoded_size = encoded_size};

Value to_value(PyRef object) {
  const std::optional<Kind> kind = py_kind(object.get());
  if (!kind) throw UnsupportedObject(object.get());
  switch (*kind) {
    case Kind::null:
      return {};
    case Kind::boolean:
      return object.get() == Py_True;
    case Kind::integer:
      return integer_in(object.get());
    case Kind::real:
      return PyFloat_AS_DOUBLE(object.get());
    case Kind::string:
      return to_text(std::move(object));
    case Kind::list:
      return reference_to(py_list_ops, std::move(object));
    case Kind::object:
      break;
  }
  return reference_to(py_dict_ops, std::move(object));
}

}  // namespace mcp_responses
