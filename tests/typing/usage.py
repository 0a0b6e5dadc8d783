"""Code of a service for mypy --strict, which must accept it, and report an error in each marked line."""

from collections import OrderedDict
from collections.abc import Mapping
from dataclasses import dataclass
from pathlib import Path
from types import SimpleNamespace
from typing import TYPE_CHECKING, Any, TypedDict

from hollin import mcp_responses
from hollin.index import ComponentInfo, Reference
from hollin.source_file import Symbol
from hollin.utils.pagination import add_pagination_hint

if TYPE_CHECKING:
    from hollin.mcp_responses import _SymbolSearchResultRecord


@dataclass(frozen=True)
class FrozenReference:
    file_path: str
    line: int
    caller_symbol: dict[str, str]
    usage_type: None = None


class Citation(TypedDict):
    path: str
    line_start: int


@dataclass
class Endpoint:
    """Only the attributes that the row of an API endpoint needs."""

    fqn: str
    name: str
    kind: str
    start_line: int
    signature: str | None = None


def search(symbols: "list[_SymbolSearchResultRecord]", paths: dict[str, str]) -> str:
    rows = [mcp_responses.build_symbol_search_result(symbol, paths.get(symbol.fqn)) for symbol in symbols]
    return mcp_responses.tool_result_text(mcp_responses.build_paginated_response(rows, 9, 0, items_key="symbols"))


def outline(symbols: list[Symbol]) -> list[dict[str, Any]]:
    module = mcp_responses.outline_module(symbol.fqn for symbol in symbols)
    return [mcp_responses.build_file_symbol(symbol, module) for symbol in symbols]


def references(root: Path, found: list[Reference | FrozenReference]) -> list[dict[str, Any]]:
    code = mcp_responses.code_lines(root, [("a.py", one.line) for one in found if one.line is not None])
    return [mcp_responses.build_reference(one, code.get(("a.py", 1))) for one in found]


def other_kinds(citations: list[Citation], rows: list[OrderedDict[str, int]], code: Mapping[str, Any]) -> None:
    mcp_responses.build_wiki_read_response(page_id="p", title="t", content="", citations=citations)
    mcp_responses.build_wiki_list_response(tuple(rows), len(rows))
    mcp_responses.build_paginated_response(tuple(rows), len(rows), 0)
    ask = mcp_responses.build_wiki_ask_response
    size: int = mcp_responses._encoded_size(ask(mode="m", query="q", answer=None, sections=[{}, {"title": "t"}]))
    ask(mode="m", query="q", answer="a", sections=[dict(code)], code={}, token_budget=size, tokens={"prompt": 1})
    mcp_responses.without_nulls(code)  # type: ignore[arg-type]  # a Mapping need not be a dict


mcp_responses.add_pagination_hint = add_pagination_hint
mcp_responses.logger.info(mcp_responses._cut("none", 2))
mcp_responses.build_api_endpoint(Endpoint("shop.pay", "pay", "function", 9))
mcp_responses.build_symbol_full_details(Endpoint("shop.pay", "pay", "function", 9))  # type: ignore[arg-type]
mcp_responses.build_component(SimpleNamespace(name="core"))
mcp_responses.build_component(ComponentInfo("core", None, "core/**", 1, 2))
mcp_responses.code_lines("/srv/repo", [])
search(list[Symbol](), {})  # type: ignore[arg-type]  # list is invariant
mcp_responses.build_index_status_response("asleep", "healthy", None, 0)  # type: ignore[arg-type]
mcp_responses.build_paginated_response([], 0, 0, "rows")  # type: ignore[misc]
mcp_responses.build_wiki_ask_response(mode="m", query="q", sections=[])  # type: ignore[call-arg]
mcp_responses.code_lines(b"/srv/repo", [])  # type: ignore[arg-type]
mcp_responses.first_sentence(None).upper()  # type: ignore[union-attr]
mcp_responses.tool_result_text({}) + 1  # type: ignore[operator]
mcp_responses.get_empty_response("wiki") + mcp_responses.no_such_name  # type: ignore[attr-defined]
add_pagination_hint({})  # type: ignore[call-arg]
