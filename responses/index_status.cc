#include "index_status.h"

#include "keys.h"

namespace mcp_responses {

Object build_index_status_response(Value status, Value health, Value branch, Value progress,
                                   Value files_indexed, Value symbols_indexed, Value last_updated,
                                   Value errors_count, Value phase, Value phase_detail) {
  Object response = Shaped{
      "status"_key = std::move(status),
      "health"_key = std::move(health),
      "branch"_key = std::move(branch),
      "progress"_key = std::move(progress),
      "files_indexed"_key = std::move(files_indexed),
      "symbols_indexed"_key = std::move(symbols_indexed),
      "last_updated"_key = std::move(last_updated),
      "errors_count"_key = std::move(errors_count),
  };
  if (phase.truthy()) response.add("phase"_key, std::move(phase));
  if (phase_detail.truthy()) response.add("phase_detail"_key, std::move(phase_detail));
  return response;
}

}  // namespace mcp_responses
