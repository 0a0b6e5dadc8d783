#include "row_pruning.h"

#include "detail/work.h"

namespace mcp_responses {

Object without_nulls(const Object& row) {
  Object pruned;
  pruned.reserve(row.size());
  for (const Member& member : row) {
    detail::count_work(detail::element_work);
    if (!member.value.is_null()) pruned.add(member.key, member.value);
  }
  return pruned;
}

}  // namespace mcp_responses
