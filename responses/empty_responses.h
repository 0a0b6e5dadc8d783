// What every tool answers while no repository is initialised.
#pragma once

#include "text.h"
#include "value.h"

namespace mcp_responses {

/// The answer of each tool, by tool name; made on first use, the same for the life of the program.
const Object& EMPTY_TOOL_RESPONSES();

/// The answer of the tool of this name (exact, case-sensitive), or {"error": "Repository not
/// initialized"}.
Object get_empty_response(const Text& tool_name);

}  // namespace mcp_responses
