#include "py_errors.h"

#include <cstdarg>
#include <exception>
#include <new>
#include <stdexcept>
#include <system_error>

#include "code_lines.h"
#include "errors.h"
#include "text.h"
#include "work_tree.h"

namespace mcp_responses {
namespace {

void set_os_error(const std::system_error& error) {
  errno = error.code().value();
  PyErr_SetFromErrno(PyExc_OSError);
}

/// As encoding the string itself would fail.
void set_unicode_error(const SurrogateError& error) {
  const TextView text = error.text().view();
  const PyRef string = checked(PyUnicode_FromKindAndData(
      static_cast<int>(unit_size(text.repertoire)), text.data, static_cast<Py_ssize_t>(text.size)));
  const auto position = static_cast<Py_ssize_t>(error.position());
  const PyRef raised =
      checked(PyObject_CallFunction(PyExc_UnicodeEncodeError, "sOnns", "utf-8", string.get(),
                                    position, position + 1, "surrogates not allowed"));
  PyErr_SetObject(PyExc_UnicodeEncodeError, raised.get());
}

/// A text with a path in it, which may hold bytes that are not UTF-8.
void set_error_with_path(PyObject* type, const char* text) {
  const PyRef message = checked(PyUnicode_DecodeFSDefault(text));
  PyErr_SetObject(type, message.get());
}

void set_error_from_thrown() {
  try {
    throw;
  } catch (const PythonError&) {
    // Set already, but where memory is short: making a type or compiling then fails in places
    // without an error.
    if (PyErr_Occurred() == nullptr) PyErr_NoMemory();
  } catch (const std::bad_alloc&) {
    PyErr_NoMemory();
  } catch (const std::length_error&) {
    PyErr_NoMemory();
  } catch (const KindError& error) {
    PyErr_SetString(PyExc_TypeError, error.what());
  } catch (const AttributeMissing& error) {
    PyErr_SetString(PyExc_AttributeError, error.what());
  } catch (const NestingError& error) {
    PyErr_SetString(PyExc_RecursionError, error.what());
  } catch (const SurrogateError& error) {
    set_unicode_error(error);
  } catch (const NulInPath& error) {
    PyErr_SetString(PyExc_ValueError, error.what());
  } catch (const LinkLoop& error) {
    set_error_with_path(PyExc_RuntimeError, error.what());
  } catch (const std::system_error& error) {
    set_os_error(error);
  } catch (const std::exception& error) {
    PyErr_SetString(PyExc_SystemError, error.what());
  }
}

}  // namespace

void raise(PyObject* type, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  PyErr_FormatV(type, format, arguments);
  va_end(arguments);
  throw PythonError();
}

void raise_name_error(PyObject* name) {
  const PyRef text = checked(PyUnicode_FromFormat("name '%U' is not defined", name));
  const PyRef error = checked(PyObject_CallOneArg(PyExc_NameError, text.get()));
  check(PyObject_SetAttrString(error.get(), "name", name));
  PyErr_SetObject(PyExc_NameError, error.get());
  throw PythonError();
}

void raise_wrong_type(const std::string& where, const char* expected, PyObject* met) {
  raise(PyExc_TypeError, "%s must be %s, not %.200s", where.c_str(), expected,
        Py_TYPE(met)->tp_name);
}

void raise_unsupported(const UnsupportedObject& refused, const std::string& where) {
  if (PyLong_Check(refused.object())) {
    raise(PyExc_OverflowError, "%s is an int beyond 64 bits (from -2**63 to 2**63 - 1)",
          where.c_str());
  }
  raise_wrong_type(where,
                   refused.is_key() ? "None, bool, int, float or str"
                                    : "None, bool, int, float, str, list, tuple or dict",
                   refused.object());
}

void set_error_from_exception() noexcept {
  try {
    set_error_from_thrown();
  } catch (...) {
    // Making the error has failed. The interpreter then has that failure's error, or memory is
    // short.
    if (PyErr_Occurred() == nullptr) PyErr_NoMemory();
  }
}

}  // namespace mcp_responses
