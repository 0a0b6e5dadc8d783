#include "native.h"

// marshal.h needs Python.h.
#include <marshal.h>

#include <array>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "check_interrupt.h"
#include "errors.h"
#include "namespace_code.h"
#include "py_errors.h"
#include "stack_guard.h"

namespace mcp_responses {
namespace {

PyRef run(const NativeFunction& function, Call& call) {
  std::optional<UnsupportedObject> unsupported;
  try {
    return function.body(call);
  } catch (UnsupportedObject& thrown) {
    unsupported = std::move(thrown);
  } catch (const NestingError&) {
  }
  unsupported ? call.raise_unsupported(*unsupported) : call.raise_nesting_error();
}

/// One object for all calls. If greenlets end calls out of order, a scope can restore a pointer to it
/// after another call has ended.
const CheckInterrupt run_signal_handlers = [] { check_signals(); };

PyObject* call_native(const NativeFunction& function, PyObject* state, PyObject* const* arguments,
                      Py_ssize_t count) {
  return translate_exceptions([&] {
    Call call(function, {arguments, static_cast<std::size_t>(count)}, state_in(state));
    check_stack();
    const InterruptScope interruptible(run_signal_handlers);
    return run(function, call);
  });
}

/// The function that the interpreter calls for one of the native functions.
template <std::size_t index>
PyObject* entry(PyObject* state, PyObject* const* arguments, Py_ssize_t count) {
  return call_native(native_functions[index], state, arguments, count);
}

template <std::size_t... index>
std::array<PyMethodDef, sizeof...(index)> method_definitions(std::index_sequence<index...>) {
  const auto untyped = [](auto* function) {
    return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
  };
  return {
      PyMethodDef{native_functions[index].name, untyped(entry<index>), METH_FASTCALL, nullptr}...};
}

PyRef new_native(std::string_view name, PyObject* state) {
  static std::array definitions =
      method_definitions(std::make_index_sequence<std::size(native_functions)>());
  for (PyMethodDef& definition : definitions) {
    if (definition.ml_name == name) return checked(PyCFunction_NewEx, &definition, state, nullptr);
  }
  raise(PyExc_SystemError, "%s has no native function", std::string(name).c_str());
}

bool is_placeholder(PyObject* constant) noexcept {
  return PyUnicode_CheckExact(constant) &&
         PyUnicode_CompareWithASCIIString(constant, "native") == 0;
}

/// A tuple of these objects. It is filled without an allocation in between, because a finalizer that
/// the garbage collector runs could find an incomplete one.
PyRef tuple_of(std::vector<PyRef> objects) {
  PyRef tuple = checked(PyTuple_New, static_cast<Py_ssize_t>(objects.size()));
  for (std::size_t i = 0; i < objects.size(); ++i)
    PyTuple_SET_ITEM(tuple.get(), static_cast<Py_ssize_t>(i), objects[i].release());
  return tuple;
}

/// A copy of a code object with native functions in its constants, at every depth.
PyRef with_natives(PyObject* code, PyObject* state) {
  const PyRef name = checked(PyObject_GetAttrString, code, "co_name");
  const PyRef constants = checked(PyObject_GetAttrString, code, "co_consts");
  std::vector<PyRef> replaced;
  for (Py_ssize_t i = 0; i < PyTuple_GET_SIZE(constants.get()); ++i) {
    PyObject* const constant = PyTuple_GET_ITEM(constants.get(), i);
    replaced.push_back(PyCode_Check(constant)     ? with_natives(constant, state)
                       : is_placeholder(constant) ? new_native(PyUnicode_AsUTF8(name.get()), state)
                                                  : PyRef::borrow(constant));
  }
  const PyRef replace = checked(PyObject_GetAttrString, code, "replace");
  const PyRef none = checked(PyTuple_New, 0);
  const PyRef named = checked(PyDict_New);
  checked(PyDict_SetItemString, named.get(), "co_consts", tuple_of(std::move(replaced)).get());
  return checked(PyObject_Call, replace.get(), none.get(), named.get());
}

void free_state(PyObject* capsule) { delete &state_in(capsule); }

}  // namespace

PyRef new_module_state() {
  auto state = std::make_unique<ModuleState>();
  PyRef capsule = checked(PyCapsule_New, static_cast<void*>(state.get()), nullptr, free_state);
  static_cast<void>(state.release());
  return capsule;
}

ModuleState& state_in(PyObject* capsule) noexcept {
  return *static_cast<ModuleState*>(PyCapsule_GetPointer(capsule, nullptr));
}

PyRef namespace_code_with(PyObject* state) {
  const PyRef code =
      checked(PyMarshal_ReadObjectFromString, reinterpret_cast<const char*>(namespace_code),
              static_cast<Py_ssize_t>(sizeof(namespace_code)));
  return with_natives(code.get(), state);
}

}  // namespace mcp_responses
