#include "call.h"

#include "errors.h"
#include "host_errors.h"
#include "host_object.h"
#include "host_place.h"
#include "host_value.h"

namespace mcp_responses {

Value Call::looked_into(std::size_t position) const {
  return to_value(HostRef::borrow(arguments_[position]));
}

Text Call::text(std::size_t position) const {
  PyObject* const argument = arguments_[position];
  if (!PyUnicode_Check(argument)) raise_wrong_type(name(position), "str", argument);
  return to_text(HostRef::borrow(argument));
}

std::int64_t Call::integer(std::size_t position) const {
  PyObject* const argument = arguments_[position];
  if (!PyLong_Check(argument)) raise_wrong_type(name(position), "int", argument);
  return integer_in(argument);
}

List Call::list(std::size_t position) const {
  const Value argument = looked_into(position);
  const auto list = argument.list();
  if (!list) throw KindError(name(position), "list", argument.kind());
  return *list;
}

List Call::sequence(std::size_t position) const {
  PyObject* const argument = arguments_[position];
  if (host_kind(argument) != HostKind::other || PySequence_Check(argument) == 0)
    return list(position);
  const HostRef elements = checked(PyList_New(0));
  for_each_in(position,
              [&](const HostRef& element) { check(PyList_Append(elements.get(), element.get())); });
  return *to_value(HostRef::borrow(elements.get())).list();
}

PyObject* Call::dict(std::size_t position) const {
  PyObject* const argument = arguments_[position];
  if (host_kind(argument) == HostKind::dict) return argument;
  throw KindError(name(position), "dict", looked_into(position).kind());
}

HostRef Call::global(const Word& name) const {
  PyObject* const key = state_.names.of(name);
  PyObject* const found = PyDict_GetItemWithError(PyModule_GetDict(module_), key);
  if (found != nullptr) return HostRef::borrow(found);
  if (PyErr_Occurred() != nullptr) throw HostError();
  raise_name_error(key);
}

std::string Call::place_of(const Refused& refused) const {
  std::string place = read_.place_of(refused.object());
  for (std::size_t i = 0; place.empty() && i < parameters_.size(); ++i)
    place = place_in(arguments_[i], parameters_[i].name, refused.object());
  if (!place.empty()) return place;
  return refused.is_key() ? "a key in the answer" : "a value in the answer";
}

}  // namespace mcp_responses
