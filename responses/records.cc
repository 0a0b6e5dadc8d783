#include "records.h"

#include <algorithm>

#include "errors.h"

namespace mcp_responses {

Value Record::made(const TextView& characters) {
  if (characters.size == 0) return {};
  return visit_units(characters, [](auto units) { return Text::copy_of(units); });
}

Value PlainRecord::read(Field field) const {
  const auto found = std::ranges::find(fields_, field, &std::pair<Field, Value>::first);
  if (found == fields_.end()) throw AttributeMissing("PlainRecord", field_name(field));
  return found->second;
}

}  // namespace mcp_responses
