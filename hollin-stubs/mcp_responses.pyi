# The types of the extension module. Its own texts (help) tell the shape of each answer.
import re
from __future__ import annotations as annotations
from collections.abc import Callable, Iterable
from logging import Logger
from pathlib import Path
from typing import TYPE_CHECKING as TYPE_CHECKING
from typing import Any, Literal, Protocol

# What a builder reads of a record; any object with these attributes will do. A builder reads only those that its
# answer needs. The names are for annotations: the module itself does not have them.

class _Symbol(Protocol):
    @property
    def fqn(self) -> str: ...
    @property
    def name(self) -> str: ...
    @property
    def kind(self) -> str: ...
    @property
    def start_line(self) -> int: ...
    @property
    def end_line(self) -> int | None: ...
    @property
    def signature(self) -> str | None: ...
    @property
    def docstring(self) -> str | None: ...
    @property
    def is_export(self) -> bool: ...
    @property
    def docstring_truncated(self) -> bool: ...

class _Reference(Protocol):
    @property
    def file_path(self) -> str | None: ...
    @property
    def line(self) -> int | None: ...
    @property
    def caller_symbol(self) -> dict[str, Any] | None: ...
    @property
    def usage_type(self) -> str | None: ...

class _ComponentInfo(Protocol):
    @property
    def name(self) -> str: ...
    @property
    def layer(self) -> str | None: ...
    @property
    def path_pattern(self) -> str | None: ...
    @property
    def file_count(self) -> int: ...
    @property
    def symbol_count(self) -> int: ...

# The service's own function, looked up here at each call of build_paginated_response.
add_pagination_hint: Callable[[dict[str, Any], int], Any]

logger: Logger

SUMMARY_CHARS: int
CODE_LINE_CHARS: int
_SENTENCE_END: re.Pattern[str]

def tool_result_text(result: Any) -> str: ...
def first_sentence(docstring: str | None) -> str | None: ...
def code_lines(root: Path | None, places: Iterable[tuple[str, int]]) -> dict[tuple[str, int], str]: ...
def _cut(text: str, chars: int) -> str: ...
def without_nulls(row: dict[str, Any]) -> dict[str, Any]: ...
def build_index_status_response(
    status: Literal["ready", "indexing", "error", "stopped", "not_initialized"],
    health: Literal["healthy", "degraded", "unhealthy", "unknown"],
    branch: str | None,
    progress: int,
    files_indexed: int = 0,
    symbols_indexed: int = 0,
    last_updated: str | None = None,
    errors_count: int = 0,
    phase: str | None = None,
    phase_detail: str | None = None,
) -> dict[str, Any]: ...
def build_symbol_search_result(symbol: _Symbol, file_path: str | None = None) -> dict[str, Any]: ...
def build_symbol_full_details(symbol: _Symbol, file_path: str | None = None) -> dict[str, Any]: ...
def outline_module(fqns: Iterable[str]) -> str: ...
def build_file_symbol(symbol: _Symbol, module: str = "") -> dict[str, Any]: ...
def build_api_endpoint(
    symbol: _Symbol, file_path: str | None = None, component_name: str | None = None
) -> dict[str, Any]: ...
def build_reference(reference: _Reference, code: str | None = None) -> dict[str, Any]: ...
def build_component(component: _ComponentInfo) -> dict[str, Any]: ...
def build_paginated_response(
    items: list[Any], total_count: int, offset: int, *, items_key: str = "items"
) -> dict[str, Any]: ...
def build_test_coverage(
    test_file: str, source_file: str, symbols_imported: list[str] | None = None
) -> dict[str, Any]: ...
def build_empty_paginated_response(items_key: str = "items") -> dict[str, Any]: ...
def build_wiki_status_response(
    *,
    built: bool,
    branch: str,
    pages: int = 0,
    files_covered: int = 0,
    total_sources: int = 0,
    coverage_pct: float = 0.0,
    last_built: str | None = None,
    model: str | None = None,
    stale_pages: list[str] | None = None,
    enabled: bool = False,
    configured: bool = False,
) -> dict[str, Any]: ...
def build_wiki_list_response(
    pages: list[dict[str, Any]], total: int, offset: int = 0, truncated: bool = False
) -> dict[str, Any]: ...
def build_wiki_read_response(
    *,
    page_id: str,
    title: str,
    content: str,
    citations: list[dict[str, Any]] | None = None,
    source_files: list[str] | None = None,
    related_pages: list[str] | None = None,
) -> dict[str, Any]: ...

_ASK_EXCERPT_CHARS: int
_ASK_MIN_EXCERPT_CHARS: int
_ASK_CITATIONS_PER_SECTION: int
_ASK_MAX_CITATIONS: int
_BYTES_PER_TOKEN: int

def build_wiki_ask_response(
    *,
    mode: str,
    query: str,
    answer: str | None,
    sections: list[dict[str, Any]],
    citations: list[dict[str, Any]] | None = None,
    model: str | None = None,
    tokens: dict[str, int] | None = None,
    note: str | None = None,
    decisions: dict[str, Any] | None = None,
    code: dict[str, Any] | None = None,
    memories: dict[str, Any] | None = None,
    token_budget: int | None = None,
) -> dict[str, Any]: ...
def _ask_citations(sections: list[dict[str, Any]], extra: list[dict[str, Any]]) -> list[dict[str, Any]]: ...
def _trimmed(text: str, chars: int) -> str: ...
def _encoded_size(result: dict[str, Any]) -> int: ...

EMPTY_TOOL_RESPONSES: dict[str, dict[str, Any]]

def get_empty_response(tool_name: str) -> dict[str, Any]: ...
