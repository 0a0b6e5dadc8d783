#include "py_record.h"

#include <utility>

#include "argument_path.h"
#include "py_value.h"

namespace mcp_responses {
namespace {

/// An AttributeError tells its object and name, which the interpreter suggests other names by.
void complete_attribute_error(PyObject* object, PyObject* name) {
  if (PyErr_ExceptionMatches(PyExc_AttributeError) == 0) return;
  PyObject* type = nullptr;
  PyObject* error = nullptr;
  PyObject* traceback = nullptr;
  PyErr_Fetch(&type, &error, &traceback);
  PyErr_NormalizeException(&type, &error, &traceback);
  // Interned, as attributes are looked up by: the interpreter remembers each name it meets.
  const PyRef name_key = PyRef::steal(PyUnicode_InternFromString("name"));
  const PyRef object_key = PyRef::steal(PyUnicode_InternFromString("obj"));
  if (name_key && object_key) {
    const PyRef told = PyRef::steal(PyObject_GetAttr(error, name_key.get()));
    if (told.get() == Py_None) {
      PyObject_SetAttr(error, name_key.get(), name);
      PyObject_SetAttr(error, object_key.get(), object);
    }
  }
  PyErr_Restore(type, error, traceback);
}

}  // namespace

PyObject* ReadAttributes::hold(const char* record, Field field, PyRef attribute) {
  attributes_.push_back({record, field, std::move(attribute)});
  return attributes_.back().object.get();
}

std::string ReadAttributes::place_of(PyObject* object) const {
  // The one read last is the one at work.
  for (std::size_t i = attributes_.size(); i-- > 0;) {
    const auto& [record, field, attribute] = attributes_[i];
    const std::string name = std::string(record) + "." + field_name(field);
    std::string place = place_in(attribute.get(), name, object);
    if (!place.empty()) return place;
  }
  return {};
}

PyRef PyRecord::pass_through_slow(Field field) const {
  PyRef attribute = this->attribute(field);
  if (is_shareable(attribute.get())) return attribute;
  return plain_copy(read_.hold(name_, field, std::move(attribute)));
}

Value PyRecord::value(Field field) const {
  PyRef attribute = this->attribute(field);
  if (is_shareable(attribute.get())) return to_value(std::move(attribute));
  return to_value(PyRef::borrow(read_.hold(name_, field, std::move(attribute))));
}

Value PyRecord::value_with_method(const char* attribute, Field field) const {
  PyRef object = this->attribute(field);
  if (is_shareable(object.get())) return to_value(std::move(object));
  if (py_kind(object.get()) != PyKind::other &&
      (!PyLong_Check(object.get()) || fits_64_bits(object.get())))
    return to_value(PyRef::borrow(read_.hold(name_, field, std::move(object))));
  const int is_truthy = call_python([&] { return PyObject_IsTrue(object.get()); });
  check(is_truthy);
  if (is_truthy == 0) return {};
  raise(PyExc_AttributeError, "'%.200s' object has no attribute '%s'",
        Py_TYPE(object.get())->tp_name, attribute);
}

PyRef PyRecord::summary(Field field) const {
  PyRef docstring = attribute(field);
  if (docstring.get() == Py_None) return docstring;
  if (PyUnicode_Check(docstring.get())) return first_sentence_of(docstring.get());
  throw_docstring_error(to_value(PyRef::borrow(read_.hold(name_, field, std::move(docstring)))));
}

PyRef PyRecord::attribute_slow(Field field) const {
  PyObject* const name = names_.of(field);
  PyObject* const found = places_.find(object_, field, name);
  return found != nullptr ? PyRef::borrow(found) : asked_of_host(name);
}

PyRef PyRecord::asked_of_host(PyObject* name) const {
  // PyObject_GetAttr is one step more to where the attributes of most objects are.
  const bool is_generic = Py_TYPE(object_)->tp_getattro == PyObject_GenericGetAttr;
  PyRef attribute = PyRef::steal(call_python([&] {
    return is_generic ? PyObject_GenericGetAttr(object_, name) : PyObject_GetAttr(object_, name);
  }));
  if (attribute) return attribute;
  if (is_generic) complete_attribute_error(object_, name);  // the others have done so
  throw PythonError();
}

}  // namespace mcp_responses
