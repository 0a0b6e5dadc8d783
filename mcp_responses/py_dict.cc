#include "py_dict.h"

#include "py_copy.h"
#include "py_value.h"

namespace mcp_responses {

DictTemplate::DictTemplate(std::vector<PyObject*> keys)
    : keys_(std::move(keys)), dict_(checked(PyDict_New())) {
  for (PyObject* key : keys_) check(PyDict_SetItem(dict_.get(), key, Py_None));
  has_no_values_ = take_values_out(dict_.get());
}

PyRef DictTemplate::dict_of(std::span<PyObject* const> values) const {
  PyRef dict = checked(PyDict_Copy(dict_.get()));
  if (has_no_values_) {
    put_values_in(dict.get(), values);
  } else {
    for (std::size_t i = 0; i < keys_.size(); ++i)
      check(PyDict_SetItem(dict.get(), keys_[i], values[i]));
    for (PyObject* value : values) Py_DECREF(value);
  }
  return dict;
}

const DictTemplate& AnswerConverter::found_start(const KeySet& layout) {
  const auto found = starts_.find(layout);
  if (found != starts_.end()) return found->second;
  std::vector<PyObject*> keys;
  for (std::size_t i = 0; layout.kept >> i != 0; ++i) {
    if ((layout.kept >> i & 1) != 0) keys.push_back(names_.of(*layout.keys[i]));
  }
  // A dict that is made may have a finalizer run, which meets other layouts: only then is this one's
  // place looked for.
  DictTemplate start(std::move(keys));
  return starts_.try_emplace(layout, std::move(start)).first->second;
}

PyRef AnswerConverter::of(const Object& object) {
  check_signals(1 + object.size());
  // With room for all from the start: growing takes as long as setting a few members.
  PyRef dict = checked(_PyDict_NewPresized(static_cast<Py_ssize_t>(object.size())));
  for (const Member& member : object)
    check(PyDict_SetItem(dict.get(), string_of(member.key).get(), of(member.value).get()));
  return dict;
}

PyRef AnswerConverter::of(const Value& value) {
  if (PyObject* leaf = leaf_of(value)) return PyRef::borrow(leaf);
  if (PyObject* container = container_of(value)) return plain_copy(container);
  switch (value.kind()) {
    case Kind::integer:
      return checked(PyLong_FromLongLong(*value.integer()));
    case Kind::real:
      return checked(PyFloat_FromDouble(*value.real()));
    case Kind::string:
      return string_of(*value.text());
    case Kind::list:
      return list_of(*value.list());
    default:
      return of(*value.object());
  }
}

PyRef AnswerConverter::list_of(const List& elements) {
  PyRef list = checked(PyList_New(0));
  for (const Value& element : elements) check(PyList_Append(list.get(), of(element).get()));
  return list;
}

PyRef AnswerConverter::string_of(const Text& text) {
  if (&text.ops() != &literal_ops) return mcp_responses::string_of(text);
  return PyRef::borrow(names_.of(*static_cast<const StringLiteral*>(text.payload().pointer)));
}

}  // namespace mcp_responses
