#include "row_pruning.h"

namespace mcp_responses {

Object without_nulls(const Object& row) {
  Object known;
  known.reserve(row.size());
  for (const Member& member : row) {
    if (!member.value.is_null()) known.add(member.key, member.value);
  }
  return known;
}

}  // namespace mcp_responses
