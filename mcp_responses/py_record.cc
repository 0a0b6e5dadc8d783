#include "py_record.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "py_copy.h"
#include "py_value.h"

namespace mcp_responses {

PyObject* ReadAttributes::keep(const char* record, Field field, PyRef attribute) {
  attributes_.push_back({record, field, std::move(attribute)});
  return attributes_.back().object.get();
}

template <class Find>
auto ReadAttributes::first_found(Find find) const {
  // A call fails at the last attribute that it reads, so that one is searched first.
  for (std::size_t i = attributes_.size(); i-- > 0;) {
    const auto& [record, field, attribute] = attributes_[i];
    auto found = find(attribute.get(), std::string(record) + "." + field_name(field));
    if (!found.empty()) return found;
  }
  return decltype(find(nullptr, std::string()))();
}

ArgumentPath ReadAttributes::path_to(PyObject* object) const {
  return first_found([object](PyObject* attribute, const std::string& name) {
    return argument_path(attribute, name, object);
  });
}

std::string ReadAttributes::nesting_problem(std::size_t max_levels) const {
  return first_found([max_levels](PyObject* attribute, const std::string& name) {
    return mcp_responses::nesting_problem(attribute, name, max_levels);
  });
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

Value PyRecord::value_of_kind(Field field, std::initializer_list<Kind> kinds) const {
  PyRef object = attribute(field);
  const std::optional<Kind> kind = py_kind(object.get());
  if (kind && std::ranges::count(kinds, *kind) > 0)
    return to_value(PyRef::borrow(read_.keep(name_, field, std::move(object))));
  const bool may_be_null = std::ranges::count(kinds, Kind::null) > 0;
  if (may_be_null && checked(PyObject_IsTrue, object.get()) == 0) return {};
  raise(PyExc_AttributeError, "%s.%s must be %s, not %.200s", name_, field_name(field),
        python_names(kinds).c_str(), Py_TYPE(object.get())->tp_name);
}

PyRef PyRecord::summary(Field field) const {
  PyRef docstring = attribute(field);
  if (docstring.get() == Py_None) return docstring;
  if (PyUnicode_Check(docstring.get())) return first_sentence_of(docstring.get());
  throw_docstring_error(to_value(PyRef::borrow(read_.keep(name_, field, std::move(docstring)))));
}

}  // namespace mcp_responses
