"""The tools as clients see them: descriptions, arguments, and the shapes of the answers as JSON Schema."""

from __future__ import annotations

import json
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from hollin import mcp_responses, tools
from hollin.arguments import Schema, choice, integer, object_schema, paging, string
from hollin.index import Index

_SCHEMAS = Path(mcp_responses.__file__).with_name("mcp_responses_schemas")
_PATH_KEYS = {"file", "path", "page_id", "test_file", "source_file"}


def _paths(answer: Any) -> Iterator[str]:
    """The paths of the files that an answer cites."""
    for key, value in answer.items():
        if key in _PATH_KEYS and value:
            yield value
        for each in value if isinstance(value, list) else [value]:
            if isinstance(each, dict):
                yield from _paths(each)


@dataclass(frozen=True)
class Tool:
    title: str
    description: str
    handler: Callable[..., tools.Answer]
    arguments: Schema
    shapes: list[Schema]

    def answer(self, index: Index, arguments: dict[str, Any]) -> tools.Answer:
        """Indexes changed files again if the answer cites them. Requires checked arguments."""
        for _ in range(5):  # a limit for files that change all the time
            answer = self.handler(index, **arguments)
            if index.progress or not index.refresh({*_paths(answer)}):
                break
        return answer


def _library_schema(name: str) -> Schema:
    """A schema of the library, without the members that are not allowed inside another schema."""
    schema = json.loads((_SCHEMAS / f"{name}.json").read_text(encoding="utf-8"))
    return {key: part for key, part in schema.items() if key not in ("$schema", "$id")}


def _page(key: str, row: Schema, **more: Schema) -> Schema:
    page = _library_schema("paginated_page")
    rows = {"type": "array", "items": row}
    return object_schema(*more, key, *page["required"], **more, **{key: rows}, **page["properties"])


def output_schema(name: str) -> Schema:
    """An object of one of the tool's shapes, or its fixed answer before a repository is initialised."""
    return {"type": "object", "anyOf": [*TOOLS[name].shapes, _library_schema("empty_answers")["$defs"][name]]}


_STRING = {"type": "string"}
_NOT_FOUND = _library_schema("symbol_not_found")
_PATH_FILTER = string("Only paths that contain this text, such as shop/")

TOOLS = {
    "status": Tool(
        "State of the index",
        "Call it when another tool answers that the index is being built, or to see how much is indexed. Returns the "
        "progress in percent and the numbers of files, symbols and files that could not be read. Example: {}",
        tools.status,
        object_schema(),
        [_library_schema("index_status")],
    ),
    "search": Tool(
        "Search symbols",
        "Call it first, to find functions and classes by a part of their name. Returns a page of symbols whose fully "
        "qualified name (fqn) contains every word, ignoring case, the exact name first. Lines are counted from 1. "
        'Continue with symbol and the fqn. Example: {"query": "cart total", "limit": 5}',
        tools.search,
        object_schema("query", query=string("Words or parts of names, separated by spaces"), **paging()),
        [_page("symbols", _library_schema("symbol_search_row"))],
    ),
    "symbol": Tool(
        "Details and references of a symbol",
        "Call it with an fqn from search. detail returns signature, docstring and lines; references returns a page of "
        "its calls, each with its line of code. A call is listed only if definitions, imports or self determine its "
        "function: cart.total() is not listed if cart is a variable. For an unknown fqn it returns the nearest ones. "
        'Continue with file. Example: {"fqn": "shop.cart.pay", "action": "references"}',
        tools.symbol,
        object_schema(
            "fqn",
            fqn=string("Fully qualified name from search"),
            action=choice("What to return", "detail", "references", default="detail"),
            **paging(),
        ),
        [_library_schema("symbol_details"), _page("references", _library_schema("reference_row")), _NOT_FOUND],
    ),
    "file": Tool(
        "Outline of a file",
        "Call it to see the structure of a file without reading it. Returns a page of its symbols in the order of "
        "their lines, named relative to module. For an unknown path it returns the nearest ones. Continue with symbol "
        'and module.name as fqn. Example: {"path": "shop/cart.py"}',
        tools.file,
        object_schema("path", path=string("Path relative to the root, as in other answers"), **paging(100)),
        [_page("symbols", _library_schema("file_outline_row"), file=_STRING, module=_STRING), _NOT_FOUND],
    ),
    "files": Tool(
        "List of files",
        "Call it to find files by path. Returns a page of the indexed Python files with their number of symbols. "
        'Continue with file. Example: {"path": "shop/", "limit": 50}',
        tools.files,
        object_schema(path=_PATH_FILTER, **paging()),
        [_page("files", object_schema("path", "symbols", path=_STRING, symbols={"type": "integer"}))],
    ),
    "architecture": Tool(
        "Components and API endpoints",
        "Call it for an overview of an unknown tree. components returns a page of the top-level packages with their "
        "numbers of files and symbols; endpoints returns a page of the functions that handle HTTP requests. Continue "
        'with files and a path. Example: {"action": "endpoints"}',
        tools.architecture,
        object_schema(action=choice("What to list", "components", "endpoints", default="components"), **paging()),
        [_page("components", _library_schema("component")), _page("endpoints", _library_schema("api_endpoint"))],
    ),
    "tests": Tool(
        "Tests and the files that they import",
        "Call it to find the tests of a source file, or the sources of a test. Returns a page of pairs of a test file "
        'and a source file, with the imported names. Continue with file. Example: {"path": "shop/cart.py"}',
        tools.tests,
        object_schema(path=_PATH_FILTER, **paging()),
        [_page("tests", _library_schema("test_coverage"))],
    ),
    "wiki": Tool(
        "Documents and docstrings",
        "Call ask for questions about purpose and use. It returns up to eight sections of documents and module "
        "docstrings that share words with the question, with citations by line. read returns a whole page, list a "
        "page of the list, status the size of the wiki. Continue with read and the page_id of a section. "
        'Example: {"action": "ask", "query": "How is a cart paid?", "token_budget": 2000}',
        tools.wiki,
        object_schema(
            "action",
            action=choice("What to return", "status", "list", "read", "ask"),
            page_id=string("The page that read returns, as in list"),
            query=string("The question for ask"),
            token_budget=integer("Maximum size of the answer of ask, in tokens of 4 bytes; unlimited if missing", 0),
            **paging(),
        ),
        [_library_schema(f"wiki_{action}") for action in ("status", "list", "read", "ask")] + [_NOT_FOUND],
    ),
}
