// References to Python objects: owned (PyRef) and borrowed (PyObject*).
//
// A PyRef owns one reference. `steal` takes over a reference that already exists, such as a new one;
// `borrow` adds one; `release` gives it away. A raw PyObject* is always borrowed.
#pragma once

#define PY_SSIZE_T_CLEAN
#include <Python.h>
#include <cxxabi.h>
#include <unistd.h>

#include <utility>

#ifndef __GLIBCXX__
#error "The extension needs libstdc++: only its <cxxabi.h> has the exception of a forced unwinding"
#endif

namespace mcp_responses {

/// Returns `body()`. Every call that may run Python code or take the GIL goes through this function;
/// each allocation of a container is one, because it may start a garbage collection.
///
/// A thread that takes the GIL while the interpreter shuts down is ended by pthread_exit, which
/// unwinds its stack. Destructors would then release Python objects without the GIL. So the thread
/// is stopped here instead, until the process exits.
///
/// A forced unwinding does not have an exception object: `catch` binds a null reference, which
/// UBSan would report.
template <class Body>
__attribute__((no_sanitize("undefined"))) auto call_python(Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (const abi::__forced_unwind&) {
    for (;;) ::pause();
  }
}

/// `Py_XDECREF`. Only the last reference can run a finalizer, so only that one needs the guard.
inline void decref(PyObject* object) noexcept {
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
    // The old object is released last: its finalizer may use this reference.
    decref(std::exchange(object_, other.release()));
    return *this;
  }
  ~PyRef() { decref(object_); }

  /// Borrowed; valid while this reference lives.
  PyObject* get() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }
  [[nodiscard]] PyObject* release() noexcept { return std::exchange(object_, nullptr); }

 private:
  explicit PyRef(PyObject* object) noexcept : object_(object) {}
  PyObject* object_ = nullptr;
};

}  // namespace mcp_responses
