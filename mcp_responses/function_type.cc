#include "function_type.h"

#include <structmember.h>

#include <algorithm>
#include <cassert>
#include <optional>
#include <span>
#include <utility>

#include "call.h"
#include "errors.h"
#include "py_dict.h"
#include "py_errors.h"

namespace mcp_responses {
namespace {

struct Function {
  PyObject_HEAD
  vectorcallfunc vectorcall;
  const Signature* signature;
  PyObject* module;  // keeps the state alive; null once the collector has cleared this function
  ModuleState* state;
  PyObject* names;                     // of the parameters, interned
  PyObject* defaults[max_parameters];  // null: the parameter must be given
  PyObject* attributes;                // a dict
  PyObject* weak_references;
};

Function* as_function(PyObject* object) { return reinterpret_cast<Function*>(object); }

const Signature& signature_of(PyObject* self) { return *as_function(self)->signature; }

PyRef string(const char* utf8) { return checked(PyUnicode_FromString, utf8); }

PyRef make_default(Default fallback) {
  switch (fallback) {
    case Default::required:
      return {};
    case Default::none:
      return PyRef::borrow(Py_None);
    case Default::no:
      return PyRef::borrow(Py_False);
    case Default::zero:
      return checked(PyLong_FromLong, 0);
    case Default::zero_real:
      return checked(PyFloat_FromDouble, 0.0);
    case Default::empty_string:
      return string("");
    case Default::items:
      return checked(PyUnicode_InternFromString, "items");
  }
  return {};
}

// The call.

/// References to the arguments of a call. `functools.partial` passes its own without holding them,
/// and may get others while the call runs.
class HeldArguments {
 public:
  explicit HeldArguments(const CallArguments& given) noexcept {
    const auto by_name = given.names == nullptr ? 0 : PyTuple_GET_SIZE(given.names);
    // Binding fails if there are more, and then none is used.
    const std::size_t used =
        std::min(given.by_position + static_cast<std::size_t>(by_name), max_parameters);
    for (PyObject* value : std::span(given.values, used)) values_.add(PyRef::borrow(value));
  }

 private:
  PyRefs<max_parameters> values_;
};

/// Binds the arguments and runs the body.
PyRef run(const Function& function, const CallArguments& given) {
  const Signature& signature = *function.signature;
  const HeldArguments held(given);
  PyObject* const globals = namespace_of(function.module, signature.name);
  const auto count = static_cast<std::size_t>(PyTuple_GET_SIZE(function.names));
  const PyParameters parameters{.function = signature.name,
                                .names = {PySequence_Fast_ITEMS(function.names), count},
                                .defaults = {function.defaults, count},
                                .positional = signature.positional};
  PyObject* bound[max_parameters];
  PyObject* const* arguments = given.values;
  if (given.names != nullptr || given.by_position != count || count != signature.positional) {
    bind_arguments(parameters, given, bound);
    arguments = bound;
  }
  Call call(globals, *function.state, {signature.parameters.data(), count}, arguments);
  std::optional<UnsupportedObject> unsupported;
  try {
    return signature.body(call);
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
    // A property calls its function without holding it, and may get another one meanwhile.
    const PyRef held = PyRef::borrow(self);
    const RecursionGuard guard;
    const auto by_position = static_cast<std::size_t>(PyVectorcall_NARGS(flagged_count));
    return run(*as_function(self), {.values = values, .by_position = by_position, .names = names});
  });
}

// Attributes for introspection.

PyObject* get_name(PyObject* self, void*) { return PyUnicode_FromString(signature_of(self).name); }

/// The module's namespace, in which `typing.get_type_hints` looks up the names of annotations.
PyObject* get_globals(PyObject* self, void*) {
  return translate_exceptions([self] {
    return PyRef::borrow(namespace_of(as_function(self)->module, signature_of(self).name));
  });
}

/// A tuple of the defaults of positional parameters, or None if there are none.
PyObject* get_defaults(PyObject* self, void*) {
  return translate_exceptions([self] {
    const Function& function = *as_function(self);
    PyRef defaults = checked(PyList_New, 0);
    for (std::size_t i = 0; i < function.signature->positional; ++i) {
      if (function.defaults[i] != nullptr)
        checked(PyList_Append, defaults.get(), function.defaults[i]);
    }
    if (PyList_GET_SIZE(defaults.get()) == 0) return PyRef::borrow(Py_None);
    return checked(PyList_AsTuple, defaults.get());
  });
}

/// A dict of the defaults of keyword-only parameters, or None if there are none.
PyObject* get_keyword_defaults(PyObject* self, void*) {
  return translate_exceptions([self] {
    const Function& function = *as_function(self);
    PyRef defaults = checked(PyDict_New);
    for (std::size_t i = function.signature->positional; i < function.signature->count(); ++i) {
      if (function.defaults[i] == nullptr) continue;
      checked(PyDict_SetItemString, defaults.get(), function.signature->parameters[i].name,
              function.defaults[i]);
    }
    return PyDict_Size(defaults.get()) == 0 ? PyRef::borrow(Py_None) : std::move(defaults);
  });
}

/// "(items, total_count, offset, *, items_key='items')".
PyObject* get_text_signature(PyObject* self, void*) {
  return translate_exceptions([self] {
    const Function& function = *as_function(self);
    PyRef pieces = checked(PyList_New, 0);
    for (std::size_t i = 0; i < function.signature->count(); ++i) {
      if (i == function.signature->positional)
        checked(PyList_Append, pieces.get(), string("*").get());
      const char* name = function.signature->parameters[i].name;
      PyObject* fallback = function.defaults[i];
      checked(PyList_Append, pieces.get(),
              fallback == nullptr ? string(name).get()
                                  : checked(PyUnicode_FromFormat, "%s=%R", name, fallback).get());
    }
    const PyRef inner = checked(PyUnicode_Join, string(", ").get(), pieces.get());
    return checked(PyUnicode_FromFormat, "(%U)", inner.get());
  });
}

/// An inspect.Signature, which inspect.signature(function) returns.
PyObject* get_signature(PyObject* self, void*) {
  return translate_exceptions([self] {
    const Function& function = *as_function(self);
    const PyRef inspect = checked(PyImport_ImportModule, "inspect");
    const PyRef parameter_type = checked(PyObject_GetAttrString, inspect.get(), "Parameter");
    const PyRef empty = checked(PyObject_GetAttrString, parameter_type.get(), "empty");
    const PyRef by_position =
        checked(PyObject_GetAttrString, parameter_type.get(), "POSITIONAL_OR_KEYWORD");
    const PyRef by_name = checked(PyObject_GetAttrString, parameter_type.get(), "KEYWORD_ONLY");
    const PyRef parameters = checked(PyList_New, 0);
    for (std::size_t i = 0; i < function.signature->count(); ++i) {
      const Parameter& parameter = function.signature->parameters[i];
      const PyRef arguments =
          checked(Py_BuildValue, "sO", parameter.name,
                  i < function.signature->positional ? by_position.get() : by_name.get());
      const PyRef details =
          checked(Py_BuildValue, "{sOss}", "default",
                  function.defaults[i] == nullptr ? empty.get() : function.defaults[i],
                  "annotation", parameter.type);
      const PyRef made =
          checked(PyObject_Call, parameter_type.get(), arguments.get(), details.get());
      checked(PyList_Append, parameters.get(), made.get());
    }
    const PyRef signature_type = checked(PyObject_GetAttrString, inspect.get(), "Signature");
    const PyRef arguments = checked(PyTuple_Pack, 1, parameters.get());
    const PyRef returns =
        checked(Py_BuildValue, "{ss}", "return_annotation", function.signature->returns);
    return checked(PyObject_Call, signature_type.get(), arguments.get(), returns.get());
  });
}

PyObject* represent(PyObject* self) {
  return PyUnicode_FromFormat("<function %s at %p>", signature_of(self).name,
                              static_cast<void*>(self));
}

/// The name, by which pickle and copy find the function in its module.
PyObject* reduce(PyObject* self, PyObject*) {
  return PyUnicode_FromString(signature_of(self).name);
}

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
  Py_CLEAR(as_function(self)->names);
  for (PyObject*& fallback : as_function(self)->defaults) Py_CLEAR(fallback);
  type->tp_free(self);
  Py_DECREF(type);
}

PyMethodDef methods[] = {{"__reduce__", reduce, METH_NOARGS, nullptr},
                         {nullptr, nullptr, 0, nullptr}};

PyMemberDef members[] = {
    {"__vectorcalloffset__", T_PYSSIZET, offsetof(Function, vectorcall), READONLY, nullptr},
    {"__dictoffset__", T_PYSSIZET, offsetof(Function, attributes), READONLY, nullptr},
    {"__weaklistoffset__", T_PYSSIZET, offsetof(Function, weak_references), READONLY, nullptr},
    {nullptr, 0, 0, 0, nullptr}};

PyGetSetDef descriptors[] = {
    {"__dict__", PyObject_GenericGetDict, PyObject_GenericSetDict, nullptr, nullptr},
    {"__name__", get_name, nullptr, nullptr, nullptr},
    {"__qualname__", get_name, nullptr, nullptr, nullptr},
    {"__globals__", get_globals, nullptr, nullptr, nullptr},
    {"__defaults__", get_defaults, nullptr, nullptr, nullptr},
    {"__kwdefaults__", get_keyword_defaults, nullptr, nullptr, nullptr},
    {"__text_signature__", get_text_signature, nullptr, nullptr, nullptr},
    {"__signature__", get_signature, nullptr, nullptr, nullptr},
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

PyRef make_function(PyObject* type, PyObject* module, const Signature& signature) {
  assert(state_of(module) != nullptr);
  PyRef object = checked(PyType_GenericAlloc, reinterpret_cast<PyTypeObject*>(type), 0);
  Function& function = *as_function(object.get());
  function.vectorcall = vectorcall;
  function.signature = &signature;
  function.module = Py_NewRef(module);
  function.state = state_of(module);
  const std::size_t count = signature.count();
  function.names = checked(PyTuple_New, static_cast<Py_ssize_t>(count)).release();
  const PyRef annotations = checked(PyDict_New);
  for (std::size_t i = 0; i < count; ++i) {
    const Parameter& parameter = signature.parameters[i];
    PyRef name = checked(PyUnicode_InternFromString, parameter.name);
    function.defaults[i] = make_default(parameter.fallback).release();
    checked(PyDict_SetItem, annotations.get(), name.get(), string(parameter.type).get());
    PyTuple_SET_ITEM(function.names, static_cast<Py_ssize_t>(i), name.release());
  }
  checked(PyDict_SetItemString, annotations.get(), "return", string(signature.returns).get());
  const PyRef module_name = checked(PyObject_GetAttrString, module, "__name__");
  // In the instance's dict, because the type itself has attributes with these names.
  function.attributes =
      checked(Py_BuildValue, "{sOsssO}", "__module__", module_name.get(), "__doc__",
              signature.documentation, "__annotations__", annotations.get())
          .release();
  return object;
}

}  // namespace mcp_responses
