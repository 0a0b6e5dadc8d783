// Errors between Python and C++.
//
// A failed call of the interpreter becomes a PythonError. It carries nothing: the interpreter's error
// indicator is set. `translate_exceptions` turns any C++ exception into the interpreter's error.
//
// `translate_exceptions` surrounds all code that the interpreter calls. Before it, the call of a native
// function (native.cc) catches UnsupportedObject and NestingError, and adds the path in the arguments.
// In `core`, `read_lines` and `FileOpener::open` catch errors of files.
//
// No catch block runs Python code: while one is active, the C++ runtime terminates the process for
// a forced unwinding (see `call_python`). It stores the exception, and the code after it sets the
// error.
#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <type_traits>

#include "detail/work.h"
#include "py_ref.h"

namespace mcp_responses {

/// The interpreter's error indicator is set.
class PythonError {};

/// Calls a function of the C API, which may run Python code. Takes over the new reference that it
/// returns, or returns its non-negative status. Throws `PythonError` for null or a negative status.
template <class Function, class... Arguments>
auto checked(Function function, Arguments... arguments) {
  const auto result = call_python([&] { return function(arguments...); });
  if constexpr (std::is_pointer_v<decltype(result)>) {
    if (result == nullptr) throw PythonError();
    return PyRef::steal(result);
  } else {
    if (result < 0) throw PythonError();
    return result;
  }
}

/// The next object of an iterator, or null after the last. Throws `PythonError`.
PyRef next_of(const PyRef& iterator);

/// Runs the handlers of pending signals, which may do anything. Throws `PythonError` if one raises.
inline void check_signals() { checked(PyErr_CheckSignals); }

// Loops whose length a caller controls count their work. The check of a native call runs the handlers of
// signals.
using detail::count_work;
using detail::element_work;

/// The types of values that have a JSON representation.
inline constexpr const char* json_types = "None, bool, int, float, str, list, tuple or dict";

/// Raises an error of this type, with a message formatted as by `PyErr_Format`.
[[noreturn]] void raise(PyObject* type, const char* format, ...);

/// Raises NameError for a missing global name, with the interpreter's message and `name` attribute.
[[noreturn]] void raise_name_error(PyObject* name);

/// Raises TypeError: "`path` must be `expected`, not ..." and the name of `actual`'s type.
[[noreturn]] void raise_wrong_type(const std::string& path, const std::string& expected,
                                   PyObject* actual);

/// Thrown for an object without a JSON representation: of an unsupported type, or an int beyond 64
/// bits. The catcher determines its path in the arguments.
class UnsupportedObject {
 public:
  enum class Role : bool { value, key };

  explicit UnsupportedObject(PyObject* object, Role role = Role::value) noexcept
      : object_(PyRef::borrow(object)), role_(role) {}
  PyObject* object() const noexcept { return object_.get(); }
  bool is_key() const noexcept { return role_ == Role::key; }

 private:
  PyRef object_;
  Role role_;
};

/// Raises TypeError, or OverflowError for an int. `path` is the object's path in the arguments, and
/// `expected` names the types that are allowed at this path.
[[noreturn]] void raise_unsupported(const UnsupportedObject& unsupported, const std::string& path,
                                    const std::string& expected = json_types);

/// Sets the interpreter's error from an exception.
void set_error_from(const std::exception_ptr& exception) noexcept;

/// Calls `body` and releases the PyRef that it returns. Any exception becomes the interpreter's
/// error, and the result null.
template <class Body>
PyObject* translate_exceptions(Body&& body) noexcept {
  std::exception_ptr exception;
  try {
    return call_python(std::forward<Body>(body)).release();
  } catch (...) {
    exception = std::current_exception();
  }
  set_error_from(exception);
  return nullptr;
}

}  // namespace mcp_responses
