#include "py_names.h"

#include "py_errors.h"

namespace mcp_responses {
namespace {

PyRef interned(const char* name) { return checked(PyUnicode_InternFromString(name)); }

}  // namespace

InternedStrings::InternedStrings() {
  for (std::size_t i = 0; i < fields_.size(); ++i) fields_[i] = interned(field_names[i]);
}

PyObject* InternedStrings::found(const StringLiteral& word) {
  PyRef& string = words_[&word];
  if (!string) string = interned(word.data);
  return string.get();
}

}  // namespace mcp_responses
