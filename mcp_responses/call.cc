#include "call.h"

#include "argument_path.h"
#include "errors.h"
#include "py_object.h"
#include "py_value.h"

namespace mcp_responses {

PyObject* namespace_of(PyObject* module, PyObject* function_name) {
  PyObject* const globals = module == nullptr ? nullptr : PyModule_GetDict(module);
  if (globals == nullptr)
    raise(PyExc_RuntimeError, "%U() is used after its module was cleared", function_name);
  return globals;
}

Value Call::value(std::size_t position) const {
  return to_value(PyRef::borrow(arguments_[position]));
}

Text Call::text(std::size_t position) const {
  PyObject* const argument = arguments_[position];
  if (!PyUnicode_Check(argument)) raise_wrong_type(name(position), "str", argument);
  return to_text(PyRef::borrow(argument));
}

std::int64_t Call::integer(std::size_t position) const {
  PyObject* const argument = arguments_[position];
  if (!PyLong_Check(argument)) raise_wrong_type(name(position), "int", argument);
  return integer_in(argument);
}

List Call::list(std::size_t position) const {
  const Value argument = value(position);
  const auto list = argument.list();
  if (!list) throw KindError(name(position), {Kind::list}, argument.kind());
  return *list;
}

List Call::sequence(std::size_t position) const {
  PyObject* const argument = arguments_[position];
  if (py_kind(argument) || PySequence_Check(argument) == 0) return list(position);
  const PyRef elements = checked(PyList_New, 0);
  for_each_in(position,
              [&](const PyRef& element) { checked(PyList_Append, elements.get(), element.get()); });
  return *to_value(PyRef::borrow(elements.get())).list();
}

PyObject* Call::dict(std::size_t position) const {
  PyObject* const argument = arguments_[position];
  if (py_kind(argument) == Kind::object) return argument;
  throw KindError(name(position), {Kind::object}, value(position).kind());
}

PyRef Call::global(const StringLiteral& name) const {
  PyObject* const key = state_.strings.of(name);
  PyObject* const found = call_python([&] { return PyDict_GetItemWithError(globals_, key); });
  if (found != nullptr) return PyRef::borrow(found);
  if (PyErr_Occurred() != nullptr) throw PythonError();
  raise_name_error(key);
}

void Call::raise_unsupported(const UnsupportedObject& unsupported) const {
  PyObject* const object = unsupported.object();
  std::string path = read_.path_to(object);
  if (!path.empty()) mcp_responses::raise_unsupported(unsupported, path);
  for (std::size_t i = 0; i < parameters_.count(); ++i) {
    const std::string_view type = parameters_.annotations[i];
    if (arguments_[i] == object)
      mcp_responses::raise_unsupported(unsupported, name(i), accepted_types(type));
    path = argument_path(arguments_[i], name(i), object);
    if (path.empty()) continue;
    const bool is_element = path.find_first_of("['") == path.find_last_of("['");  // "sections[3]"
    const bool must_be_dict =
        type.starts_with("list[dict[str, Any]]") && is_element && !unsupported.is_key();
    mcp_responses::raise_unsupported(unsupported, path, must_be_dict ? "dict" : json_types);
  }
  mcp_responses::raise_unsupported(
      unsupported, unsupported.is_key() ? "a key in the answer" : "a value in the answer");
}

void Call::raise_nesting_error() const {
  const std::size_t limit = max_nesting();
  std::string problem = read_.nesting_problem(limit);
  for (std::size_t i = 0; problem.empty() && i < parameters_.count(); ++i)
    problem = mcp_responses::nesting_problem(arguments_[i], name(i), limit);
  if (problem.empty()) throw NestingError();
  raise(PyExc_RecursionError, "%s", problem.c_str());
}

}  // namespace mcp_responses
