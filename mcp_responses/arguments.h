// Binds the arguments of a call to the parameters of a function. Wrong arguments raise the
// interpreter's own error, because then the interpreter binds them.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "py_ref.h"

namespace mcp_responses {

inline constexpr std::size_t max_parameters = 12;

/// The parameters of a function.
struct Parameters {
  /// The parameters of a function that is defined in Python. Requires at most `max_parameters`, each
  /// with an annotation, and a body that returns `locals()`. Throws `PythonError`.
  explicit Parameters(PyObject* declaration);

  std::size_t count() const noexcept {
    return static_cast<std::size_t>(PyTuple_GET_SIZE(names.get()));
  }
  /// Valid while this object lives.
  const char* name(std::size_t position) const noexcept {
    return PyUnicode_AsUTF8(PyTuple_GET_ITEM(names.get(), static_cast<Py_ssize_t>(position)));
  }

  PyRef code;              // of the declaration
  std::size_t positional;  // the number that may be given by position: the first ones
  PyRef names;             // a tuple of interned ASCII strings
  PyRef defaults;          // a tuple for the last positional parameters, or null
  PyRef keyword_defaults;  // a dict for the keyword-only parameters, or null
  /// The default of each parameter, borrowed from the tuple or dict. Null if it must be given.
  std::array<PyObject*, max_parameters> fallbacks{};
  std::array<std::string, max_parameters> annotations;
};

/// The types that an annotation accepts, for an error message: "list, tuple or None" for
/// "list[Any] | None".
std::string accepted_types(std::string_view annotation);

/// The arguments of a vectorcall.
struct CallArguments {
  PyObject* const* values;  // by position, then by name
  std::size_t by_position;
  PyObject* names;  // a tuple, or null
};

/// References to one argument for each parameter: the given one or the default. They are owned,
/// because `functools.partial` passes references to its own arguments, which may be replaced during
/// the call.
class BoundArguments {
 public:
  /// `globals` is the namespace of the module. Throws `PythonError` (TypeError) if the arguments do
  /// not fit.
  BoundArguments(const Parameters& parameters, const CallArguments& given, PyObject* globals);

  /// Borrowed.
  PyObject* operator[](std::size_t position) const noexcept { return values_[position].get(); }

 private:
  bool bind(const Parameters& parameters, const CallArguments& given) noexcept;
  void bind_in_python(const Parameters& parameters, const CallArguments& given, PyObject* globals);

  std::array<PyRef, max_parameters> values_;
};

}  // namespace mcp_responses
