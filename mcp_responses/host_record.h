// A record of the host's: any object with the attributes that a builder reads. Its class is never
// looked at.
#pragma once

#include <string>
#include <vector>

#include "host_copy.h"
#include "host_errors.h"
#include "host_layout.h"
#include "host_names.h"
#include "host_object.h"
#include "host_ref.h"
#include "records.h"

namespace mcp_responses {

/// The attributes that a call has copied or looked into. They are held until it ends, so that a
/// value in one of them that no answer can carry is found again for the error's text.
class ReadAttributes {
 public:
  /// Holds the attribute, which the record called `record` gave for `field`; borrowed.
  PyObject* hold(const char* record, Field field, HostRef attribute);

  /// Where the object stands in them: "symbol.docstring[0]". Empty when it does not.
  std::string place_of(PyObject* object) const;

 private:
  struct Attribute {
    const char* record;
    Field field;
    HostRef object;
  };
  std::vector<Attribute> attributes_;
};

/// See the concept `Record`. An attribute that cannot be read throws `HostError`: AttributeError as
/// the interpreter raises it, or whatever the attribute's own code raises.
class HostRecord {
 public:
  /// `name` is what errors call it. Everything must outlive the record.
  HostRecord(const HostNames& names, AttributePlaces& places, PyObject* object, const char* name,
             ReadAttributes& read) noexcept
      : names_(names),
        places_(places),
        class_(places.class_of(object)),
        object_(object),
        name_(name),
        read_(read) {}

  [[gnu::always_inline]] HostRef handed_on(Field field) const {
    PyObject* const found = class_.find(object_, field);
    if (found != nullptr && is_shareable(found)) [[likely]]
      return HostRef::borrow(found);
    return handed_on_otherwise(field);
  }
  Value looked_into(Field field) const;
  Value asked_for(const char* attribute, Field field) const;
  HostRef summary(Field field) const;

 private:
  HostRef attribute(Field field) const {
    PyObject* const found = class_.find(object_, field);
    return found != nullptr ? HostRef::borrow(found) : attribute_otherwise(field);
  }
  HostRef handed_on_otherwise(Field field) const;
  HostRef attribute_otherwise(Field field) const;
  HostRef asked_of_host(PyObject* name) const;

  const HostNames& names_;
  AttributePlaces& places_;
  const AttributePlaces::Class& class_;
  PyObject* object_;
  const char* name_;
  ReadAttributes& read_;
};
static_assert(Record<HostRecord>);

}  // namespace mcp_responses
