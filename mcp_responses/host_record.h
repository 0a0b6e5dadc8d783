// A record of the host's: any object with the attributes that a builder reads. Its class is never
// looked at.
#pragma once

#include "host_ref.h"
#include "host_value.h"
#include "records.h"
#include "state.h"

namespace mcp_responses {

class HostRecord {
 public:
  /// `name` is what errors call it. Everything must outlive the record.
  HostRecord(const State& state, PyObject* object, const char* name) noexcept
      : state_(state), object_(object), name_(name) {}

  /// The attribute of the field's name, as an answer takes it. Throws `HostError`: AttributeError
  /// as the host raises it, or whatever the attribute's own code raises.
  HostRef read(Field field) const;
  /// The same, to be looked into.
  Value value(Field field) const;
  static HostRef made(const TextView& characters) { return to_host_string_or_none(characters); }

 private:
  HostRef attribute(Field field) const;
  [[noreturn]] void refuse(const Refused& refused, Field field, PyObject* attribute) const;

  const State& state_;
  PyObject* object_;
  const char* name_;
};

}  // namespace mcp_responses
