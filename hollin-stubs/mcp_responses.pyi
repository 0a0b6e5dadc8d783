# The types of the extension module.
import os
import re
from __future__ import annotations as annotations
from _collections_abc import dict_items
from collections.abc import Callable, Iterable, Sequence
from logging import Logger
from types import SimpleNamespace
from typing import TYPE_CHECKING as TYPE_CHECKING
from typing import Any, Literal, Protocol

# The protocols are for annotations: the module itself does not have them.

# A dict, of a class of its own or with the keys of a TypedDict; no other mapping is taken. A sequence of them is a list
# or a tuple: declared as one of these two, it would not be taken for a list of another kind of dict.
class _Dict(Protocol):
    def items(self) -> dict_items[str, object]: ...

# The service's own function, looked up here at each call of build_paginated_response.
add_pagination_hint: Callable[[dict[str, Any], int], Any]

logger: Logger

SUMMARY_CHARS: int
CODE_LINE_CHARS: int
_SENTENCE_END: re.Pattern[str]
_ASK_EXCERPT_CHARS: int
_ASK_MIN_EXCERPT_CHARS: int
_ASK_CITATIONS_PER_SECTION: int
_ASK_MAX_CITATIONS: int
_BYTES_PER_TOKEN: int

EMPTY_TOOL_RESPONSES: dict[str, dict[str, Any]]

# From here on `./dev stubs` writes: first what each builder reads of a record, any object with these attributes. (A
# SimpleNamespace has whatever it is given, which not every type checker knows.)

class _SymbolSearchResultRecord(Protocol):
    @property
    def fqn(self) -> str: ...
    @property
    def name(self) -> str: ...
    @property
    def kind(self) -> str: ...
    @property
    def start_line(self) -> int: ...
    @property
    def signature(self) -> str | None: ...
    @property
    def docstring(self) -> str | None: ...

class _SymbolFullDetailsRecord(Protocol):
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
    def is_export(self) -> bool: ...
    @property
    def docstring(self) -> str | None: ...
    @property
    def docstring_truncated(self) -> bool: ...

class _FileSymbolRecord(Protocol):
    @property
    def fqn(self) -> str: ...
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

class _ApiEndpointRecord(Protocol):
    @property
    def fqn(self) -> str: ...
    @property
    def name(self) -> str: ...
    @property
    def kind(self) -> str: ...
    @property
    def start_line(self) -> int: ...
    @property
    def signature(self) -> str | None: ...

class _ReferenceRecord(Protocol):
    @property
    def caller_symbol(self) -> _Dict | None: ...
    @property
    def usage_type(self) -> str | None: ...
    @property
    def file_path(self) -> str | None: ...
    @property
    def line(self) -> int | None: ...

class _ComponentRecord(Protocol):
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

def tool_result_text(result: Any) -> str:
    """Encode a tool's result as the ``text`` of an MCP content block.

    Compact JSON (RFC 8259): no white space, members in insertion order, non-ASCII
    characters as themselves. Floats have the shortest form that reads back as the
    same number, always with a point or an exponent; NaN, Infinity and -Infinity are
    bare words. Tuples are written as lists, keys that are int, float, bool or None
    as their text, instances of subclasses as their base type.

    Raises TypeError for anything else, saying where it stands, OverflowError for an
    int beyond 64 bits, RecursionError for nesting deeper than the interpreter's recursion
    limit, which counts as at least 400 and at most 1000.
    """

def first_sentence(docstring: str | None) -> str | None:
    """The first sentence of a docstring's first paragraph, cut to ``SUMMARY_CHARS``.

    Paragraphs are parted by two line feeds; white space inside the paragraph becomes
    single spaces; the sentence ends at the first ".", "!" or "?" before white space.
    None when there is no docstring or no text in it. Lengths are code points.

    Raises TypeError for what is neither str nor None.
    """

def code_lines(root: str | os.PathLike[str] | None, places: Iterable[tuple[str, int]]) -> dict[tuple[str, int], str]:
    """The lines of code at these places, stripped and cut to ``CODE_LINE_CHARS``.

    A place is a path relative to ``root`` and a 1-based line number. The result is
    {(path, line): text}, with an entry for each distinct place that has a line. Each
    file is read once, with the interpreter's lock released, as UTF-8 with U+FFFD for
    what is not. A file outside the root, also by way of a link, gives nothing; one that
    cannot be read is logged at info level and gives nothing. Without a root the result
    is empty and ``places`` is not read.

    Raises TypeError for a root that is no path of str and for a place that is no pair of str
    and int, OverflowError for a line beyond 64 bits, and for a path that is none ValueError
    (a NUL), UnicodeEncodeError (a lone surrogate) or RuntimeError (a circle of links).
    """

def _cut(text: str, chars: int) -> str:
    """``text`` cut to at most ``chars`` characters, the cut marked with an ellipsis.

    A text that fits comes back as it is. White space before the ellipsis goes. Below 1
    character a longer text becomes the empty text. Lengths are code points.
    """

def without_nulls(row: _Dict) -> dict[str, Any]:
    """The row without its fields that are None: a list row carries only what it knows.

    A new dict with the other fields in their order; False, 0, "", [] and {} stay.

    Raises TypeError for what is no dict.
    """

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
) -> dict[str, Any]:
    """Build dict for index_status response.

    Keys: the first eight parameters' names, in their order, None included; then
    "phase" and "phase_detail", each only when truthy. ``progress`` is meant to be 0 to
    100. No value is checked or clamped.
    """

def build_symbol_search_result(
    symbol: _SymbolSearchResultRecord | SimpleNamespace, file_path: str | None = None
) -> dict[str, Any]:
    """Build the row of a symbol a search lists.

    Keys: "fqn", "name", "kind", "file", "line", "signature", "summary", each only when
    it is not None. "line" is the symbol's ``start_line`` (1-based), "summary" the first
    sentence of its docstring. The attributes are read in the order of the keys; the
    record's AttributeError comes through for one that it lacks.
    """

def build_symbol_full_details(
    symbol: _SymbolFullDetailsRecord | SimpleNamespace, file_path: str | None = None
) -> dict[str, Any]:
    """Build dict for full symbol details (get_symbol).

    Keys, all always present: "found" (True), "fqn", "name", "kind", "file",
    "start_line", "end_line", "signature", "is_export", "docstring" (whole),
    "docstring_truncated". Lines are 1-based. The attributes are read in the order of the
    keys; the record's AttributeError comes through for one that it lacks.
    """

def outline_module(fqns: Iterable[str]) -> str:
    """The fqn every symbol of a file's outline sits in: the longest dotted prefix they share.

    Each fqn counts without its last part, and parts are compared whole. Empty when
    nothing is shared. ``fqns`` is read once.

    Raises TypeError for an fqn that is no str.
    """

def build_file_symbol(symbol: _FileSymbolRecord | SimpleNamespace, module: str = "") -> dict[str, Any]:
    """Build the compact row of a symbol in a file's outline (``file symbols``).

    Keys: "name" (the fqn without ``module`` and its dot), "kind", "line", "end_line"
    (only when it differs from the start line), "signature", "summary", each only when
    it is not None. Lines are 1-based. The record's AttributeError comes through for an
    attribute that it lacks.
    """

def build_api_endpoint(
    symbol: _ApiEndpointRecord | SimpleNamespace, file_path: str | None = None, component_name: str | None = None
) -> dict[str, Any]:
    """Build dict for API endpoints (get_api_endpoints).

    Keys, all always present: "fqn", "name", "kind", "file" ("" without a path), "line",
    "signature", "component". "line" is the symbol's ``start_line`` (1-based). The record's
    AttributeError comes through for an attribute that it lacks.
    """

def build_reference(reference: _ReferenceRecord | SimpleNamespace, code: str | None = None) -> dict[str, Any]:
    """Build the row of a reference (``symbol references``).

    Keys: "file" and "line", None when unknown, then "code", "caller", "caller_kind" and
    "usage_type", each only when known. ``code`` is the line that ``code_lines`` found.
    "caller" and "caller_kind" are "fqn" and "kind" of the record's ``caller_symbol``, a
    dict or None. The record's AttributeError comes through for an attribute that it lacks.
    """

def build_component(component: _ComponentRecord | SimpleNamespace) -> dict[str, Any]:
    """Build dict for component info (get_components).

    Keys, all always present: "name", "layer", "path_pattern", "file_count",
    "symbol_count". The record's AttributeError comes through for an attribute that it
    lacks.
    """

def build_paginated_response(
    items: list[Any] | tuple[Any, ...], total_count: int, offset: int, *, items_key: str = "items"
) -> dict[str, Any]:
    """Build paginated response wrapper.

    Keys: ``items_key``, "total_count", "truncated", "has_more", "offset". Both flags tell
    whether rows remain past this page: ``offset + len(items) < total_count``. The rows
    are copied.

    Returns: Dict with items, pagination info, and hint if truncated. The hint is the
    work of ``add_pagination_hint``, whose result is returned as it is.

    Raises TypeError when ``items`` is no list or a count no number, and, saying where, for
    a row with something in it that no answer can carry.
    """

def build_test_coverage(
    test_file: str, source_file: str, symbols_imported: list[str] | tuple[str, ...] | None = None
) -> dict[str, Any]:
    """Build dict for test coverage (get_tests_for, get_code_for_test).

    Keys: "test_file", "source_file", then "symbols_imported" when it is not empty.
    """

def build_empty_paginated_response(items_key: str = "items") -> dict[str, Any]:
    """Build empty paginated response.

    The keys of ``build_paginated_response`` without rows: [], 0, False, False, 0.
    """

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
    stale_pages: list[str] | tuple[str, ...] | None = None,
    enabled: bool = False,
    configured: bool = False,
) -> dict[str, Any]:
    """Build a response for wiki(action='status').

    Keys, all always present: "built", "branch", "enabled", "configured", "pages",
    "files_covered", "total_sources", "coverage_pct" (a percentage), "last_built",
    "model", "stale_pages" ([] for None).
    """

def build_wiki_list_response(
    pages: Sequence[_Dict], total: int, offset: int = 0, truncated: bool = False
) -> dict[str, Any]:
    """Build a response for wiki(action='list').

    Keys, all always present: "pages", "total_count", "offset", "truncated" (the caller's
    flag), "has_more" (whether pages remain past these).

    Raises TypeError when ``pages`` is no list or a count no number, and, saying where, for
    a page with something in it that no answer can carry.
    """

def build_wiki_read_response(
    *,
    page_id: str,
    title: str,
    content: str,
    citations: Sequence[_Dict] | None = None,
    source_files: list[str] | tuple[str, ...] | None = None,
    related_pages: list[str] | tuple[str, ...] | None = None,
) -> dict[str, Any]:
    """Build a response for wiki(action='read').

    Keys, all always present: the parameters' names, in their order; the three lists are
    [] for None.
    """

def build_wiki_ask_response(
    *,
    mode: str,
    query: str,
    answer: str | None,
    sections: Sequence[_Dict],
    citations: Sequence[_Dict] | None = None,
    model: str | None = None,
    tokens: _Dict | None = None,
    note: str | None = None,
    decisions: _Dict | None = None,
    code: _Dict | None = None,
    memories: _Dict | None = None,
    token_budget: int | None = None,
) -> dict[str, Any]:
    """Build a response for wiki(action='ask').

    Keys: "mode", "query", "answer", "sections", "citations", then those of "model",
    "tokens", "note", "decisions", "code" and "memories" that are not None. A section row
    has "page_id", "title", "heading", "similarity", "stale" and "excerpt", cut to 1200
    characters. "citations" has three of each section, then ``citations``, each place once,
    24 in all.

    With a ``token_budget`` (a token is four bytes of the encoded answer) the answer gives
    way until it fits: the excerpts shrink, from the bottom section up, to about 200 bytes
    each; then whole sections go from the bottom, then the memories, then the code. All else
    is never cut, and may exceed the budget by itself: ``answer`` above all.

    Raises TypeError, saying where, when a list or dict is something else or holds what JSON
    cannot, and with a budget UnicodeEncodeError for a lone surrogate, which has no size.
    """

def _ask_citations(sections: Sequence[_Dict], extra: Sequence[_Dict]) -> list[dict[str, Any]]:
    """The first citations of each section, then ``extra``, each once, up to a cap.

    Citations with equal "path", "line_start" and "line_end" are the same place; the first
    of them stays, whole. Three a section, 24 in all.

    Raises TypeError, saying where, for a section or citation that is no dict, and for a
    place made of a list or dict.
    """

def _trimmed(text: str, chars: int) -> str:
    """``text`` cut to at most ``chars`` characters at a word boundary, marked with an ellipsis.

    The boundary is the last space in the second half of that length; without one the cut
    is hard. Below 2 characters a longer text becomes the empty text.
    """

def _encoded_size(result: _Dict) -> int:
    """Bytes of ``result`` as the MCP text a model reads.

    The length of ``tool_result_text(result)`` in UTF-8, without making it. Raises
    UnicodeEncodeError for a lone surrogate, which has no UTF-8.
    """

def get_empty_response(tool_name: str) -> dict[str, Any]:
    """Get empty response for a tool when repository is not initialized.

    Returns: Empty response dict appropriate for the tool, the caller's own; for a name
    that is no tool, {"error": "Repository not initialized"}.
    """
