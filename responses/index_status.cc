#include "index_status.h"

namespace mcp_responses {

Object build_index_status_response(IndexStatus status) { return index_status(std::move(status)); }

}  // namespace mcp_responses
