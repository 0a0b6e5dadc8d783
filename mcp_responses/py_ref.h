// References to host objects: two types, two verbs.
//
// A PyRef owns one reference. It is made by `steal` (takes over a reference that somebody gives
// away, such as a new one) or `borrow` (adds one of its own), and given away by `release`. A raw
// PyObject* is always borrowed.
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>
#include <cxxabi.h>
#include <unistd.h>

#include <utility>

namespace mcp_responses {

/// Runs `body`, which runs host code or takes the interpreter's lock. A thread that does so while
/// the interpreter shuts down is ended by it, by unwinding its stack; the destructors on the way
/// would then touch host objects without the lock. Such a thread is stopped here instead, for the
/// moment that the process still lives.
///
/// The unwinding throws no object, so the reference that catches it is null: nothing for a
/// sanitizer to report.
template <class Body>
__attribute__((no_sanitize("undefined"))) auto call_python(Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (const abi::__forced_unwind&) {
    for (;;) ::pause();
  }
}

/// Gives up a reference. Only the last one can run host code, a finalizer, and only that one pays
/// for it.
inline void give_up(PyObject* object) noexcept {
  if (object == nullptr) return;
  if (Py_REFCNT(object) > 1) {
    Py_DECREF(object);
  } else {
    call_python([object] { Py_DECREF(object); });
  }
}

class PyRef {
 public:
  PyRef() noexcept = default;
  static PyRef steal(PyObject* object) noexcept { return PyRef(object); }
  static PyRef borrow(PyObject* object) noexcept {
    Py_XINCREF(object);
    return PyRef(object);
  }
  PyRef(PyRef&& other) noexcept : object_(other.release()) {}
  PyRef& operator=(PyRef&& other) noexcept {
    // The old object goes last: its finalizer may look at this very reference.
    give_up(std::exchange(object_, other.release()));
    return *this;
  }
  ~PyRef() { give_up(object_); }

  /// Borrowed; valid while this reference lives.
  PyObject* get() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }
  [[nodiscard]] PyObject* release() noexcept { return std::exchange(object_, nullptr); }

 private:
  explicit PyRef(PyObject* object) noexcept : object_(object) {}
  PyObject* object_ = nullptr;
};

}  // namespace mcp_responses
