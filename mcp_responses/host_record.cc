#include "host_record.h"

#include <string>
#include <utility>

#include "host_value.h"

namespace mcp_responses {

Value HostRecord::read(Field field) const {
  PyObject* const name = state_.field_name(field);
  HostRef attribute = checked(in_host([&] { return PyObject_GetAttr(object_, name); }));
  try {
    return to_value(std::move(attribute));
  } catch (const Refused& refused) {
    raise_refused(refused, std::string(name_) + "." + field_names[static_cast<std::size_t>(field)]);
    throw HostError();
  }
}

}  // namespace mcp_responses
