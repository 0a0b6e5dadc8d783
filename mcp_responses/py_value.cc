#include "py_value.h"

#include <optional>
#include <utility>

#include "cuts.h"
#include "py_copy.h"
#include "py_encode.h"
#include "py_errors.h"
#include "py_object.h"

namespace mcp_responses {
namespace {

using detail::Payload;
using detail::ValueOps;

void retain(Payload payload) noexcept { Py_INCREF(object_in(payload)); }
void release(Payload payload) noexcept { decref(object_in(payload)); }

TextView text(Payload payload) noexcept { return view_of(object_in(payload)); }

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

const ValueOps py_string_ops{
    .kind = Kind::string, .retain = retain, .release = release, .text = text};
const ValueOps py_list_ops{.kind = Kind::list,
                           .retain = retain,
                           .release = release,
                           .size = list_size,
                           .materialized = materialized_list,
                           .encoded_size = encoded_size};
const ValueOps py_dict_ops{.kind = Kind::object,
                           .retain = retain,
                           .release = release,
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

Text to_text(PyRef string) {
  ensure_ready(string.get());
  if (!PyUnicode_CheckExact(string.get())) string = checked(PyUnicode_FromObject, string.get());
  return {py_string_ops, Payload{.pointer = string.release()}};
}

PyRef string_of(const Text& text) {
  if (PyObject* object = leaf_of(text)) return PyRef::borrow(object);
  return exact_string_of(text.view());
}

PyRef string_of(const Cut& cut) {
  const auto size = static_cast<Py_ssize_t>(cut.kept.size + cut.mark.size);
  const Repertoire repertoire = joined_repertoire(cut.kept, cut.mark);
  PyRef string = checked(PyUnicode_New, size, highest_in(repertoire));
  join(cut.kept, cut.mark, repertoire, PyUnicode_DATA(string.get()));
  return string;
}

PyRef first_sentence_of(PyObject* docstring) {
  ensure_ready(docstring);
  SummaryBuffer buffer;
  const Cut cut = first_sentence(view_of(docstring), buffer);
  return cut.kept.size == 0 ? PyRef::borrow(Py_None) : string_of(cut);
}

}  // namespace mcp_responses
