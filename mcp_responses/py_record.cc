#include "py_record.h"

#include <utility>

#include "argument_path.h"
#include "py_copy.h"
#include "py_value.h"

namespace mcp_responses {

PyObject* ReadAttributes::keep(const char* record, Field field, PyRef attribute) {
  attributes_.push_back({record, field, std::move(attribute)});
  return attributes_.back().object.get();
}

std::string ReadAttributes::path_to(PyObject* object) const {
  // The call has failed at the attribute that was read last.
  for (std::size_t i = attributes_.size(); i-- > 0;) {
    const auto& [record, field, attribute] = attributes_[i];
    const std::string name = std::string(record) + "." + field_name(field);
    std::string path = argument_path(attribute.get(), name, object);
    if (!path.empty()) return path;
  }
  return {};
}

PyRef PyRecord::pass_through(Field field) const {
  PyRef attribute = this->attribute(field);
  if (is_shareable(attribute.get())) return attribute;
  return plain_copy(read_.keep(name_, field, std::move(attribute)));
}

Value PyRecord::value(Field field) const {
  PyRef attribute = this->attribute(field);
  if (is_shareable(attribute.get())) return to_value(std::move(attribute));
  return to_value(PyRef::borrow(read_.keep(name_, field, std::move(attribute))));
}

Value PyRecord::value_with_method(const char* method, Field field) const {
  PyRef object = attribute(field);
  if (is_shareable(object.get())) return to_value(std::move(object));
  if (py_kind(object.get()) != PyKind::other &&
      (!PyLong_Check(object.get()) || fits_64_bits(object.get())))
    return to_value(PyRef::borrow(read_.keep(name_, field, std::move(object))));
  if (checked(PyObject_IsTrue, object.get()) == 0) return {};
  raise(PyExc_AttributeError, "'%.200s' object has no attribute '%s'",
        Py_TYPE(object.get())->tp_name, method);
}

PyRef PyRecord::summary(Field field) const {
  PyRef docstring = attribute(field);
  if (docstring.get() == Py_None) return docstring;
  if (PyUnicode_Check(docstring.get())) return first_sentence_of(docstring.get());
  throw_docstring_error(to_value(PyRef::borrow(read_.keep(name_, field, std::move(docstring)))));
}

}  // namespace mcp_responses
