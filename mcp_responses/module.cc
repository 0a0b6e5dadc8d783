// The extension module hollin.mcp_responses: its definition, and the steps of an import. `load` is
// the table of contents of the module's namespace, in the order of its definitions.
//
// The namespace is an interface. The service's code may use any name in it, so `load` also defines
// the names that the module itself does not need: `json`, `re`, `TYPE_CHECKING`, `Any`, `Literal`,
// `annotations` and the pattern `_SENTENCE_END`.
#include <array>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "ask_citations.h"
#include "ask_response.h"
#include "call.h"
#include "code_lines.h"
#include "cpython_layout.h"
#include "cuts.h"
#include "empty_responses.h"
#include "function_type.h"
#include "py_errors.h"

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

void define(PyObject* module, const char* name, const PyRef& object) {
  checked(PyModule_AddObjectRef, module, name, object.get());
}

void import_module(PyObject* module, const char* name) {
  define(module, name, checked(PyImport_ImportModule, name));
}

/// True while the import of `module` is still running, so that an import from it is circular.
bool is_initializing(PyObject* module) {
  const PyRef spec =
      PyRef::steal(call_python([&] { return PyObject_GetAttrString(module, "__spec__"); }));
  const PyRef flag = PyRef::steal(call_python(
      [&] { return spec ? PyObject_GetAttrString(spec.get(), "_initializing") : nullptr; }));
  PyErr_Clear();
  return flag && call_python([&] { return PyObject_IsTrue(flag.get()); }) > 0;
}

/// Raises ImportError with the interpreter's text, name and path.
[[noreturn]] void raise_import_error(PyObject* module, const char* name) {
  PyErr_Clear();
  const PyRef source = checked(PyObject_GetAttrString, module, "__name__");
  const PyRef path = PyRef::steal(call_python([&] { return PyModule_GetFilenameObject(module); }));
  PyErr_Clear();
  const PyRef message =
      !path ? checked(PyUnicode_FromFormat, "cannot import name '%s' from %R (unknown location)",
                      name, source.get())
      : is_initializing(module)
          ? checked(PyUnicode_FromFormat,
                    "cannot import name '%s' from partially initialized module %R "
                    "(most likely due to a circular import) (%S)",
                    name, source.get(), path.get())
          : checked(PyUnicode_FromFormat, "cannot import name '%s' from %R (%S)", name,
                    source.get(), path.get());
  call_python([&] { PyErr_SetImportError(message.get(), source.get(), path.get()); });
  throw PythonError();
}

/// `from source import name`.
void import_name(PyObject* module, const char* source, const char* name) {
  const PyRef from = checked(PyImport_ImportModule, source);
  PyRef object =
      PyRef::steal(call_python([&] { return PyObject_GetAttrString(from.get(), name); }));
  if (!object) {
    if (PyErr_ExceptionMatches(PyExc_AttributeError) != 0) raise_import_error(from.get(), name);
    throw PythonError();
  }
  define(module, name, object);
}

void define_annotations(PyObject* module) {
  define(module, "__annotations__", checked(PyDict_New));
  import_name(module, "__future__", "annotations");
}

void import_python_modules(PyObject* module) {
  for (const char* name : {"json", "logging", "re"}) import_module(module, name);
  for (const char* name : {"TYPE_CHECKING", "Any", "Literal"}) import_name(module, "typing", name);
}

void define_logger(PyObject* module) {
  const PyRef logging = checked(PyObject_GetAttrString, module, "logging");
  const PyRef name = checked(PyObject_GetAttrString, module, "__name__");
  define(module, "logger",
         checked(PyObject_CallMethod, logging.get(), "getLogger", "O", name.get()));
}

void define_integers(PyObject* module,
                     std::initializer_list<std::pair<const char*, long long>> constants) {
  for (const auto& [name, content] : constants)
    define(module, name, checked(PyLong_FromLongLong, content));
}

void define_sentence_end(PyObject* module) {
  const PyRef re = checked(PyObject_GetAttrString, module, "re");
  define(module, "_SENTENCE_END",
         checked(PyObject_CallMethod, re.get(), "compile", "s", R"((?<=[.!?])\s)"));
}

/// Defines the functions of `signatures`, in order.
class FunctionDefinitions {
 public:
  explicit FunctionDefinitions(PyObject* module)
      : module_(module), type_(make_function_type(module)) {}

  /// Defines the functions up to this one, exclusive.
  void define_before(std::string_view name) {
    for (; next_ != signatures.end() && next_->name != name; ++next_)
      define(module_, next_->name, make_function(type_.get(), module_, *next_));
  }
  void define_rest() { define_before({}); }

 private:
  PyObject* module_;
  PyRef type_;
  decltype(signatures)::const_iterator next_ = signatures.begin();
};

void define_empty_responses(PyObject* module) {
  constexpr const char* name = "EMPTY_TOOL_RESPONSES";
  define(module, name, state_of(module)->answers.to_python(EMPTY_TOOL_RESPONSES()));
  const PyRef annotations = checked(PyObject_GetAttrString, module, "__annotations__");
  const PyRef type = checked(PyUnicode_FromString, "dict[str, dict[str, Any]]");
  checked(PyDict_SetItemString, annotations.get(), name, type.get());
}

void load(PyObject* module) {
  confirm_layout();
  define_annotations(module);
  import_python_modules(module);
  import_name(module, "hollin.utils.pagination", "add_pagination_hint");
  define_logger(module);
  define_integers(module, {{"SUMMARY_CHARS", SUMMARY_CHARS}, {"CODE_LINE_CHARS", CODE_LINE_CHARS}});
  define_sentence_end(module);
  FunctionDefinitions functions(module);
  functions.define_before("build_wiki_ask_response");
  define_integers(module, {{"_ASK_EXCERPT_CHARS", ASK_EXCERPT_CHARS},
                           {"_ASK_MIN_EXCERPT_CHARS", ASK_MIN_EXCERPT_CHARS},
                           {"_ASK_CITATIONS_PER_SECTION", ASK_CITATIONS_PER_SECTION},
                           {"_ASK_MAX_CITATIONS", ASK_MAX_CITATIONS},
                           {"_BYTES_PER_TOKEN", BYTES_PER_TOKEN}});
  functions.define_before("get_empty_response");
  define_empty_responses(module);
  functions.define_rest();
}

/// The interpreter allocates this pointer with each module object. It is null before `execute`.
ModuleState*& state_slot(PyObject* module) {
  return *static_cast<ModuleState**>(PyModule_GetState(module));
}

int execute(PyObject* module) {
  return translate_exceptions_to_status([module] {
    state_slot(module) = new ModuleState();
    load(module);
  });
}

void release(void* module) {
  ModuleState*& state = state_slot(static_cast<PyObject*>(module));
  delete std::exchange(state, nullptr);
}

PyModuleDef_Slot slots[] = {{Py_mod_exec, reinterpret_cast<void*>(execute)}, {0, nullptr}};

PyModuleDef definition = {.m_base = PyModuleDef_HEAD_INIT,
                          .m_name = "mcp_responses",
                          .m_doc = documentation,
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
