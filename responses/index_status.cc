#include "index_status.h"

namespace mcp_responses {

Object build_index_status_response(Value status, Value health, Value branch, Value progress,
                                   Value files_indexed, Value symbols_indexed, Value last_updated,
                                   Value errors_count, Value phase, Value phase_detail) {
  return index_status(std::move(status), std::move(health), std::move(branch), std::move(progress),
                      std::move(files_indexed), std::move(symbols_indexed), std::move(last_updated),
                      std::move(errors_count), std::move(phase), std::move(phase_detail));
}

}  // namespace mcp_responses
