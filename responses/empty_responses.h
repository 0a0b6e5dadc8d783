// The answer of each tool while no repository is initialised.
#pragma once

#include "text.h"
#include "value.h"

namespace mcp_responses {

/// The answers by tool name. Created at the first call.
const Object& EMPTY_TOOL_RESPONSES();

/// The answer of the tool with this name (case-sensitive). For any other name, {"error": "Repository
/// not initialized"}.
Object get_empty_response(const Text& tool_name);

}  // namespace mcp_responses
