// The wrapper around every list that is answered a page at a time.
#pragma once

#include <cstdint>
#include <functional>

#include "value.h"

namespace mcp_responses {

/// The service's last word on a page: takes the finished response and the number of its rows,
/// answers what the caller is to get, which has a hint when the list is truncated.
using AddPaginationHint = std::function<Value(Object response, std::int64_t item_count)>;

/// {items_key: items, "total_count", "truncated", "has_more", "offset"}, handed to
/// `add_pagination_hint` on every page. Both flags tell whether rows remain past this page. An
/// `items_key` that is one of the other keys keeps its place and loses the rows. Throws `KindError`
/// when `items` is not a list, or `total_count` or `offset` not a number.
Value build_paginated_response(Value items, Value total_count, Value offset, const Text& items_key,
                               const AddPaginationHint& add_pagination_hint);

/// The same wrapper without rows and without a hint.
Object build_empty_paginated_response(const Text& items_key);

/// Whether `offset` plus `rows` is less than `total`, without wrapping. Throws `KindError` when one
/// is not a number.
bool rows_remain(const Value& offset, std::size_t rows, const Value& total,
                 std::string_view total_name);

/// The number of elements of a list, which is not opened for that. Throws `KindError`, naming
/// `where`, for anything else.
std::size_t row_count(const Value& list, std::string_view where);

}  // namespace mcp_responses
