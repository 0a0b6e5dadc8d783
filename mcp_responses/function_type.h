// The type of this module's functions. Where it matters to a Python programmer they are like
// functions defined with `def`: signature, annotations, defaults, documentation, binding as a
// method, pickling and copying by name.
#pragma once

#include "host_ref.h"
#include "signature.h"
#include "text.h"

namespace mcp_responses {

class State;

/// One call of a function: its arguments in the order of the parameters, all given or filled in,
/// all borrowed.
class Call {
 public:
  Call(PyObject* module, State& state, const Signature& signature,
       PyObject* const* arguments) noexcept
      : module_(module), state_(state), signature_(signature), arguments_(arguments) {}

  PyObject* operator[](std::size_t position) const noexcept { return arguments_[position]; }
  const char* name(std::size_t position) const noexcept {
    return signature_.parameters[position].name;
  }
  State& state() const noexcept { return state_; }

  /// A name of the module's namespace as it is now. Throws `HostError` (NameError) when it is not
  /// there.
  HostRef global(const Word& name) const;

 private:
  PyObject* module_;
  State& state_;
  const Signature& signature_;
  PyObject* const* arguments_;
};

/// The type, made for one module object. Throws `HostError`.
HostRef make_function_type(PyObject* module);

/// A function of that type. Requires that the module keeps a `State*` and the signature lives as
/// long as the program.
HostRef make_function(PyObject* type, PyObject* module, const Signature& signature);

/// The state that a module object keeps; null before it is loaded.
State* state_of(PyObject* module) noexcept;

}  // namespace mcp_responses
