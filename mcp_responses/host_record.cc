#include "host_record.h"

#include <string>

#include "host_copy.h"
#include "host_path.h"

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
  const HostRef name_key = HostRef::steal(PyUnicode_InternFromString("name"));
  const HostRef object_key = HostRef::steal(PyUnicode_InternFromString("obj"));
  if (name_key && object_key) {
    const HostRef told = HostRef::steal(PyObject_GetAttr(error, name_key.get()));
    if (told.get() == Py_None) {
      PyObject_SetAttr(error, name_key.get(), name);
      PyObject_SetAttr(error, object_key.get(), object);
    }
  }
  PyErr_Restore(type, error, traceback);
}

}  // namespace

void HostRecord::fail(PyObject* name, bool is_generic) const {
  if (is_generic) complete_attribute_error(object_, name);  // the others have done so
  throw HostError();
}

HostRef HostRecord::copied(PyObject* attribute, Field field) const {
  try {
    return plain_copy(attribute);
  } catch (const Refused& refused) {
    refuse(refused, place_in(field, attribute, refused));
  }
}

Value HostRecord::value(Field field) const { return opened(attribute(field), field); }

HostRef HostRecord::summary(Field field) const {
  HostRef docstring = attribute(field);
  if (docstring.get() == Py_None) return docstring;
  if (PyUnicode_Check(docstring.get())) return host_first_sentence(docstring.get());
  sentence_of(opened(std::move(docstring), field));  // which says what it should be
  return {};
}

Value HostRecord::opened(HostRef attribute, Field field) const {
  try {
    Value value = to_value(HostRef::borrow(attribute.get()));
    if (looked_into_ != nullptr && host_container(value) != nullptr)
      looked_into_->emplace_back(field, std::move(attribute));
    return value;
  } catch (const Refused& refused) {
    refuse(refused, place_in(field, attribute.get(), refused));
  }
}

std::string HostRecord::place_in(Field field, PyObject* attribute, const Refused& refused) const {
  return path_to(refused.object(), attribute, std::string(name_) + "." + field_name(field));
}

void HostRecord::refuse(const Refused& refused, const std::string& place) {
  raise_refused(refused, place);
  throw HostError();
}

void HostRecord::refuse_inside(const LookedInto& looked_into, const Refused& refused) const {
  for (const auto& [field, attribute] : looked_into) {
    const std::string place = place_in(field, attribute.get(), refused);
    if (!place.empty()) refuse(refused, place);
  }
}

}  // namespace mcp_responses
