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

/// As PyObject_GetAttr, which reads the attributes of most objects through one step more.
PyObject* get_attribute(PyObject* object, PyObject* name) {
  if (Py_TYPE(object)->tp_getattro != PyObject_GenericGetAttr)
    return PyObject_GetAttr(object, name);
  PyObject* const attribute = PyObject_GenericGetAttr(object, name);
  if (attribute == nullptr) complete_attribute_error(object, name);
  return attribute;
}

}  // namespace

HostRef HostRecord::attribute(Field field) const {
  PyObject* const name = state_.field_name(field);
  return checked(in_host([&] { return get_attribute(object_, name); }));
}

HostRef HostRecord::read(Field field) const {
  HostRef attribute = this->attribute(field);
  try {
    if (is_plain_leaf(attribute.get())) return attribute;
    return plain_copy(attribute.get());
  } catch (const Refused& refused) {
    refuse(refused, field, attribute.get());
  }
}

Value HostRecord::value(Field field) const {
  const HostRef attribute = this->attribute(field);
  try {
    return to_value(HostRef::borrow(attribute.get()));
  } catch (const Refused& refused) {
    refuse(refused, field, attribute.get());
  }
}

void HostRecord::refuse(const Refused& refused, Field field, PyObject* attribute) const {
  const std::string name = std::string(name_) + "." + field_name(field);
  const std::string place = path_to(refused.object(), attribute, name);
  raise_refused(refused, place.empty() ? name : place);
  throw HostError();
}

}  // namespace mcp_responses
