"""From the records of a service's storage to the text that a language model reads."""

from dataclasses import dataclass

from hollin import mcp_responses


@dataclass
class Symbol:
    fqn: str
    name: str
    kind: str
    start_line: int
    end_line: int | None = None
    signature: str | None = None
    docstring: str | None = None
    is_export: bool = False
    docstring_truncated: bool = False


found = [
    Symbol("shop.cart.Cart", "Cart", "class", 3, docstring="Lines to pay. Taxes are not included."),
    Symbol("shop.cart.Cart.total", "total", "method", 12, signature="def total(self) -> float"),
]
rows = [mcp_responses.build_symbol_search_result(symbol, "shop/cart.py") for symbol in found]
page = mcp_responses.build_paginated_response(rows, total_count=57, offset=0, items_key="symbols")
print(mcp_responses.tool_result_text(page))
