"""The shapes that tools answer with, told to clients as JSON Schema: the library's, and what this service adds."""

from __future__ import annotations

import json
from pathlib import Path
from typing import Any

from hollin.arguments import Schema, object_schema

_SCHEMAS = Path(__file__).with_name("schemas")
_TEXT = {"type": "string"}
_COUNT = {"type": "integer", "minimum": 0}


def _library_schema(name: str) -> Schema:
    """A schema of the library's, to stand inside another one."""
    schema = json.loads((_SCHEMAS / f"{name}.json").read_text(encoding="utf-8"))
    return {key: part for key, part in schema.items() if key not in ("$schema", "$id")}


def _rows(row: Schema) -> Schema:
    return {"type": "array", "items": row}


def _page(key: str, row: Schema, **more: Any) -> Schema:
    page = _library_schema("paginated_page")
    return object_schema(key, *page["required"], *more, **{key: _rows(row)}, **page["properties"], **more)


_EMPTY = _library_schema("empty_answers")["$defs"]
_SHAPES = {
    "status": [_library_schema("index_status")],
    "search": [_page("symbols", _library_schema("symbol_search_row"))],
    "symbol": [
        _library_schema("symbol_details"),
        _library_schema("symbol_not_found"),
        _page("references", _library_schema("reference_row")),
    ],
    "file": [
        object_schema(
            "file", "module", "symbols",
            file=_TEXT, module=_TEXT, symbols=_rows(_library_schema("file_outline_row")),
        )
    ],
    "files": [_page("files", object_schema("path", "symbols", path=_TEXT, symbols=_COUNT))],
    "architecture": [
        _page(
            "components", _library_schema("component"),
            api=_page("endpoints", _library_schema("api_endpoint")),
        )
    ],
    "tests": [_page("tests", _library_schema("test_coverage"))],
    "wiki": [_library_schema(f"wiki_{action}") for action in ("status", "list", "read", "ask")],
}


def output_schema(tool: str) -> Schema:
    """An object of one of the tool's shapes; before there is an index, its fixed answer."""
    return {"type": "object", "anyOf": [*_SHAPES.get(tool, []), _EMPTY[tool]]}
