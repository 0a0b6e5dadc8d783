#include "pagination.h"

#include <limits>

#include "errors.h"
#include "static_object.h"

namespace mcp_responses {
namespace {

/// The number as a type that represents every 64-bit integer and every float exactly.
long double number(const Value& value, std::string_view name) {
  static_assert(std::numeric_limits<long double>::digits >= 64, "holds any 64-bit integer");
  if (const auto whole = value.whole()) return static_cast<long double>(*whole);
  const auto real = value.real();
  if (!real) throw KindError(name, {Kind::integer}, value.kind());
  return static_cast<long double>(*real);
}

}  // namespace

bool rows_remain(const Value& offset, std::size_t rows, const Value& total,
                 std::string_view total_name) {
  long double end = number(offset, "offset") + static_cast<long double>(rows);
  // Like Python, which converts the rows to a float and adds two floats.
  if (const auto real = offset.real())
    end = static_cast<long double>(*real + static_cast<double>(rows));
  return end < number(total, total_name);
}

std::size_t row_count(const Value& list, std::string_view name) {
  if (list.kind() != Kind::list) throw KindError(name, {Kind::list}, list.kind());
  return *list.size();
}

Value build_paginated_response(Value items, Value total_count, Value offset, const Text& items_key,
                               const AddPaginationHint& add_pagination_hint) {
  const std::size_t rows = row_count(items, "items");
  const bool has_more = rows_remain(offset, rows, total_count, "total_count");
  Object response;
  response.reserve(5);
  response.set(items_key, std::move(items));
  response.set("total_count"_key, std::move(total_count));
  response.set("truncated"_key, has_more);
  response.set("has_more"_key, has_more);
  response.set("offset"_key, std::move(offset));
  if (!add_pagination_hint) return response;
  return add_pagination_hint(std::move(response), static_cast<std::int64_t>(rows));
}

Object build_empty_paginated_response(const Text& items_key) {
  return {{items_key, List()},
          {"total_count"_key, 0},
          {"truncated"_key, false},
          {"has_more"_key, false},
          {"offset"_key, 0}};
}

}  // namespace mcp_responses
