// The module's functions as one table: their parameters, what they are declared to take and give,
// and what they say of themselves. A further function is one more row, and its target.
#pragma once

#include <array>

#include "signature.h"

namespace mcp_responses {

/// In the order in which the module defines them.
extern const std::array<Signature, 24> functions;

/// Functions before this position are defined before the settings of the ask answer, those from it
/// on behind them; the last one after the table of empty answers.
inline constexpr std::size_t first_ask_function = 19;

}  // namespace mcp_responses
