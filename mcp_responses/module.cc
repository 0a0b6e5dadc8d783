// The extension module hollin.mcp_responses: its definition, and what an import of it goes through.
#include <utility>

#include "loading.h"
#include "py_errors.h"
#include "state.h"

namespace mcp_responses {
namespace {

constexpr const char* documentation =
    R"(Shared MCP response builders for consistent response structures.

This module provides the SINGLE SOURCE OF TRUTH for ALL MCP tool response structures.
The tool handlers and daemon/worker MUST use these builders to ensure consistency.

MAINTENANCE:
- When adding NEW FIELDS to any MCP tool response, add them HERE FIRST
- Then use the builder where the response is made
)";

/// What the interpreter allocates with each module object: a pointer, null until the module is
/// loaded.
State*& state_slot(PyObject* module) { return *static_cast<State**>(PyModule_GetState(module)); }

int execute(PyObject* module) {
  return translate_exceptions_to_status([module] {
    state_slot(module) = new State();
    load(module);
  });
}

void release(void* module) {
  State*& state = state_slot(static_cast<PyObject*>(module));
  delete std::exchange(state, nullptr);
}

PyModuleDef_Slot slots[] = {{Py_mod_exec, reinterpret_cast<void*>(execute)}, {0, nullptr}};

PyModuleDef definition = {
    .m_base = PyModuleDef_HEAD_INIT,
    .m_name = "mcp_responses",
    .m_doc = documentation,
    .m_size = sizeof(void*),  // a State*
    .m_methods = nullptr,
    .m_slots = slots,
    .m_traverse = nullptr,  // the state holds names and dicts of names: no cycle goes through it
    .m_clear = nullptr,
    .m_free = release};

}  // namespace

State* state_of(PyObject* module) noexcept { return state_slot(module); }

}  // namespace mcp_responses

PyMODINIT_FUNC PyInit_mcp_responses() { return PyModuleDef_Init(&mcp_responses::definition); }
