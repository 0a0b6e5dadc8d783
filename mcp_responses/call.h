// A call of a native function: its arguments in the order of the parameters, and the attributes that
// it has read so far and that are not shared leaves.
//
// A builder passes an argument through if the answer only contains it, and inspects it as a Value if
// the answer depends on its content. The same holds for the attributes of a record.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "detail/sinks.h"
#include "interned_strings.h"
#include "py_copy.h"
#include "py_dict.h"
#include "py_errors.h"
#include "py_record.h"
#include "py_ref.h"
#include "value.h"

namespace mcp_responses {

class Call;

/// The state of one module. Its objects are strings, and dicts of strings and None, so it is not part
/// of a reference cycle.
struct ModuleState {
  InternedStrings strings;
  AnswerConverter answers{strings};
  detail::TextBuffer scratch;  // for the text of `tool_result_text`
};

/// A parameter, and the types that it accepts and that the elements of its argument may have, for error
/// messages: "list, tuple or None".
struct Parameter {
  const char* name;
  const char* types;
  const char* element_types;
};

/// A native function. Its body reads the arguments from the call, calls one function of the library,
/// and returns the answer as a new reference.
struct NativeFunction {
  const char* name;  // of the Python function
  std::span<const Parameter> parameters;
  PyRef (*body)(Call& call);
};

class Call {
 public:
  /// `arguments` are borrowed from the caller, which holds them during the call. Throws `PythonError`
  /// unless there is one for each parameter.
  Call(const NativeFunction& function, std::span<PyObject* const> arguments, ModuleState& state);
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  /// The argument at a position, borrowed.
  PyObject* operator[](std::size_t position) const noexcept { return arguments_[position]; }
  const char* name(std::size_t position) const noexcept {
    return function_.parameters[position].name;
  }

  /// The argument, or a copy if it cannot be shared. Throws `UnsupportedObject` and `NestingError`.
  PyRef pass_through(std::size_t position) const {
    return mcp_responses::pass_through(PyRef::borrow(arguments_[position]));
  }
  /// The argument as a Value. Throws `UnsupportedObject`.
  Value value(std::size_t position) const;
  /// An argument that must be a str, an int, a list or a dict. Raises TypeError otherwise.
  Text text(std::size_t position) const;
  std::int64_t integer(std::size_t position) const;
  List list(std::size_t position) const;
  PyObject* dict(std::size_t position) const;
  /// An argument that must be a list or another sequence, which is read once, in order.
  List sequence(std::size_t position) const;
  /// Calls `visitor` with each element of an argument, in order. Raises TypeError unless it is iterable.
  void for_each_in(std::size_t position, const std::function<void(PyRef)>& visitor) const;
  /// The first argument as a record.
  PyRecord record() noexcept { return {state_.strings, arguments_[0], name(0), read_}; }

  /// The Python object of a builder's result.
  template <class Result>
  PyRef answer(Result&& result) {
    return state_.answers.to_python(std::forward<Result>(result));
  }

  detail::TextBuffer& scratch() noexcept { return state_.scratch; }

  /// The current value of a name in the namespace of the calling Python function. Raises NameError if
  /// it does not exist.
  PyRef global(const StringLiteral& name) const;

  /// Raises the error for an unsupported object, with its path from an argument or attribute:
  /// "items[3]['line']".
  [[noreturn]] void raise_unsupported(const UnsupportedObject& unsupported) const;
  /// Raises RecursionError, with the path of the container that contains itself or is nested too
  /// deeply.
  [[noreturn]] void raise_nesting_error() const;

 private:
  /// An argument or attribute of this call, and the types that it accepts, for error messages.
  struct Input {
    std::string name;
    PyObject* object;
    const char* types;
    const char* element_types;
  };
  /// The attributes, the last one that was read first, because a call fails at that one. Then the
  /// arguments.
  std::vector<Input> inputs() const;

  const NativeFunction& function_;
  std::span<PyObject* const> arguments_;
  ModuleState& state_;
  std::vector<ReadAttribute> read_;
};

}  // namespace mcp_responses
