// A record that is a Python object: any object with the attributes that a builder reads.
#pragma once

#include <string>
#include <vector>

#include "argument_path.h"
#include "interned_strings.h"
#include "py_errors.h"
#include "py_object.h"
#include "py_ref.h"
#include "records.h"

namespace mcp_responses {

/// The attributes that a call has copied or inspected. They are kept until it ends, so that the path
/// of an unsupported object in one of them can be determined for the error message.
class ReadAttributes {
 public:
  /// Keeps an attribute of the record that is called `record`. Returns it, borrowed.
  PyObject* keep(const char* record, Field field, PyRef attribute);

  /// The path to the object from one of them: "symbol.docstring[0]".
  ArgumentPath path_to(PyObject* object) const;
  /// The same as `nesting_problem` of argument_path.h, for these attributes.
  std::string nesting_problem(std::size_t max_levels) const;

 private:
  struct Attribute {
    const char* record;
    Field field;
    PyRef object;
  };
  /// The first result of `find(attribute, name)` that is not empty.
  template <class Find>
  auto first_found(Find find) const;

  std::vector<Attribute> attributes_;
};

/// See the concept `Record`. If an attribute cannot be read, throws `PythonError`: the interpreter's
/// AttributeError, or any error that the attribute's own code raises.
class PyRecord {
 public:
  /// `name` is the record's name in error messages. All arguments must outlive the record.
  PyRecord(const InternedStrings& strings, PyObject* object, const char* name,
           ReadAttributes& read) noexcept
      : strings_(strings), object_(object), name_(name), read_(read) {}

  PyRef pass_through(Field field) const;
  Value value(Field field) const;
  Value value_of_kind(Field field, std::initializer_list<Kind> kinds) const;
  PyRef summary(Field field) const;

 private:
  PyRef attribute(Field field) const {
    return checked(PyObject_GetAttr, object_, strings_.of(field));
  }

  const InternedStrings& strings_;
  PyObject* object_;
  const char* name_;
  ReadAttributes& read_;
};
static_assert(Record<PyRecord>);

}  // namespace mcp_responses
