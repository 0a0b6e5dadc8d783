// The two shapes in which a single symbol is answered: the row of a search, and its full details.
#pragma once

#include "records.h"
#include "value.h"

namespace mcp_responses {

/// The row of a symbol that a search lists: "fqn", "name", "kind", "file", "line", "signature",
/// "summary", each only when it is not null. "line" is the symbol's `start_line`, 1-based. The
/// fields are read in the order of the keys.
Object build_symbol_search_result(const Record& symbol, Value file_path = {});

/// The whole symbol: "found" (true), "fqn", "name", "kind", "file", "start_line", "end_line",
/// "signature", "is_export", "docstring" and "docstring_truncated", nulls included, the docstring
/// uncut.
Object build_symbol_full_details(const Record& symbol, Value file_path = {});

/// The first sentence of the symbol's docstring, or null. Throws `KindError` when it is neither a
/// string nor null.
Value summary_of(const Record& symbol);

}  // namespace mcp_responses
