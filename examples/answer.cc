// From records to the text that a language model reads.
#include <mcp_responses/mcp_responses.h>

#include <cstdint>
#include <iostream>
#include <string>

using namespace mcp_responses;  // NOLINT(google-build-using-namespace): this is a program

namespace {

/// Adds a hint about the next page if the list is truncated.
Value add_pagination_hint(Object page, std::int64_t item_count) {
  if (page.get("truncated"_key).truthy()) {
    const std::int64_t next = page.get("offset"_key).integer().value_or(0) + item_count;
    page.set("hint"_key,
             Value("More rows follow: call again with offset=" + std::to_string(next) + "."));
  }
  return page;
}

}  // namespace

int main() {
  const PlainRecord cart{{Field::fqn, Value("shop.cart.Cart")},
                         {Field::name, Value("Cart")},
                         {Field::kind, Value("class")},
                         {Field::start_line, 3},
                         {Field::signature, {}},
                         {Field::docstring, Value("Lines to pay. Taxes are not included.")}};
  const PlainRecord total{{Field::fqn, Value("shop.cart.Cart.total")},
                          {Field::name, Value("total")},
                          {Field::kind, Value("method")},
                          {Field::start_line, 12},
                          {Field::signature, Value("def total(self) -> float")},
                          {Field::docstring, {}}};
  const Value path("shop/cart.py");
  const List rows{build_symbol_search_result(cart, path), build_symbol_search_result(total, path)};
  const Value page = build_paginated_response(rows, 57, 0, "symbols"_key, add_pagination_hint);
  std::cout << tool_result_text(page).utf8() << '\n';
}
