// A record of the host's: any object with the attributes that a builder reads. Its class is never
// looked at.
#pragma once

#include "host_ref.h"
#include "records.h"
#include "state.h"

namespace mcp_responses {

class HostRecord : public Record {
 public:
  /// `name` is what errors call it. Everything must outlive the record.
  HostRecord(const State& state, PyObject* object, const char* name) noexcept
      : state_(state), object_(object), name_(name) {}

  /// The attribute of the field's name. Throws `HostError`: AttributeError as the host raises it,
  /// or whatever the attribute's own code raises.
  Value read(Field field) const override;

 private:
  const State& state_;
  PyObject* object_;
  const char* name_;
};

}  // namespace mcp_responses
