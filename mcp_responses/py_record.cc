#include "py_record.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "errors.h"
#include "py_copy.h"
#include "py_value.h"

namespace mcp_responses {

PyRef PyRecord::keep(Field field, PyRef attribute) const {
  PyRef another = PyRef::borrow(attribute.get());
  read_.push_back({name_, field, std::move(attribute)});
  return another;
}

PyRef PyRecord::pass_through(Field field) const {
  PyRef attribute = this->attribute(field);
  if (is_shareable(attribute.get())) return attribute;
  return plain_copy(keep(field, std::move(attribute)).get());
}

Value PyRecord::kept_value(Field field, PyRef attribute) const {
  if (is_shareable(attribute.get())) return to_value(std::move(attribute));
  return to_value(keep(field, std::move(attribute)));
}

Value PyRecord::value(Field field) const { return kept_value(field, attribute(field)); }

Value PyRecord::value_of_kind(Field field, std::initializer_list<Kind> kinds) const {
  PyRef object = attribute(field);
  const std::optional<Kind> kind = py_kind(object.get());
  if (kind && std::ranges::count(kinds, *kind) > 0) return kept_value(field, std::move(object));
  const bool may_be_null = std::ranges::count(kinds, Kind::null) > 0;
  if (may_be_null && checked(PyObject_IsTrue, object.get()) == 0) return {};
  raise(PyExc_AttributeError, "%s.%s must be %s, not %.200s", name_, field_name(field),
        names_of(kinds).c_str(), Py_TYPE(object.get())->tp_name);
}

PyRef PyRecord::summary(Field field) const {
  PyRef docstring = attribute(field);
  if (docstring.get() == Py_None) return docstring;
  if (PyUnicode_Check(docstring.get())) return first_sentence_of(docstring.get());
  raise_wrong_type(std::string(name_) + "." + field_name(field), "str or None", docstring.get());
}

}  // namespace mcp_responses
