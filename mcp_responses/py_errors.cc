#include "py_errors.h"

#include <cstdarg>
#include <exception>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include "code_lines.h"
#include "errors.h"
#include "text.h"
#include "work_tree.h"

namespace mcp_responses {
namespace {

void set_error(PyObject* type, const char* message) {
  call_python([&] { PyErr_SetString(type, message); });
}

void set_error(PyObject* type, const PyRef& value) {
  call_python([&] { PyErr_SetObject(type, value.get()); });
}

void set_os_error(const std::system_error& error) {
  errno = error.code().value();
  call_python([] { PyErr_SetFromErrno(PyExc_OSError); });
}

/// The error of encoding the string itself.
void set_unicode_error(const SurrogateError& error) {
  const TextView text = error.text().view();
  const PyRef string =
      checked(PyUnicode_FromKindAndData, static_cast<int>(unit_size(text.repertoire)), text.data,
              static_cast<Py_ssize_t>(text.size));
  const auto position = static_cast<Py_ssize_t>(error.position());
  set_error(PyExc_UnicodeEncodeError,
            checked(PyObject_CallFunction, PyExc_UnicodeEncodeError, "sOnns", "utf-8", string.get(),
                    position, position + 1, "surrogates not allowed"));
}

/// For a message that contains a path, which may hold bytes that are not UTF-8.
void set_error_with_path(PyObject* type, const char* message) {
  set_error(type, checked(PyUnicode_DecodeFSDefault, message));
}

void set_memory_error() { call_python(PyErr_NoMemory); }

/// Some functions of the interpreter fail without an error when memory runs out.
void ensure_error() {
  if (PyErr_Occurred() == nullptr) set_memory_error();
}

/// A function that raises a Python error.
using Setter = std::function<void()>;

Setter setter_of(PyObject* type, const std::exception& exception) {
  return [type, message = std::string(exception.what())] { set_error(type, message.c_str()); };
}

Setter setter_for(const std::exception_ptr& exception) {
  try {
    std::rethrow_exception(exception);
  } catch (const PythonError&) {
    return ensure_error;
  } catch (const std::bad_alloc&) {
    return set_memory_error;
  } catch (const std::length_error&) {
    return set_memory_error;
  } catch (const KindError& error) {
    return setter_of(PyExc_TypeError, error);
  } catch (const NestingError& error) {
    return setter_of(PyExc_RecursionError, error);
  } catch (const SurrogateError& error) {
    return [error] { set_unicode_error(error); };
  } catch (const SymlinkLoop& error) {
    return [message = std::string(error.what())] {
      set_error_with_path(PyExc_RuntimeError, message.c_str());
    };
  } catch (const std::system_error& error) {
    return [error] { set_os_error(error); };
  } catch (const UnsupportedObject& error) {
    // Only a call can determine the path. The error lives as long as `exception`.
    return [&error] { raise_unsupported(error, "a value"); };
  } catch (const std::exception& error) {
    return setter_of(PyExc_SystemError, error);
  }
}

}  // namespace

PyRef next_of(const PyRef& iterator) {
  PyRef next = PyRef::steal(call_python([&] { return PyIter_Next(iterator.get()); }));
  if (!next && PyErr_Occurred() != nullptr) throw PythonError();
  return next;
}

void raise(PyObject* type, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  call_python([&] { PyErr_FormatV(type, format, arguments); });
  va_end(arguments);
  throw PythonError();
}

void raise_name_error(PyObject* name) {
  const PyRef message = checked(PyUnicode_FromFormat, "name '%U' is not defined", name);
  const PyRef error = checked(PyObject_CallOneArg, PyExc_NameError, message.get());
  checked(PyObject_SetAttrString, error.get(), "name", name);
  set_error(PyExc_NameError, error);
  throw PythonError();
}

void raise_wrong_type(const std::string& path, const std::string& expected, PyObject* actual) {
  raise(PyExc_TypeError, "%s must be %s, not %.200s", path.c_str(), expected.c_str(),
        Py_TYPE(actual)->tp_name);
}

void raise_unsupported(const UnsupportedObject& unsupported, const std::string& path,
                       const std::string& expected) {
  if (PyLong_Check(unsupported.object())) {
    raise(PyExc_OverflowError, "%s is an int beyond 64 bits (from -2**63 to 2**63 - 1)",
          path.c_str());
  }
  raise_wrong_type(path, unsupported.is_key() ? "None, bool, int, float or str" : expected,
                   unsupported.object());
}

void set_error_from(const std::exception_ptr& exception) noexcept {
  try {
    setter_for(exception)();
    return;
  } catch (...) {  // out of memory
  }
  ensure_error();
}

}  // namespace mcp_responses
