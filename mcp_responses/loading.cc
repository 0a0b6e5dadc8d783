#include "loading.h"

#include <initializer_list>
#include <span>
#include <utility>

#include "ask_citations.h"
#include "ask_response.h"
#include "code_lines.h"
#include "cuts.h"
#include "empty_responses.h"
#include "function_type.h"
#include "functions.h"
#include "state.h"

namespace mcp_responses {
namespace {

void define(PyObject* module, const char* name, const HostRef& object) {
  check(PyModule_AddObjectRef(module, name, object.get()));
}

void import_module(PyObject* module, const char* name) {
  define(module, name, checked(PyImport_ImportModule(name)));
}

/// As `from source import name`: a name that is not there is an ImportError.
HostRef imported_name(const char* source, const char* name) {
  const HostRef from = checked(PyImport_ImportModule(source));
  HostRef object = HostRef::steal(PyObject_GetAttrString(from.get(), name));
  if (!object && PyErr_ExceptionMatches(PyExc_AttributeError) != 0) {
    PyErr_Format(PyExc_ImportError, "cannot import name '%s' from '%s'", name, source);
  }
  return checked(object.release());
}

void import_name(PyObject* module, const char* source, const char* name) {
  define(module, name, imported_name(source, name));
}

/// The names that say how declared types are held: as text.
void define_annotations(PyObject* module) {
  define(module, "__annotations__", checked(PyDict_New()));
  import_name(module, "__future__", "annotations");
}

void import_host_modules(PyObject* module) {
  for (const char* name : {"json", "logging", "re"}) import_module(module, name);
  for (const char* name : {"TYPE_CHECKING", "Any", "Literal"}) import_name(module, "typing", name);
}

void define_logger(PyObject* module) {
  const HostRef logging = checked(PyObject_GetAttrString(module, "logging"));
  const HostRef name = checked(PyObject_GetAttrString(module, "__name__"));
  define(module, "logger",
         checked(PyObject_CallMethod(logging.get(), "getLogger", "O", name.get())));
}

void define_integers(PyObject* module,
                     std::initializer_list<std::pair<const char*, long long>> settings) {
  for (const auto& [name, content] : settings)
    define(module, name, checked(PyLong_FromLongLong(content)));
}

void define_sentence_end(PyObject* module) {
  const HostRef re = checked(PyObject_GetAttrString(module, "re"));
  define(module, "_SENTENCE_END",
         checked(PyObject_CallMethod(re.get(), "compile", "s", R"((?<=[.!?])\s)")));
}

void define_functions(PyObject* module, PyObject* type, std::span<const Signature> signatures) {
  for (const Signature& signature : signatures)
    define(module, signature.name, make_function(type, module, signature));
}

void define_empty_responses(PyObject* module) {
  constexpr const char* name = "EMPTY_TOOL_RESPONSES";
  define(module, name, to_host(*state_of(module), EMPTY_TOOL_RESPONSES()));
  const HostRef annotations = checked(PyObject_GetAttrString(module, "__annotations__"));
  const HostRef type = checked(PyUnicode_FromString("dict[str, dict[str, Any]]"));
  check(PyDict_SetItemString(annotations.get(), name, type.get()));
}

}  // namespace

void load(PyObject* module) {
  const std::span<const Signature> table(functions);
  define_annotations(module);
  import_host_modules(module);
  import_name(module, "hollin.utils.pagination", "add_pagination_hint");
  define_logger(module);
  define_integers(module, {{"SUMMARY_CHARS", SUMMARY_CHARS}, {"CODE_LINE_CHARS", CODE_LINE_CHARS}});
  define_sentence_end(module);
  const HostRef type = make_function_type(module);
  define_functions(module, type.get(), table.first(first_ask_function));
  define_integers(module, {{"_ASK_EXCERPT_CHARS", _ASK_EXCERPT_CHARS},
                           {"_ASK_MIN_EXCERPT_CHARS", _ASK_MIN_EXCERPT_CHARS},
                           {"_ASK_CITATIONS_PER_SECTION", _ASK_CITATIONS_PER_SECTION},
                           {"_ASK_MAX_CITATIONS", _ASK_MAX_CITATIONS},
                           {"_BYTES_PER_TOKEN", _BYTES_PER_TOKEN}});
  define_functions(module, type.get(),
                   table.subspan(first_ask_function, table.size() - first_ask_function - 1));
  define_empty_responses(module);
  define_functions(module, type.get(), table.last(1));
}

}  // namespace mcp_responses
