// A record that is a Python object: any object with the attributes that a builder reads.
#pragma once

#include <initializer_list>
#include <vector>

#include "interned_strings.h"
#include "py_errors.h"
#include "py_object.h"
#include "py_ref.h"
#include "records.h"

namespace mcp_responses {

/// An attribute that a call has copied or inspected, and that is not a shared leaf. It is kept until the
/// call ends, so that the path of an unsupported object in it can be determined for the error message.
struct ReadAttribute {
  const char* record;  // the record's name
  Field field;
  PyRef object;
};

/// See the concept `Record`. All errors are `PythonError`s: AttributeError for a missing attribute or, of
/// `value_of_kind`, for another kind; TypeError of `summary`; and any error that the attribute's own code
/// raises.
class PyRecord {
 public:
  /// `name` is the record's name in error messages. All arguments must outlive the record.
  PyRecord(const InternedStrings& strings, PyObject* object, const char* name,
           std::vector<ReadAttribute>& read) noexcept
      : strings_(strings), object_(object), name_(name), read_(read) {}

  PyRef pass_through(Field field) const;
  Value value(Field field) const;
  Value value_of_kind(Field field, std::initializer_list<Kind> kinds) const;
  PyRef summary(Field field) const;

 private:
  PyRef attribute(Field field) const {
    return checked(PyObject_GetAttr, object_, strings_.of(field));
  }
  /// Keeps the attribute, and returns another reference to it.
  PyRef keep(Field field, PyRef attribute) const;
  /// The attribute as a Value. Keeps it unless it is a shared leaf.
  Value kept_value(Field field, PyRef attribute) const;

  const InternedStrings& strings_;
  PyObject* object_;
  const char* name_;
  std::vector<ReadAttribute>& read_;
};
static_assert(Record<PyRecord>);

}  // namespace mcp_responses
