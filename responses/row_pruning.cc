#include "row_pruning.h"

namespace mcp_responses {

Object without_nulls(const Object& row) {
  Object pruned;
  pruned.reserve(row.size());
  for (const Member& member : row) {
    if (!member.value.is_null()) pruned.add(member.key, member.value);
  }
  return pruned;
}

}  // namespace mcp_responses
