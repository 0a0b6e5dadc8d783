// Errors on their way between the host and C++.
//
// Inwards, a failed call of the interpreter becomes a PythonError, which carries nothing: the
// interpreter has set its own error. `checked` and `check` see to it, and `raise` sets the error
// itself. Outwards, `translate_exceptions` turns any C++ exception into the host's error.
//
// Who catches: `translate_exceptions`, around everything that the interpreter calls and that may throw; the
// call of a function (function_type.cc), which knows where in its arguments a UnsupportedObject object
// stands; the encoder, which begins anew for a dict with keys that are no strings; and what holds
// the layout against the interpreter, which does without. In `core`, `code_lines` takes note of a
// file that is not read, and hands a circle of links over to the thread that has the lock again.
#pragma once

#include <cstddef>
#include <string>

#include "py_ref.h"

namespace mcp_responses {

/// The interpreter has set its error.
class PythonError {};

/// Takes over a new reference; throws `PythonError` for null.
inline PyRef checked(PyObject* object) {
  if (object == nullptr) throw PythonError();
  return PyRef::steal(object);
}

/// Throws `PythonError` for a negative answer.
inline void check(int answer) {
  if (answer < 0) throw PythonError();
}

/// Runs the handlers of signals that have come, host code that may do anything. What may take long
/// has to call this now and then. Throws `PythonError` with a handler's error.
inline void check_signals() {
  check(call_python([] { return PyErr_CheckSignals(); }));
}

/// The same for work that goes in small steps, of which some more are due: looks for signals every
/// few thousand of them.
inline void check_signals(std::size_t steps) {
  static std::size_t since_last = 0;  // in all threads, which take turns by the interpreter's lock
  since_last += steps;
  if (since_last < 4096) return;
  since_last = 0;
  check_signals();
}

/// Sets the interpreter's error, of this type, its text formatted as by `PyErr_Format`; throws
/// `PythonError`.
[[noreturn]] void raise(PyObject* type, const char* format, ...);

/// Raises NameError for a global name that is not there, complete as the interpreter's own.
[[noreturn]] void raise_name_error(PyObject* name);

/// Raises TypeError: "`where` must be `expected`, not ..." with the name of `met`'s type.
[[noreturn]] void raise_wrong_type(const std::string& where, const char* expected, PyObject* met);

/// An object that no value can stand for, or no key's text: of another type than values have, or an
/// integer beyond 64 bits. Thrown where it is met, which knows nothing of where that is.
class UnsupportedObject {
 public:
  enum class As : bool { value, key };

  explicit UnsupportedObject(PyObject* object, As as = As::value) noexcept
      : object_(PyRef::borrow(object)), as_(as) {}
  PyObject* object() const noexcept { return object_.get(); }
  bool is_key() const noexcept { return as_ == As::key; }

 private:
  PyRef object_;
  As as_;
};

/// Raises TypeError, or OverflowError for an integer; `where` is the place of what is refused.
[[noreturn]] void raise_unsupported(const UnsupportedObject& refused, const std::string& where);

/// Sets the interpreter's error to what is being thrown. Requires to be called from a catch block.
void set_error_from_exception() noexcept;

/// Calls `body` and gives its result, a PyRef, away. Any exception becomes the interpreter's
/// error, and the answer null.
template <class Body>
PyObject* translate_exceptions(Body&& body) noexcept {
  try {
    return call_python(std::forward<Body>(body)).release();
  } catch (...) {
    set_error_from_exception();
    return nullptr;
  }
}

/// The same for a body without a result, where the interpreter expects 0 or, for an error, -1.
template <class Body>
int translate_exceptions_to_status(Body&& body) noexcept {
  try {
    call_python(std::forward<Body>(body));
    return 0;
  } catch (...) {
    set_error_from_exception();
    return -1;
  }
}

}  // namespace mcp_responses
