// A record of the host's: any object with the attributes that a builder reads. Its class is never
// looked at.
#pragma once

#include <string>
#include <vector>

#include "cpython_layout.h"
#include "py_copy.h"
#include "py_errors.h"
#include "py_names.h"
#include "py_object.h"
#include "py_ref.h"
#include "records.h"

namespace mcp_responses {

/// The attributes that a call has copied or looked into. They are held until it ends, so that a
/// value in one of them that no answer can carry is found again for the error's text.
class ReadAttributes {
 public:
  /// Holds the attribute, which the record called `record` gave for `field`; borrowed.
  PyObject* hold(const char* record, Field field, PyRef attribute);

  /// Where the object stands in them: "symbol.docstring[0]". Empty when it does not.
  std::string place_of(PyObject* object) const;

 private:
  struct Attribute {
    const char* record;
    Field field;
    PyRef object;
  };
  std::vector<Attribute> attributes_;
};

/// See the concept `Record`. An attribute that cannot be read throws `PythonError`: AttributeError as
/// the interpreter raises it, or whatever the attribute's own code raises.
class PyRecord {
 public:
  /// `name` is what errors call it. Everything must outlive the record.
  PyRecord(const InternedStrings& names, AttributePlaces& places, PyObject* object,
           const char* name, ReadAttributes& read) noexcept
      : names_(names),
        places_(places),
        class_(places.class_of(object)),
        object_(object),
        name_(name),
        read_(read) {}

  [[gnu::always_inline]] PyRef pass_through(Field field) const {
    PyObject* const found = class_.find(object_, field);
    if (found != nullptr && is_shareable(found)) [[likely]]
      return PyRef::borrow(found);
    return pass_through_slow(field);
  }
  Value value(Field field) const;
  Value value_with_method(const char* attribute, Field field) const;
  PyRef summary(Field field) const;

 private:
  PyRef attribute(Field field) const {
    PyObject* const found = class_.find(object_, field);
    return found != nullptr ? PyRef::borrow(found) : attribute_slow(field);
  }
  PyRef pass_through_slow(Field field) const;
  PyRef attribute_slow(Field field) const;
  PyRef asked_of_host(PyObject* name) const;

  const InternedStrings& names_;
  AttributePlaces& places_;
  const AttributePlaces::Class& class_;
  PyObject* object_;
  const char* name_;
  ReadAttributes& read_;
};
static_assert(Record<PyRecord>);

}  // namespace mcp_responses
