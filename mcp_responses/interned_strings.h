// Interned Python strings for the names that calls need: fields, keys and globals.
#pragma once

#include <array>
#include <unordered_map>

#include "py_ref.h"
#include "records.h"
#include "text.h"

namespace mcp_responses {

class InternedStrings {
 public:
  /// Creates the names of all fields. Throws `PythonError`.
  InternedStrings();

  /// The str of a field's name. Borrowed; valid while this object lives.
  PyObject* of(Field field) const noexcept {
    return fields_[static_cast<std::size_t>(field)].get();
  }
  /// The str of a literal, created when it is first needed. Borrowed; valid while this object lives.
  /// Throws `PythonError`.
  PyObject* of(const StringLiteral& literal);

 private:
  std::array<PyRef, field_names.size()> fields_;
  std::unordered_map<const StringLiteral*, PyRef> literals_;  // by address: each exists once
};

}  // namespace mcp_responses
