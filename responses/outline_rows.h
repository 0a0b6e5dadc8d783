// The outline of one source file: the module that its symbols share, said once, and a row a symbol.
#pragma once

#include <span>

#include "records.h"
#include "text.h"
#include "value.h"

namespace mcp_responses {

/// The longest dotted prefix that the fqns share, each counted without its last part:
/// "shop.cart.Cart" and "shop.cart.Cart.total" share "shop.cart". Parts are compared whole. Empty
/// when nothing is shared.
Text outline_module(std::span<const Text> fqns);

/// The row of a symbol: "name" (its fqn without `module` and the dot in front), "kind", "line",
/// "end_line" (only when it differs from the start line), "signature" and "summary", each only when
/// not null. A falsy `module` strips nothing. Throws `AttributeMissing` when there is a module to
/// strip and the fqn is not a string.
Object build_file_symbol(const Record& symbol, const Value& module = Text());

}  // namespace mcp_responses
