#include "loading.h"

#include <initializer_list>
#include <string_view>
#include <utility>

#include "ask_citations.h"
#include "ask_response.h"
#include "code_lines.h"
#include "cpython_layout.h"
#include "cuts.h"
#include "empty_responses.h"
#include "function_type.h"
#include "py_errors.h"
#include "signatures.h"
#include "state.h"

namespace mcp_responses {
namespace {

void define(PyObject* module, const char* name, const PyRef& object) {
  check(PyModule_AddObjectRef(module, name, object.get()));
}

void import_module(PyObject* module, const char* name) {
  define(module, name, checked(PyImport_ImportModule(name)));
}

/// Whether the module is still running its own loading, which imports this one.
bool is_initializing(PyObject* module) {
  const PyRef spec = PyRef::steal(PyObject_GetAttrString(module, "__spec__"));
  const PyRef flag =
      PyRef::steal(spec ? PyObject_GetAttrString(spec.get(), "_initializing") : nullptr);
  PyErr_Clear();
  return flag && PyObject_IsTrue(flag.get()) > 0;
}

/// ImportError with the words, name and path of the interpreter's own.
[[noreturn]] void raise_import_error(PyObject* module, const char* name) {
  PyErr_Clear();
  const PyRef source = checked(PyObject_GetAttrString(module, "__name__"));
  const PyRef path = PyRef::steal(PyModule_GetFilenameObject(module));
  PyErr_Clear();
  const PyRef text = checked(
      !path ? PyUnicode_FromFormat("cannot import name '%s' from %R (unknown location)", name,
                                   source.get())
      : is_initializing(module)
          ? PyUnicode_FromFormat("cannot import name '%s' from partially initialized module %R "
                                 "(most likely due to a circular import) (%S)",
                                 name, source.get(), path.get())
          : PyUnicode_FromFormat("cannot import name '%s' from %R (%S)", name, source.get(),
                                 path.get()));
  PyErr_SetImportError(text.get(), source.get(), path.get());
  throw PythonError();
}

/// As `from source import name`.
void import_name(PyObject* module, const char* source, const char* name) {
  const PyRef from = checked(PyImport_ImportModule(source));
  PyRef object = PyRef::steal(PyObject_GetAttrString(from.get(), name));
  if (!object && PyErr_ExceptionMatches(PyExc_AttributeError) != 0)
    raise_import_error(from.get(), name);
  define(module, name, checked(object.release()));
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
  const PyRef logging = checked(PyObject_GetAttrString(module, "logging"));
  const PyRef name = checked(PyObject_GetAttrString(module, "__name__"));
  define(module, "logger",
         checked(PyObject_CallMethod(logging.get(), "getLogger", "O", name.get())));
}

void define_integers(PyObject* module,
                     std::initializer_list<std::pair<const char*, long long>> settings) {
  for (const auto& [name, content] : settings)
    define(module, name, checked(PyLong_FromLongLong(content)));
}

void define_sentence_end(PyObject* module) {
  const PyRef re = checked(PyObject_GetAttrString(module, "re"));
  define(module, "_SENTENCE_END",
         checked(PyObject_CallMethod(re.get(), "compile", "s", R"((?<=[.!?])\s)")));
}

/// Defines the module's functions, in the order of their table, in more than one go.
class FunctionDefinitions {
 public:
  explicit FunctionDefinitions(PyObject* module)
      : module_(module), type_(make_function_type(module)) {}

  /// Those that are not defined yet, up to the one of this name but for itself; without a name,
  /// all.
  void define_before(std::string_view name) {
    for (; next_ != signatures.end() && next_->name != name; ++next_)
      define(module_, next_->name, make_function(type_.get(), module_, *next_));
  }
  void define_the_rest() { define_before({}); }

 private:
  PyObject* module_;
  PyRef type_;
  decltype(signatures)::const_iterator next_ = signatures.begin();
};

void define_empty_responses(PyObject* module) {
  constexpr const char* name = "EMPTY_TOOL_RESPONSES";
  define(module, name, state_of(module)->dicts.of(EMPTY_TOOL_RESPONSES()));
  const PyRef annotations = checked(PyObject_GetAttrString(module, "__annotations__"));
  const PyRef type = checked(PyUnicode_FromString("dict[str, dict[str, Any]]"));
  check(PyDict_SetItemString(annotations.get(), name, type.get()));
}

}  // namespace

void load(PyObject* module) {
  confirm_layout();
  define_annotations(module);
  import_host_modules(module);
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
  functions.define_the_rest();
}

}  // namespace mcp_responses
