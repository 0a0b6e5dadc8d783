#include "function_type.h"

#include <structmember.h>

#include <cassert>
#include <memory>
#include <optional>
#include <utility>

#include "arguments.h"
#include "call.h"
#include "errors.h"
#include "py_errors.h"

namespace mcp_responses {
namespace {

struct Function {
  PyObject_HEAD
  vectorcallfunc vectorcall;
  PyRef (*body)(Call& call);
  Parameters* parameters;  // owned
  PyObject* name;
  PyObject* module;  // keeps the state alive; null after the collector has cleared this function
  ModuleState* state;
  PyObject* attributes;  // a dict
  PyObject* weak_references;
};

Function* as_function(PyObject* object) { return reinterpret_cast<Function*>(object); }

/// Binds the arguments and runs the body.
PyRef run(const Function& function, const CallArguments& given) {
  PyObject* const globals = namespace_of(function.module, function.name);
  const BoundArguments arguments(*function.parameters, given, globals);
  Call call(globals, *function.state, *function.parameters, arguments);
  std::optional<UnsupportedObject> unsupported;
  try {
    return function.body(call);
  } catch (UnsupportedObject& thrown) {
    unsupported = std::move(thrown);
  } catch (const NestingError&) {
  }
  unsupported ? call.raise_unsupported(*unsupported) : call.raise_nesting_error();
}

/// The interpreter's recursion guard. Calls may be nested without a Python frame in between, for
/// example through a property whose getter is a built-in function, so each call is counted. It counts
/// as two levels, because it uses about as much stack as two calls of the interpreter.
class RecursionGuard {
 public:
  RecursionGuard() : thread_(PyThreadState_Get()) {
    if (thread_->recursion_remaining <= levels)
      raise(PyExc_RecursionError, "maximum recursion depth exceeded while calling a Python object");
    thread_->recursion_remaining -= levels;
  }
  RecursionGuard(const RecursionGuard&) = delete;
  RecursionGuard& operator=(const RecursionGuard&) = delete;
  ~RecursionGuard() { thread_->recursion_remaining += levels; }

 private:
  static constexpr int levels = 2;
  PyThreadState* thread_;
};

PyObject* vectorcall(PyObject* self, PyObject* const* values, std::size_t flagged_count,
                     PyObject* names) {
  return translate_exceptions([&] {
    // A property calls its getter without owning a reference, and the call may replace the getter.
    const PyRef held = PyRef::borrow(self);
    const RecursionGuard guard;
    const auto by_position = static_cast<std::size_t>(PyVectorcall_NARGS(flagged_count));
    return run(*as_function(self), {.values = values, .by_position = by_position, .names = names});
  });
}

// Attributes for introspection. `inspect.signature` needs `__code__` and the defaults.

/// The module's namespace, in which `typing.get_type_hints` looks up the names of annotations.
PyObject* get_globals(PyObject* self, void*) {
  return translate_exceptions([self] {
    return PyRef::borrow(namespace_of(as_function(self)->module, as_function(self)->name));
  });
}

template <PyRef Parameters::*member>
PyObject* get(PyObject* self, void*) {
  const PyRef& object = as_function(self)->parameters->*member;
  return Py_NewRef(object ? object.get() : Py_None);
}

/// A copy, because calls use the objects that the dict contains.
PyObject* get_keyword_defaults(PyObject* self, void*) {
  const PyRef& defaults = as_function(self)->parameters->keyword_defaults;
  if (!defaults) Py_RETURN_NONE;
  return call_python([&] { return PyDict_Copy(defaults.get()); });
}

PyObject* represent(PyObject* self) {
  return PyUnicode_FromFormat("<function %U at %p>", as_function(self)->name,
                              static_cast<void*>(self));
}

/// The name, by which pickle and copy find the function in its module.
PyObject* reduce(PyObject* self, PyObject*) { return Py_NewRef(as_function(self)->name); }

/// A function that is an attribute of a class binds like a method.
PyObject* bind(PyObject* self, PyObject* instance, PyObject*) {
  if (instance == nullptr || instance == Py_None) return Py_NewRef(self);
  return PyMethod_New(self, instance);
}

// Garbage collection and deallocation.

int traverse(PyObject* self, visitproc visit, void* arg) {
  Py_VISIT(Py_TYPE(self));
  Py_VISIT(as_function(self)->module);
  Py_VISIT(as_function(self)->attributes);
  return 0;
}

int clear(PyObject* self) {
  Py_CLEAR(as_function(self)->module);
  Py_CLEAR(as_function(self)->attributes);
  return 0;
}

void deallocate(PyObject* self) {
  PyTypeObject* const type = Py_TYPE(self);
  PyObject_GC_UnTrack(self);
  if (as_function(self)->weak_references != nullptr) PyObject_ClearWeakRefs(self);
  clear(self);
  Py_CLEAR(as_function(self)->name);
  delete as_function(self)->parameters;
  type->tp_free(self);
  Py_DECREF(type);
}

PyMethodDef methods[] = {{"__reduce__", reduce, METH_NOARGS, nullptr},
                         {nullptr, nullptr, 0, nullptr}};

PyMemberDef members[] = {
    {"__name__", T_OBJECT, offsetof(Function, name), READONLY, nullptr},
    {"__qualname__", T_OBJECT, offsetof(Function, name), READONLY, nullptr},
    {"__vectorcalloffset__", T_PYSSIZET, offsetof(Function, vectorcall), READONLY, nullptr},
    {"__dictoffset__", T_PYSSIZET, offsetof(Function, attributes), READONLY, nullptr},
    {"__weaklistoffset__", T_PYSSIZET, offsetof(Function, weak_references), READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr}};

PyGetSetDef descriptors[] = {
    {"__dict__", PyObject_GenericGetDict, PyObject_GenericSetDict, nullptr, nullptr},
    {"__globals__", get_globals, nullptr, nullptr, nullptr},
    {"__code__", get<&Parameters::code>, nullptr, nullptr, nullptr},
    {"__defaults__", get<&Parameters::defaults>, nullptr, nullptr, nullptr},
    {"__kwdefaults__", get_keyword_defaults, nullptr, nullptr, nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr}};

template <class Slot>
void* slot(Slot* function) {
  return reinterpret_cast<void*>(function);
}

}  // namespace

PyRef make_function_type(PyObject* module) {
  PyType_Slot slots[] = {{Py_tp_call, slot(PyVectorcall_Call)},
                         {Py_tp_doc, const_cast<char*>("A function of hollin.mcp_responses.")},
                         {Py_tp_repr, slot(represent)},
                         {Py_tp_descr_get, slot(bind)},
                         {Py_tp_traverse, slot(traverse)},
                         {Py_tp_clear, slot(clear)},
                         {Py_tp_dealloc, slot(deallocate)},
                         {Py_tp_methods, methods},
                         {Py_tp_members, members},
                         {Py_tp_getset, descriptors},
                         {0, nullptr}};
  PyType_Spec spec{.name = "hollin.mcp_responses.function",
                   .basicsize = sizeof(Function),
                   .itemsize = 0,
                   .flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC | Py_TPFLAGS_HAVE_VECTORCALL |
                            Py_TPFLAGS_METHOD_DESCRIPTOR | Py_TPFLAGS_DISALLOW_INSTANTIATION |
                            Py_TPFLAGS_IMMUTABLETYPE,
                   .slots = slots};
  return checked(PyType_FromModuleAndSpec, module, &spec, nullptr);
}

PyRef make_function(PyObject* type, PyObject* module, PyObject* declaration,
                    PyRef (*body)(Call& call)) {
  assert(state_of(module) != nullptr);
  auto parameters = std::make_unique<Parameters>(declaration);
  PyRef name = checked(PyObject_GetAttrString, declaration, "__name__");
  PyRef attributes = checked(PyDict_New);
  // In the instance's dict, because the type itself has attributes with these names.
  for (const char* attribute_name : {"__module__", "__doc__", "__annotations__"}) {
    const PyRef attribute = checked(PyObject_GetAttrString, declaration, attribute_name);
    checked(PyDict_SetItemString, attributes.get(), attribute_name, attribute.get());
  }
  // Allocated last, because a finalizer can find an incomplete function by `gc.get_objects`.
  PyRef object = checked(PyType_GenericAlloc, reinterpret_cast<PyTypeObject*>(type), 0);
  Function& function = *as_function(object.get());
  function.vectorcall = vectorcall;
  function.body = body;
  function.parameters = parameters.release();
  function.name = name.release();
  function.module = Py_NewRef(module);
  function.state = state_of(module);
  function.attributes = attributes.release();
  return object;
}

}  // namespace mcp_responses
