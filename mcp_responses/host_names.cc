#include "host_names.h"

#include "host_errors.h"

namespace mcp_responses {
namespace {

HostRef interned(const char* name) { return checked(PyUnicode_InternFromString(name)); }

}  // namespace

HostNames::HostNames() {
  for (std::size_t i = 0; i < fields_.size(); ++i) fields_[i] = interned(field_names[i]);
}

PyObject* HostNames::found(const Word& word) {
  HostRef& string = words_[&word];
  if (!string) string = interned(word.data);
  return string.get();
}

}  // namespace mcp_responses
