// The extension module hollin.mcp_responses: its definition, and the steps of an import.
#include "cpython_layout.h"
#include "empty_responses.h"
#include "native.h"
#include "py_errors.h"
#include "py_ref.h"

namespace mcp_responses {
namespace {

/// Executes the code of namespace.py in the module's namespace.
void execute_namespace(PyObject* globals, PyObject* state) {
  // As `exec` does: functions take their builtins from there.
  checked(PyDict_SetItemString, globals, "__builtins__", PyEval_GetBuiltins());
  const PyRef code = namespace_code_with(state);
  checked(PyEval_EvalCode, code.get(), globals, globals);
}

void fill_empty_responses(PyObject* module, PyObject* state) {
  const PyRef table = checked(PyObject_GetAttrString, module, "EMPTY_TOOL_RESPONSES");
  const PyRef entries = state_in(state).answers.to_python(EMPTY_TOOL_RESPONSES());
  checked(PyDict_Update, table.get(), entries.get());
}

int execute(PyObject* module) {
  const PyRef loaded = PyRef::steal(translate_exceptions([module] {
    confirm_layout();
    const PyRef state = new_module_state();
    execute_namespace(PyModule_GetDict(module), state.get());
    fill_empty_responses(module, state.get());
    return PyRef::borrow(module);  // any object: it means success
  }));
  return loaded ? 0 : -1;
}

PyModuleDef_Slot slots[] = {{Py_mod_exec, reinterpret_cast<void*>(execute)},
#if PY_VERSION_HEX >= 0x030C0000
                            {Py_mod_multiple_interpreters, Py_MOD_PER_INTERPRETER_GIL_SUPPORTED},
#endif
                            {0, nullptr}};

PyModuleDef definition = {.m_base = PyModuleDef_HEAD_INIT,
                          .m_name = "mcp_responses",
                          .m_doc = nullptr,  // namespace.py has the documentation
                          .m_size = 0,       // the native functions own the state
                          .m_methods = nullptr,
                          .m_slots = slots,
                          .m_traverse = nullptr,
                          .m_clear = nullptr,
                          .m_free = nullptr};

}  // namespace
}  // namespace mcp_responses

PyMODINIT_FUNC PyInit_mcp_responses() { return PyModuleDef_Init(&mcp_responses::definition); }
