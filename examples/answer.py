"""From the records of a service's storage to the text that a language model reads."""

from collections import namedtuple

from hollin import mcp_responses

Symbol = namedtuple("Symbol", "fqn name kind start_line signature docstring")
found = [
    Symbol("shop.cart.Cart", "Cart", "class", 3, None, "Lines to pay. Taxes are not included."),
    Symbol("shop.cart.Cart.total", "total", "method", 12, "def total(self) -> float", None),
]
rows = [mcp_responses.build_symbol_search_result(symbol, "shop/cart.py") for symbol in found]
page = mcp_responses.build_paginated_response(rows, total_count=57, offset=0, items_key="symbols")
print(mcp_responses.tool_result_text(page))
