// A record of the host's: any object with the attributes that a builder reads. Its class is never
// looked at.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host_copy.h"
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
  HostRef read(Field field) const {
    HostRef attribute = this->attribute(field);
    return is_plain_leaf(attribute.get()) ? std::move(attribute) : copied(attribute.get(), field);
  }
  /// The same, to be looked into, which has to happen in `answered`.
  Value value(Field field) const;
  /// The first sentence of the docstring in a field, or None.
  HostRef summary(Field field) const;

  /// Calls `answer`, which builds one of this record; its errors say where in the record a value is
  /// that cannot be part of it.
  template <class Answer>
  HostRef answered(Answer&& answer) const {
    LookedInto looked_into;
    looked_into_ = &looked_into;
    try {
      return std::forward<Answer>(answer)();
    } catch (const Refused& refused) {
      refuse_inside(looked_into, refused);
      throw;
    }
  }

 private:
  using LookedInto = std::vector<std::pair<Field, HostRef>>;  // lists and dicts

  HostRef attribute(Field field) const {
    PyObject* const name = state_.field_name(field);
    // PyObject_GetAttr is one step more to where the attributes of most objects are.
    const bool is_generic = Py_TYPE(object_)->tp_getattro == PyObject_GenericGetAttr;
    HostRef attribute = HostRef::steal(in_host([&] {
      return is_generic ? PyObject_GenericGetAttr(object_, name) : PyObject_GetAttr(object_, name);
    }));
    if (!attribute) fail(name, is_generic);
    return attribute;
  }
  [[noreturn]] void fail(PyObject* name, bool is_generic) const;
  HostRef copied(PyObject* attribute, Field field) const;
  Value opened(HostRef attribute, Field field) const;
  std::string place_in(Field field, PyObject* attribute, const Refused& refused) const;
  [[noreturn]] static void refuse(const Refused& refused, const std::string& place);
  void refuse_inside(const LookedInto& looked_into, const Refused& refused) const;

  const State& state_;
  PyObject* object_;
  const char* name_;
  mutable LookedInto* looked_into_ = nullptr;
};

}  // namespace mcp_responses
