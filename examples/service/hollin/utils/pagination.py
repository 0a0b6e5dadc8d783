"""The hint for the next page. The library calls it for every paginated answer."""

from __future__ import annotations

from typing import Any


def add_pagination_hint(response: dict[str, Any], item_count: int) -> dict[str, Any]:
    """Adds a hint for the next page to a truncated page; returns the response."""
    if response["truncated"]:
        response["hint"] = f"More rows follow: call again with offset={response['offset'] + item_count}."
    return response
