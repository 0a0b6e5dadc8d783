#include "py_dict.h"

#include "cpython_layout.h"
#include "py_copy.h"
#include "py_value.h"

namespace mcp_responses {

DictTemplate::DictTemplate(std::vector<PyObject*> keys)
    : keys_(std::move(keys)), dict_(checked(PyDict_New)) {
  for (PyObject* key : keys_) checked(PyDict_SetItem, dict_.get(), key, Py_None);
  // Otherwise `gc.get_objects` returns it, and Python code could change it. Before 3.14, the
  // interpreter itself does not track a dict of strings and None.
  PyObject_GC_UnTrack(dict_.get());
}

PyRef DictTemplate::dict_of(std::span<PyObject* const> values) const {
  PyRef dict = checked(PyDict_Copy, dict_.get());
  if (overwrite_values(dict.get(), values)) return dict;
  for (std::size_t i = 0; i < keys_.size(); ++i)
    checked(PyDict_SetItem, dict.get(), keys_[i], values[i]);
  for (PyObject* value : values) Py_DECREF(value);  // the dict holds another reference
  return dict;
}

PyRef AnswerConverter::to_python(const Object& object) {
  PyRef dict = checked(PyDict_New);
  for (const Member& member : object) {
    count_work(element_work);
    checked(PyDict_SetItem, dict.get(), shared_string_of(member.key).get(),
            to_python(member.value).get());
  }
  return dict;
}

PyRef AnswerConverter::to_python(const Value& value) {
  if (PyObject* leaf = leaf_of(value)) return PyRef::borrow(leaf);
  if (PyObject* container = container_of(value)) return plain_copy(container);
  switch (value.kind()) {
    case Kind::integer:
      return checked(PyLong_FromLongLong, *value.integer());
    case Kind::real:
      return checked(PyFloat_FromDouble, *value.real());
    case Kind::string:
      return shared_string_of(*value.text());
    case Kind::list:
      return list_of(*value.list());
    default:
      return to_python(*value.object());
  }
}

PyRef AnswerConverter::list_of(const List& elements) {
  PyRef list = checked(PyList_New, 0);
  for (const Value& element : elements) {
    count_work(element_work);
    checked(PyList_Append, list.get(), to_python(element).get());
  }
  return list;
}

PyRef AnswerConverter::shared_string_of(const Text& text) {
  if (&text.ops() != &detail::literal_ops) return string_of(text);
  return PyRef::borrow(strings_.of(*text.payload().literal));
}

}  // namespace mcp_responses
