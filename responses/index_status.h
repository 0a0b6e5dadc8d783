// The response of the index-status tool: the service's state, the branch, the counters and the
// phase of indexing.
#pragma once

#include <utility>

#include "keys.h"
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

/// The members of `build_index_status_response`; what is only handed on may be of any kind.
template <class Passed>
auto index_status(Passed status, Passed health, Passed branch, Passed progress,
                  Passed files_indexed, Passed symbols_indexed, Passed last_updated,
                  Passed errors_count, Value phase, Value phase_detail) {
  return Shaped{
      "status"_key = std::move(status),
      "health"_key = std::move(health),
      "branch"_key = std::move(branch),
      "progress"_key = std::move(progress),
      "files_indexed"_key = std::move(files_indexed),
      "symbols_indexed"_key = std::move(symbols_indexed),
      "last_updated"_key = std::move(last_updated),
      "errors_count"_key = std::move(errors_count),
      "phase"_known = phase.truthy() ? std::move(phase) : Value(),
      "phase_detail"_known = phase_detail.truthy() ? std::move(phase_detail) : Value(),
  };
}

}  // namespace mcp_responses
