// The citation list of an ask answer: the first citations of each section, then those in `extra`,
// each place once, up to a limit.
#pragma once

#include <cstddef>

#include "value.h"

namespace mcp_responses {

/// The number of citations of each section that are considered.
inline constexpr std::size_t ASK_CITATIONS_PER_SECTION = 3;
/// The maximum length of the list.
inline constexpr std::size_t ASK_MAX_CITATIONS = 24;

/// The citations of these sections (objects, best first, with an optional list "citations"), then
/// those of `extra` (a list of citation objects), unchanged. Citations with equal "path",
/// "line_start" and "line_end" cite the same place, and only the first of them is listed. Numbers are
/// equal by value, a missing key equals null. Throws `KindError` for a value of the wrong kind.
List ask_citations(const List& sections, const List& extra);

}  // namespace mcp_responses
