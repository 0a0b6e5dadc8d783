// The response with one page of a list.
#pragma once

#include <cstdint>
#include <functional>

#include "value.h"

namespace mcp_responses {

/// A function of the service, which adds a hint to a truncated page. It gets the finished response and
/// the number of rows, and returns the answer.
using AddPaginationHint = std::function<Value(Object response, std::int64_t item_count)>;

/// The result of `add_pagination_hint` for {items_key: items, "total_count", "truncated", "has_more",
/// "offset"}. Both flags are true if rows remain after this page. If `items_key` is one of the other
/// keys, that key comes first, with its other value, and the rows are lost. Throws `KindError` if `items`
/// is not a list, or `total_count` or `offset` not a number. Without `add_pagination_hint`, the response is
/// the answer.
Value build_paginated_response(Value items, Value total_count, Value offset, const Text& items_key,
                               const AddPaginationHint& add_pagination_hint = {});

/// The same without rows and without a hint.
Object build_empty_paginated_response(const Text& items_key);

/// True if `offset` plus `rows` is less than `total`; the sum does not overflow. Throws `KindError` if
/// one is not a number. `total_name` is the name of `total` in the message.
bool rows_remain(const Value& offset, std::size_t rows, const Value& total,
                 std::string_view total_name);

/// The length of a list, which is not converted. Throws `KindError` for any other kind; `name` is the
/// name of the argument in the message.
std::size_t row_count(const Value& list, std::string_view name);

}  // namespace mcp_responses
