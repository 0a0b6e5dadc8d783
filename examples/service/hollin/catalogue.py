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
_KEPT_KEYWORDS = {"type", "properties", "additionalProperties", "items", "enum", "const"}
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
        """Indexes changed files again: those that the answer cites, and all others at most every two seconds. Requires
        checked arguments."""
        if not index.progress:
            index.look()
        for _ in range(5):  # a limit for files that change all the time
            answer = self.handler(index, **arguments)
            if index.progress or not index.refresh({*_paths(answer)}):
                break
        return answer


def _library_schema(name: str) -> Schema:
    """The keys of a schema of the library, and their types. A model pays for each published schema in each
    conversation, and the whole ones are three times as long."""
    return _without_details(json.loads((_SCHEMAS / f"{name}.json").read_text(encoding="utf-8")))


def _without_details(schema: Schema) -> Schema:
    kept = {keyword: value for keyword, value in schema.items() if keyword in _KEPT_KEYWORDS}
    if "properties" in kept:
        kept["properties"] = {key: _without_details(part) for key, part in kept["properties"].items()}
    if isinstance(kept.get("items"), dict):
        kept["items"] = _without_details(kept["items"])
    return kept


def _with_keys(schema: Schema, **keys: Schema) -> Schema:
    """A schema of the library with keys that only this service adds."""
    return schema | {"properties": keys | schema["properties"], "additionalProperties": False}


def _page(key: str, row: Schema, **more: Schema) -> Schema:
    return _with_keys(_library_schema("paginated_page"), **more, **{key: {"type": "array", "items": row}})


def output_schema(name: str, has_tree: bool) -> Schema:
    """An object of one of the tool's shapes, or without a tree its fixed answer."""
    if not has_tree:
        return {"type": "object", "const": mcp_responses.get_empty_response(name)}
    shapes = [{keyword: part for keyword, part in shape.items() if keyword != "type"} for shape in TOOLS[name].shapes]
    return {"type": "object", **(shapes[0] if len(shapes) == 1 else {"anyOf": shapes})}


_STRING = {"type": "string"}
_NOT_FOUND = _library_schema("symbol_not_found")
_PATH_FILTER = string("Part of a path; a folder ends with /")

TOOLS = {
    "status": Tool(
        "State of the index",
        "Call it when another tool answers that the index is being built, or when a file is missing. Returns the "
        "progress in percent, the numbers of files and symbols, and the files that cannot be parsed, with the reason. "
        "Example: {}",
        tools.status,
        object_schema(),
        [_with_keys(_library_schema("index_status"), errors={"type": "array", "items": _STRING})],
    ),
    "search": Tool(
        "Search symbols",
        "Call it first, to find functions, classes and constants by a part of their name. Returns a page of symbols "
        "whose fully qualified name (fqn) contains every word, ignoring case, the exact name first. Continue with "
        'symbol and the fqn. Example: {"query": "cart total", "limit": 5}',
        tools.search,
        object_schema("query", query=string("Words or parts of names, separated by spaces"), **paging()),
        [_page("symbols", _library_schema("symbol_search_row"))],
    ),
    "symbol": Tool(
        "Details and references of a symbol",
        "Call it with an fqn. detail returns signature, docstring and lines; references returns a page of its uses, "
        "each with its line of code: calls, subclasses, decorators, and reads of a constant. The calls of a method "
        "through a variable are only counted, in hint. A re-exported name finds its definition. Example: "
        '{"fqn": "shop.cart.pay", "action": "references"}',
        tools.symbol,
        object_schema("fqn", fqn=string("Fully qualified name"), **paging(),
                      action=choice("detail", "references", default="detail")),
        [_library_schema("symbol_details"), _page("references", _library_schema("reference_row")), _NOT_FOUND],
    ),
    "file": Tool(
        "Outline of a file",
        "Call it to see the structure of a file without reading it. Returns a page of its symbols in the order of "
        'their lines, named relative to module. Continue with symbol and module.name as fqn. Example: '
        '{"path": "shop/cart.py"}',
        tools.file,
        object_schema("path", path=string("Path, or name of a module"), **paging(100)),
        [_page("symbols", _library_schema("file_outline_row"), file=_STRING, module=_STRING), _NOT_FOUND],
    ),
    "files": Tool(
        "List of files",
        "Call it to find files by path. Returns a page of the Python files with their number of symbols. Continue "
        'with file. Example: {"path": "shop/", "limit": 50}',
        tools.files,
        object_schema(path=_PATH_FILTER, **paging()),
        [_page("files", object_schema(path=_STRING, symbols={"type": "integer"}))],
    ),
    "architecture": Tool(
        "Components and API endpoints",
        "Call it for an overview of an unknown tree. components returns a page of the top-level folders with their "
        "numbers of files and symbols; endpoints returns a page of the functions that handle HTTP requests. Continue "
        'with files and a path. Example: {"action": "endpoints"}',
        tools.architecture,
        object_schema(action=choice("components", "endpoints", default="components"), **paging()),
        [_page("components", _library_schema("component")), _page("endpoints", _library_schema("api_endpoint"))],
    ),
    "tests": Tool(
        "Tests and the files that they import",
        "Call it to find the tests of a source file, the most specific first, or the sources of a test. Returns a page "
        "of pairs of a test file and a source file, with the imported names. Continue with file. Example: "
        '{"path": "shop/cart.py"}',
        tools.tests,
        object_schema(path=_PATH_FILTER, **paging()),
        [_page("tests", _library_schema("test_coverage"))],
    ),
    "wiki": Tool(
        "Documents and docstrings",
        "Call ask for questions about purpose and use. It returns up to eight sections of documents and module "
        "docstrings that share words with the question, with citations by line. read returns a whole page, list a page "
        "of the list, status the size of the wiki. Continue with read and the page_id of a section. Example: "
        '{"action": "ask", "query": "How is a cart paid?", "token_budget": 2000}',
        tools.wiki,
        object_schema(
            "action",
            action=choice("status", "list", "read", "ask"),
            page_id=string("For read: a page, as in list"),
            query=string("For ask: the question"),
            token_budget=integer(0, description="For ask: maximum size of the answer, in tokens of 4 bytes"),
            **paging(),
        ),
        [_library_schema(f"wiki_{action}") for action in ("status", "list", "read", "ask")] + [_NOT_FOUND],
    ),
}
