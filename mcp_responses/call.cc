#include "call.h"

#include <algorithm>
#include <array>

#include "argument_path.h"
#include "errors.h"
#include "py_object.h"
#include "py_value.h"

namespace mcp_responses {
namespace {

/// The types of the attributes, in the order of `Field`, for error messages.
constexpr std::array<const char*, field_names.size()> types_of_fields{
    "str",         "str",         "str",         "int",         "int or None", "str or None",
    "str or None", "bool",        "bool",        "str or None", "int or None", "dict or None",
    "str or None", "str or None", "str or None", "int",         "int"};
static_assert(types_of_fields.back() != nullptr, "each field has a type");

}  // namespace

Call::Call(const NativeFunction& function, std::span<PyObject* const> arguments, ModuleState& state)
    : function_(function), arguments_(arguments), state_(state) {
  const std::size_t expected = function.parameters.size();
  if (arguments.size() != expected)
    raise(PyExc_TypeError, "%s() needs %zu arguments, not %zu", function.name, expected,
          arguments.size());
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

void Call::for_each_in(std::size_t position, const std::function<void(PyRef)>& visitor) const {
  PyObject* const argument = arguments_[position];
  const bool is_iterable = Py_TYPE(argument)->tp_iter != nullptr || PySequence_Check(argument) != 0;
  if (!is_iterable) raise_wrong_type(name(position), "iterable", argument);
  const PyRef iterator = checked(PyObject_GetIter, argument);
  while (PyRef element = next_of(iterator)) {
    visitor(std::move(element));
    count_work(element_work);
  }
}

PyObject* Call::dict(std::size_t position) const {
  PyObject* const argument = arguments_[position];
  if (py_kind(argument) == Kind::object) return argument;
  throw KindError(name(position), {Kind::object}, value(position).kind());
}

PyRef Call::global(const StringLiteral& name) const {
  PyObject* const key = state_.strings.of(name);
  // Null in a function that the garbage collector has cleared. The interpreter itself does not check
  // this: CPython 3.14 crashes if the code of such a function loads a global name.
  const PyRef globals = PyRef::borrow(PyEval_GetGlobals());
  if (!globals)
    raise(PyExc_RuntimeError, "%s() is used after its module was cleared", function_.name);
  PyObject* const found = call_python([&] { return PyDict_GetItemWithError(globals.get(), key); });
  if (found != nullptr) return PyRef::borrow(found);
  if (PyErr_Occurred() != nullptr) throw PythonError();
  raise_name_error(key);
}

std::vector<Call::Input> Call::inputs() const {
  std::vector<Input> inputs;
  for (std::size_t i = read_.size(); i-- > 0;) {
    const auto& [record, field, object] = read_[i];
    inputs.push_back({std::string(record) + "." + field_name(field), object.get(),
                      types_of_fields[static_cast<std::size_t>(field)], json_types});
  }
  for (std::size_t i = 0; i < arguments_.size(); ++i) {
    const Parameter& parameter = function_.parameters[i];
    inputs.push_back({parameter.name, arguments_[i], parameter.types, parameter.element_types});
  }
  return inputs;
}

void Call::raise_unsupported(const UnsupportedObject& unsupported) const {
  for (const Input& input : inputs()) {
    const auto path = argument_path(input.object, input.name, unsupported.object());
    if (!path) continue;
    // By the number of containers around the object.
    const std::array types{input.types, input.element_types, json_types};
    mcp_responses::raise_unsupported(unsupported, path->text,
                                     types[std::min<std::size_t>(path->levels, 2)]);
  }
  mcp_responses::raise_unsupported(
      unsupported, unsupported.is_key() ? "a key in the answer" : "a value in the answer");
}

void Call::raise_nesting_error() const {
  for (const Input& input : inputs()) {
    const std::string problem = nesting_problem(input.object, input.name, max_nesting());
    if (!problem.empty()) raise(PyExc_RecursionError, "%s", problem.c_str());
  }
  throw NestingError();
}

}  // namespace mcp_responses
