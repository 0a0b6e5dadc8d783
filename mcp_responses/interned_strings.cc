#include "interned_strings.h"

#include "py_errors.h"

namespace mcp_responses {

InternedStrings::InternedStrings() {
  for (std::size_t i = 0; i < fields_.size(); ++i)
    fields_[i] = checked(PyUnicode_InternFromString, field_names[i]);
}

PyObject* InternedStrings::of(const StringLiteral& literal) {
  const auto found = literals_.find(&literal);
  if (found != literals_.end()) return found->second.get();
  PyRef string = checked(PyUnicode_InternFromString, literal.data);
  return literals_.try_emplace(&literal, std::move(string)).first->second.get();
}

}  // namespace mcp_responses
