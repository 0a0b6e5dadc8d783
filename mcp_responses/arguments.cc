#include "arguments.h"

#include <algorithm>
#include <cassert>
#include <span>
#include <vector>

#include "errors.h"
#include "py_errors.h"

namespace mcp_responses {

Parameters::Parameters(PyObject* declaration)
    : code(PyRef::borrow(PyFunction_GetCode(declaration))),
      positional(
          static_cast<std::size_t>(reinterpret_cast<PyCodeObject*>(code.get())->co_argcount)),
      names(checked(PyCode_GetVarnames, reinterpret_cast<PyCodeObject*>(code.get()))),
      defaults(PyRef::borrow(PyFunction_GetDefaults(declaration))),
      keyword_defaults(PyRef::borrow(PyFunction_GetKwDefaults(declaration))) {
  assert(count() <= max_parameters);
  if (defaults) {
    const Py_ssize_t size = PyTuple_GET_SIZE(defaults.get());
    std::copy_n(PySequence_Fast_ITEMS(defaults.get()), size,
                fallbacks.begin() + static_cast<Py_ssize_t>(positional) - size);
  }
  const PyRef types = checked(PyObject_GetAttrString, declaration, "__annotations__");
  for (std::size_t i = 0; i < count(); ++i) {
    PyObject* const name = PyTuple_GET_ITEM(names.get(), static_cast<Py_ssize_t>(i));
    if (keyword_defaults && i >= positional)
      fallbacks[i] = PyDict_GetItemWithError(keyword_defaults.get(), name);
    annotations[i] = PyUnicode_AsUTF8(PyDict_GetItemWithError(types.get(), name));
  }
}

std::string accepted_types(std::string_view annotation) {
  std::vector<std::string_view> types;
  while (!annotation.empty()) {
    const std::string_view type = annotation.substr(0, annotation.find_first_of(" ["));
    const bool is_literal = type == "Literal";  // of strings
    if (type == "Any") return json_types;
    types.emplace_back(is_literal ? std::string_view("str") : type);
    if (type == "list") types.emplace_back("tuple");
    const std::size_t separator = annotation.rfind(" | ");  // annotations have two types at most
    annotation.remove_prefix(separator == annotation.npos ? annotation.size() : separator + 3);
  }
  return alternatives(types);
}

BoundArguments::BoundArguments(const Parameters& parameters, const CallArguments& given,
                               PyObject* globals) {
  if (!bind(parameters, given)) bind_in_python(parameters, given, globals);
}

/// Binds the arguments if they fit, and their names are interned. Returns false otherwise.
bool BoundArguments::bind(const Parameters& parameters, const CallArguments& given) noexcept {
  if (given.by_position > parameters.positional) return false;
  for (std::size_t i = 0; i < given.by_position; ++i) values_[i] = PyRef::borrow(given.values[i]);
  PyObject* const* const names = PySequence_Fast_ITEMS(parameters.names.get());
  const std::size_t count = parameters.count();
  const Py_ssize_t named = given.names == nullptr ? 0 : PyTuple_GET_SIZE(given.names);
  std::size_t next = given.by_position;  // most callers keep the order of the parameters
  for (Py_ssize_t i = 0; i < named; ++i, ++next) {
    PyObject* const name = PyTuple_GET_ITEM(given.names, i);
    if (next >= count || names[next] != name)
      next = static_cast<std::size_t>(std::find(names, names + count, name) - names);
    if (next == count || values_[next]) return false;
    values_[next] = PyRef::borrow(given.values[given.by_position + static_cast<std::size_t>(i)]);
  }
  for (std::size_t i = given.by_position; i < count; ++i) {
    if (!values_[i]) values_[i] = PyRef::borrow(parameters.fallbacks[i]);
    if (!values_[i]) return false;
  }
  return true;
}

/// Calls a function defined in Python with these parameters. It binds the arguments or raises.
void BoundArguments::bind_in_python(const Parameters& parameters, const CallArguments& given,
                                    PyObject* globals) {
  std::vector<PyRef> held;
  const Py_ssize_t named = given.names == nullptr ? 0 : PyTuple_GET_SIZE(given.names);
  const std::size_t count = given.by_position + static_cast<std::size_t>(named);
  for (PyObject* value : std::span(given.values, count)) held.push_back(PyRef::borrow(value));
  const PyRef function = checked(PyFunction_New, parameters.code.get(), globals);
  checked(PyFunction_SetDefaults, function.get(),
          parameters.defaults ? parameters.defaults.get() : Py_None);
  checked(PyFunction_SetKwDefaults, function.get(),
          parameters.keyword_defaults ? parameters.keyword_defaults.get() : Py_None);
  const PyRef locals =
      checked(PyObject_Vectorcall, function.get(), given.values, given.by_position, given.names);
  // A trace function may have changed the dict.
  for (std::size_t i = 0; i < parameters.count(); ++i) {
    PyObject* const name = PyTuple_GET_ITEM(parameters.names.get(), static_cast<Py_ssize_t>(i));
    values_[i] =
        PyRef::borrow(call_python([&] { return PyDict_GetItemWithError(locals.get(), name); }));
    if (!values_[i]) raise(PyExc_RuntimeError, "a trace function has removed an argument");
  }
}

}  // namespace mcp_responses
