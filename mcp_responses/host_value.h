// Host objects as values. Leaves are shared: a string or an integer is used where it lies, its
// object kept alive, and goes back to the host as that very object. A container stands for itself
// until a builder looks into it, one level at a time. An instance of a subclass counts as its base
// type, whatever it overrides.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "host_ref.h"
#include "value.h"

namespace mcp_responses {

/// What a host object is to the library, by its type alone. `other` has no counterpart.
enum class HostKind : unsigned char {
  null,
  boolean,
  integer,
  real,
  string,
  list,
  tuple,
  dict,
  other
};
HostKind host_kind(PyObject* object) noexcept;

/// An object that no value can stand for: of another type, or an integer beyond 64 bits.
class Refused {
 public:
  explicit Refused(PyObject* object) noexcept : object_(HostRef::borrow(object)) {}
  PyObject* object() const noexcept { return object_.get(); }

 private:
  HostRef object_;
};

/// Sets the interpreter's error: TypeError, or OverflowError for an integer; `where` says which
/// part of what it is.
void raise_refused(const Refused& refused, const std::string& where);

/// Containers stand deeper inside each other than the host allows. The host's RecursionError.
class NestingError : public std::runtime_error {
 public:
  NestingError()
      : std::runtime_error(
            "maximum nesting depth exceeded: a list or dict that deep, or one in itself") {}
};

/// How deep containers may stand inside each other: the host's own recursion limit, but at least
/// 400 and at most 1000, whatever the limit is set to.
std::size_t most_nesting() noexcept;

/// A value that stands for the object. Throws `Refused`.
Value to_value(PyObject* object);

/// The 64-bit content of an int, or of a subclass. Throws `Refused` beyond that.
long long integer_in(PyObject* object);

/// The characters of a str, or of a subclass, where they lie.
TextView view_of(PyObject* string) noexcept;

/// A text held by a str: the str itself when it is exactly one, else a copy of its base type.
Text text_of(PyObject* string);

/// The object that a text or value of this module's holders stands for (borrowed); null for one
/// that C++ made.
PyObject* held_object(const Handle& handle) noexcept;

/// A str with the text's characters: the very one that it came from when there is one.
HostRef to_host_string(const Text& text);

}  // namespace mcp_responses
