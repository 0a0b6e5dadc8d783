// The extension module hollin.mcp_responses: its definition, and the steps of an import.
#include "py_ref.h"
// marshal.h needs Python.h.
#include <marshal.h>

#include <utility>

#include "call.h"
#include "cpython_layout.h"
#include "empty_responses.h"
#include "function_type.h"
#include "functions.h"
#include "namespace_code.h"
#include "py_errors.h"

namespace mcp_responses {
namespace {

/// Executes the code of namespace.py in the module's namespace.
void execute_namespace(PyObject* module) {
  const PyRef code =
      checked(PyMarshal_ReadObjectFromString, reinterpret_cast<const char*>(namespace_code),
              static_cast<Py_ssize_t>(sizeof(namespace_code)));
  PyObject* const globals = PyModule_GetDict(module);
  checked(PyEval_EvalCode, code.get(), globals, globals);
}

/// Replaces the functions of namespace.py by native ones.
void define_functions(PyObject* module) {
  const PyRef type = make_function_type(module);
  for (const auto& [name, body] : function_bodies) {
    const PyRef declaration = checked(PyObject_GetAttrString, module, name);
    const PyRef function = make_function(type.get(), module, declaration.get(), body);
    checked(PyModule_AddObjectRef, module, name, function.get());
  }
}

void fill_empty_responses(PyObject* module) {
  const PyRef table = checked(PyObject_GetAttrString, module, "EMPTY_TOOL_RESPONSES");
  const PyRef entries = state_of(module)->answers.to_python(EMPTY_TOOL_RESPONSES());
  checked(PyDict_Update, table.get(), entries.get());
}

/// The interpreter allocates this pointer with each module object. It is null before `execute`.
ModuleState*& state_slot(PyObject* module) {
  return *static_cast<ModuleState**>(PyModule_GetState(module));
}

int execute(PyObject* module) {
  const PyRef loaded = PyRef::steal(translate_exceptions([module] {
    state_slot(module) = new ModuleState();
    confirm_layout();
    execute_namespace(module);
    define_functions(module);
    fill_empty_responses(module);
    return PyRef::borrow(module);
  }));
  return loaded ? 0 : -1;
}

void release(void* module) {
  ModuleState*& state = state_slot(static_cast<PyObject*>(module));
  delete std::exchange(state, nullptr);
}

PyModuleDef_Slot slots[] = {{Py_mod_exec, reinterpret_cast<void*>(execute)}, {0, nullptr}};

PyModuleDef definition = {.m_base = PyModuleDef_HEAD_INIT,
                          .m_name = "mcp_responses",
                          .m_doc = nullptr,         // namespace.py has the documentation
                          .m_size = sizeof(void*),  // a ModuleState*
                          .m_methods = nullptr,
                          .m_slots = slots,
                          .m_traverse = nullptr,  // no reference cycle goes through the state
                          .m_clear = nullptr,
                          .m_free = release};

}  // namespace

ModuleState* state_of(PyObject* module) noexcept { return state_slot(module); }

}  // namespace mcp_responses

PyMODINIT_FUNC PyInit_mcp_responses() { return PyModuleDef_Init(&mcp_responses::definition); }
