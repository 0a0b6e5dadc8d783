"""The service's pagination rules. Every paginated answer passes through here on its way out."""

from __future__ import annotations

from typing import Any


def add_pagination_hint(response: dict[str, Any], item_count: int) -> dict[str, Any]:
    """Tell the reader of a truncated page how to ask for the next one; returns the response."""
    if response["truncated"]:
        response["hint"] = f"More rows follow: call again with offset={response['offset'] + item_count}."
    return response
