// One text behind another, written into storage of the narrowest units that fit both.
#pragma once

#include "text.h"

namespace mcp_responses {

/// The exact repertoire of both, looked for only where a view's own may be larger than that.
Repertoire joined_repertoire(const TextView& first, const TextView& second) noexcept;

/// Writes the code points of both as units of the size that `repertoire` takes, which holds them
/// all.
void join(const TextView& first, const TextView& second, Repertoire repertoire, void* to) noexcept;

}  // namespace mcp_responses
