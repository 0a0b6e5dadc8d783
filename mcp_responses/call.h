// One call of a function: its arguments in the order of the parameters, and what has been read of
// them so far.
//
// An argument is *handed on* when the answer only carries it, and *looked into* when the answer
// depends on what it holds; the same two words serve the attributes of a record.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "arguments.h"
#include "py_copy.h"
#include "py_errors.h"
#include "py_record.h"
#include "py_ref.h"
#include "state.h"
#include "value.h"

namespace mcp_responses {

class Call {
 public:
  /// `arguments` has one for each of the parameters, given or filled in; all are borrowed.
  Call(PyObject* module, State& state, std::span<const Parameter> parameters,
       PyObject* const* arguments) noexcept
      : module_(module), state_(state), parameters_(parameters), arguments_(arguments) {}
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  /// The argument at a position, borrowed.
  PyObject* operator[](std::size_t position) const noexcept { return arguments_[position]; }
  const char* name(std::size_t position) const noexcept { return parameters_[position].name; }

  /// The argument as an answer carries it: itself, or a copy. Throws `UnsupportedObject` and `NestingError`.
  PyRef pass_through(std::size_t position) const {
    return mcp_responses::pass_through(PyRef::borrow(arguments_[position]));
  }
  /// The argument as a value. Throws `UnsupportedObject`.
  Value value(std::size_t position) const;
  /// The argument, which must be a str, an int, a list or a dict: raises TypeError if it is not.
  Text text(std::size_t position) const;
  std::int64_t integer(std::size_t position) const;
  List list(std::size_t position) const;
  PyObject* dict(std::size_t position) const;
  /// The argument, a list or any other sequence, which is read once, front to back.
  List sequence(std::size_t position) const;
  /// Calls `visitor` with each element of an iterable argument, in order.
  template <class Visitor>
  void for_each_in(std::size_t position, Visitor visitor) const;
  /// The first argument, for its attributes to be read.
  PyRecord record() noexcept {
    return {state_.names, state_.places, arguments_[0], name(0), read_};
  }

  /// What a builder made, as the host object that is answered.
  template <class Made>
  PyRef answer(Made&& made) {
    return state_.dicts.of(std::forward<Made>(made));
  }

  /// Where texts are written: the module's, kept from call to call.
  TextBuffer& text_buffer() noexcept { return state_.text_buffer; }

  /// A name of the module's namespace as it is now. Raises NameError when it is not there.
  PyRef global(const StringLiteral& name) const;

  /// Where in what the call was given the refused object stands: "items[3]['line']". Meant for the
  /// moment when the call has failed already.
  std::string place_of(const UnsupportedObject& refused) const;

 private:
  PyObject* module_;
  State& state_;
  std::span<const Parameter> parameters_;
  PyObject* const* arguments_;
  ReadAttributes read_;
};

template <class Visitor>
void Call::for_each_in(std::size_t position, Visitor visitor) const {
  const PyRef iterator =
      checked(call_python([&] { return PyObject_GetIter(arguments_[position]); }));
  for (;;) {
    PyRef element = PyRef::steal(call_python([&] { return PyIter_Next(iterator.get()); }));
    if (!element) break;
    visitor(std::move(element));
    check_signals(1);
  }
  if (PyErr_Occurred() != nullptr) throw PythonError();
}

}  // namespace mcp_responses
