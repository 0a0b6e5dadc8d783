#include "host_ref.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <system_error>

#include "code_lines.h"
#include "errors.h"
#include "host_value.h"
#include "work_tree.h"

namespace mcp_responses {
namespace {

void raise_os_error(const std::system_error& error) {
  errno = error.code().value();
  PyErr_SetFromErrno(PyExc_OSError);
}

/// As encoding the string itself would fail.
void raise_unicode_error(const SurrogateError& error) {
  const HostRef string = to_host_string(error.text());
  const auto position = static_cast<Py_ssize_t>(error.position());
  const HostRef raised =
      checked(PyObject_CallFunction(PyExc_UnicodeEncodeError, "sOnns", "utf-8", string.get(),
                                    position, position + 1, "surrogates not allowed"));
  PyErr_SetObject(PyExc_UnicodeEncodeError, raised.get());
}

/// A text with a path in it, which may hold bytes that are not UTF-8.
void raise_with_path(PyObject* type, const char* text) {
  const HostRef message = checked(PyUnicode_DecodeFSDefault(text));
  PyErr_SetObject(type, message.get());
}

void raise_thrown() {
  try {
    throw;
  } catch (const HostError&) {
    // set already
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
    raise_unicode_error(error);
  } catch (const Refused& refused) {
    raise_refused(refused, "the value");
  } catch (const NulInPath& error) {
    PyErr_SetString(PyExc_ValueError, error.what());
  } catch (const LinkLoop& error) {
    raise_with_path(PyExc_RuntimeError, error.what());
  } catch (const std::system_error& error) {
    raise_os_error(error);
  } catch (const std::exception& error) {
    PyErr_SetString(PyExc_SystemError, error.what());
  }
}

}  // namespace

void raise_in_host() noexcept {
  try {
    raise_thrown();
  } catch (...) {
    // Making the error has failed. The interpreter then has that failure's error, or memory is
    // short.
    if (PyErr_Occurred() == nullptr) PyErr_NoMemory();
  }
}

}  // namespace mcp_responses
