// The response of the index-status tool: the service's state, the branch, the counters and the
// phase of indexing.
#pragma once

#include "value.h"

namespace mcp_responses {

/// {"status", "health", "branch", "progress", "files_indexed", "symbols_indexed", "last_updated",
/// "errors_count"}, nulls included, then "phase" and "phase_detail", each only when truthy. Nothing
/// is checked, mapped or clamped: `progress` is meant to be 0 to 100, `status` and `health` one of
/// a few words.
Object build_index_status_response(Value status, Value health, Value branch, Value progress,
                                   Value files_indexed = 0, Value symbols_indexed = 0,
                                   Value last_updated = {}, Value errors_count = 0,
                                   Value phase = {}, Value phase_detail = {});

}  // namespace mcp_responses
