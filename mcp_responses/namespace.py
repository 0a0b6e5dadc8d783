"""Shared MCP response builders for consistent response structures.

This module provides the SINGLE SOURCE OF TRUTH for ALL MCP tool response structures.
The tool handlers and daemon/worker MUST use these builders to ensure consistency.

MAINTENANCE:
- When adding NEW FIELDS to any MCP tool response, add them HERE FIRST
- Then use the builder where the response is made
"""

# The functions of the module, with their parameters and documentation, and its other names. The
# order of the names, and names that nothing here uses, such as `json` and `_SENTENCE_END`, are an
# interface for the service's code.
#
# The body of each function calls `native`, its native counterpart: `functions::py_cut` of functions.cc
# for `_cut`. `native` is not a name of the module: the import puts the native function into the
# constants of the function's code (native.cc). So the interpreter binds arguments and raises its own
# errors. A body uses no other name: CPython 3.14 crashes if the garbage collector has cleared a function
# whose code loads a global name.
#
# To add a parameter, add it here and to the call of `native`, and read it in functions.cc under its
# position. To add a function, define it here; the import then requires its C++ code.

from __future__ import annotations

import json
import logging
import re
from typing import TYPE_CHECKING, Any, Literal

from hollin.utils.pagination import add_pagination_hint

if TYPE_CHECKING:
    from collections.abc import Iterable
    from pathlib import Path

    # The service's records: anything with the attributes that a builder reads.
    Symbol = Reference = ComponentInfo = Any

logger = logging.getLogger(__name__)

# The build compares the integers with the C++ constants of the same names.
SUMMARY_CHARS = 160
CODE_LINE_CHARS = 200

_SENTENCE_END = re.compile(r"(?<=[.!?])\s")


def tool_result_text(result: Any) -> str:
    """Encode a tool's result as the ``text`` of an MCP content block.

    The text is compact JSON: no white space, members in insertion order, non-ASCII
    characters unescaped. A float has the shortest form that reads back as the same
    number, always with a point or an exponent. NaN, Infinity and -Infinity are written
    as bare words, which JSON (RFC 8259) does not have. A tuple is written as a list, an
    instance of a subclass as its base type. Keys may be str, int, float, bool or None;
    all are written as strings, and of several keys with the same text the last value is
    written.

    Raises TypeError for an object of any other type, with the path to it; OverflowError
    for an int beyond 64 bits; RecursionError if containers are nested more deeply than
    the interpreter's recursion limit (at least 400 and at most 1000 levels).
    """
    return native(result)


def first_sentence(docstring: str | None) -> str | None:
    """The first sentence of a docstring's first paragraph, cut to ``SUMMARY_CHARS``.

    Two line feeds end a paragraph. Each run of white space inside it becomes one space.
    The sentence ends at the first ".", "!" or "?" that is followed by white space.
    Returns None if the docstring is None or contains only white space. Lengths are in
    code points.

    Raises TypeError if ``docstring`` is neither a str nor None.
    """
    return native(docstring)


def code_lines(root: Path | None, places: Iterable[tuple[str, int]]) -> dict[tuple[str, int], str]:
    """The lines of code at these places, stripped and cut to ``CODE_LINE_CHARS``.

    A place is a path relative to ``root`` and a line number, counted from 1. Returns
    {(path, line): text} with an entry for each distinct place that has a line. Each file
    is read once, with the GIL released. Files are decoded as UTF-8; invalid bytes become
    U+FFFD. A file outside the root, also one that a symlink leads to, gives no entry. A
    file that cannot be read gives no entry and is logged at level INFO. If ``root`` is
    None, the result is empty and ``places`` is not iterated.

    Raises TypeError if ``root`` is not a path of str or None, or if a place is not a pair
    of str and int; OverflowError for a line number beyond 64 bits; ValueError for a path
    with a null character; UnicodeEncodeError for a path with a lone surrogate that does
    not encode a byte; RuntimeError for a path that ends in a symlink loop.
    """
    return native(root, places)


def _cut(text: str, chars: int) -> str:
    """``text`` cut to at most ``chars`` characters, the cut marked with an ellipsis.

    White space before the ellipsis is removed. A text that is short enough is returned
    unchanged. If ``chars`` is less than 1, a longer text becomes the empty string.
    Lengths are in code points.
    """
    return native(text, chars)


def without_nulls(row: dict[str, Any]) -> dict[str, Any]:
    """The row without its fields that are None: a list row carries only what it knows.

    Returns a new dict with the other fields in their order. Only None is removed:
    False, 0, "", [] and {} are kept.

    Raises TypeError if ``row`` is not a dict.
    """
    return native(row)


def build_index_status_response(
    status: Literal['ready', 'indexing', 'error', 'stopped', 'not_initialized'],
    health: Literal['healthy', 'degraded', 'unhealthy', 'unknown'],
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

    Keys: the names of the first eight parameters, in their order, also if the value is
    None. "phase" and "phase_detail" follow, each only if its value is truthy.
    ``progress`` is a percentage. The values are not checked.
    """
    return native(
        status, health, branch, progress, files_indexed, symbols_indexed, last_updated,
        errors_count, phase, phase_detail
    )


def build_symbol_search_result(symbol: Symbol, file_path: str | None = None) -> dict[str, Any]:
    """Build the row of a symbol a search lists.

    Keys: "fqn", "name", "kind", "file", "line", "signature", "summary", each only if its
    value is not None. "line" is the symbol's ``start_line`` (counted from 1), "summary"
    is the first sentence of its docstring.

    Reads the attributes ``fqn``, ``name``, ``kind``, ``start_line``, ``signature`` and
    ``docstring`` of the symbol, in this order. Raises AttributeError for the first one that
    the symbol does not have.
    """
    return native(symbol, file_path)


def build_symbol_full_details(symbol: Symbol, file_path: str | None = None) -> dict[str, Any]:
    """Build dict for full symbol details (get_symbol).

    Keys, all always present: "found" (True), "fqn", "name", "kind", "file",
    "start_line", "end_line", "signature", "is_export", "docstring" (not cut),
    "docstring_truncated". Lines are counted from 1.

    Reads the attributes ``fqn``, ``name``, ``kind``, ``start_line``, ``end_line``,
    ``signature``, ``is_export``, ``docstring`` and ``docstring_truncated`` of the symbol, in
    this order. Raises AttributeError for the first one that the symbol does not have.
    """
    return native(symbol, file_path)


def outline_module(fqns: Iterable[str]) -> str:
    """The fqn every symbol of a file's outline sits in: the longest dotted prefix they share.

    The last part of each fqn does not count, and only whole parts are compared: the
    module of "shop.cart.Cart" and "shop.cart.Cart.total" is "shop.cart". Returns the
    empty string if nothing is shared. ``fqns`` is iterated once.

    Raises TypeError if an fqn is not a str.
    """
    return native(fqns)


def build_file_symbol(symbol: Symbol, module: str = "") -> dict[str, Any]:
    """Build the compact row of a symbol in a file's outline (``file symbols``).

    Keys: "name" (the fqn without ``module`` and the dot after it), "kind", "line",
    "end_line" (only if it differs from the start line), "signature", "summary", each only
    if its value is not None. Lines are counted from 1.

    Reads the attributes ``fqn``, ``kind``, ``start_line``, ``end_line``, ``signature`` and
    ``docstring`` of the symbol, in this order. Raises AttributeError for the first one that
    the symbol does not have, and, with a ``module``, for an ``fqn`` that is not a str.
    """
    return native(symbol, module)


def build_api_endpoint(
    symbol: Symbol, file_path: str | None = None, component_name: str | None = None
) -> dict[str, Any]:
    """Build dict for API endpoints (get_api_endpoints).

    Keys, all always present: "fqn", "name", "kind", "file" ("" without a path), "line",
    "signature", "component". "line" is the symbol's ``start_line`` (counted from 1).

    Reads the attributes ``fqn``, ``name``, ``kind``, ``start_line`` and ``signature`` of the
    symbol, in this order. Raises AttributeError for the first one that the symbol does not
    have.
    """
    return native(symbol, file_path, component_name)


def build_reference(reference: Reference, code: str | None = None) -> dict[str, Any]:
    """Build the row of a reference (``symbol references``).

    Keys: "file" and "line", None if unknown. "code", "caller", "caller_kind" and
    "usage_type" follow, each only if its value is not None. ``code`` is the line that
    ``code_lines`` returned for the place. "caller" and "caller_kind" are the items "fqn"
    and "kind" of the reference's ``caller_symbol``, a dict or None.

    Reads the attributes ``caller_symbol``, ``usage_type``, ``file_path`` and ``line`` of the
    reference, in this order. Raises AttributeError for the first one that the reference
    does not have, and for a truthy ``caller_symbol`` that is not a dict.
    """
    return native(reference, code)


def build_component(component: ComponentInfo) -> dict[str, Any]:
    """Build dict for component info (get_components).

    Keys, all always present: "name", "layer", "path_pattern", "file_count",
    "symbol_count".

    The keys are also the attributes that it reads, in this order. Raises AttributeError for
    the first one that the component does not have.
    """
    return native(component)


def build_paginated_response(
    items: list[Any], total_count: int, offset: int, *, items_key: str = "items"
) -> dict[str, Any]:
    """Build paginated response wrapper.

    Keys: ``items_key``, "total_count", "truncated", "has_more", "offset". "truncated" and
    "has_more" are both True if rows remain after this page, that is, if
    ``offset + len(items) < total_count``. The rows are copied.

    Returns: Dict with items, pagination info, and hint if truncated. The hint is added by
    ``add_pagination_hint``, whose result is returned unchanged.

    Raises TypeError if ``items`` is not a list or tuple, if a count is not a number, or,
    with its path, for an object without a JSON representation.
    """
    return native(items, total_count, offset, items_key)


def build_test_coverage(
    test_file: str, source_file: str, symbols_imported: list[str] | None = None
) -> dict[str, Any]:
    """Build dict for test coverage (get_tests_for, get_code_for_test).

    Keys: "test_file", "source_file", then "symbols_imported" if it is not empty.
    """
    return native(test_file, source_file, symbols_imported)


def build_empty_paginated_response(items_key: str = "items") -> dict[str, Any]:
    """Build empty paginated response.

    The keys of ``build_paginated_response``, with the values of an empty list: [], 0,
    False, False, 0. ``add_pagination_hint`` is not called.
    """
    return native(items_key)


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
) -> dict[str, Any]:
    """Build a response for wiki(action='status').

    Keys, all always present: "built", "branch", "enabled", "configured", "pages",
    "files_covered", "total_sources", "coverage_pct" (a percentage), "last_built",
    "model", "stale_pages" ([] for None).
    """
    return native(
        built, branch, pages, files_covered, total_sources, coverage_pct, last_built, model,
        stale_pages, enabled, configured
    )


def build_wiki_list_response(
    pages: list[dict[str, Any]], total: int, offset: int = 0, truncated: bool = False
) -> dict[str, Any]:
    """Build a response for wiki(action='list').

    Keys, all always present: "pages", "total_count", "offset", "truncated" (the
    parameter), "has_more" (whether pages remain after these). The pages are copied.

    Raises TypeError if ``pages`` is not a list or tuple, if a count is not a number, or,
    with its path, for an object without a JSON representation.
    """
    return native(pages, total, offset, truncated)


def build_wiki_read_response(
    *,
    page_id: str,
    title: str,
    content: str,
    citations: list[dict[str, Any]] | None = None,
    source_files: list[str] | None = None,
    related_pages: list[str] | None = None,
) -> dict[str, Any]:
    """Build a response for wiki(action='read').

    Keys, all always present: the names of the parameters, in their order. The last three
    are [] for None.
    """
    return native(page_id, title, content, citations, source_files, related_pages)


_ASK_EXCERPT_CHARS = 1200
_ASK_MIN_EXCERPT_CHARS = 200
_ASK_CITATIONS_PER_SECTION = 3
_ASK_MAX_CITATIONS = 24
_BYTES_PER_TOKEN = 4


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
) -> dict[str, Any]:
    """Build a response for wiki(action='ask').

    Keys: "mode", "query", "answer", "sections", "citations", then "model", "tokens",
    "note", "decisions", "code" and "memories", each only if its value is not None. The
    row of a section has "page_id", "title", "heading", "similarity", "stale" and
    "excerpt", which is cut to 1200 characters. Other keys of a section are ignored.
    "citations" has the first three of each section, then ``citations``, each place once,
    at most 24.

    A ``token_budget`` limits the size of the encoded answer; a token is four bytes. A
    larger answer is reduced in this order: the excerpts shrink, from the bottom section
    up, to about 200 bytes each; then whole sections are dropped from the bottom, then
    the memories, then the code. The rest, in particular ``answer``, is never cut and can
    exceed the budget by itself.

    Raises TypeError, with the path, if ``sections`` or ``citations`` is not a list or
    tuple of dicts, if ``token_budget`` is not an int, or for an object without a JSON
    representation; with a budget also UnicodeEncodeError for a lone surrogate, which
    cannot be encoded as UTF-8.
    """
    return native(
        mode, query, answer, sections, citations, model, tokens, note, decisions, code, memories,
        token_budget
    )


def _ask_citations(
    sections: list[dict[str, Any]], extra: list[dict[str, Any]]
) -> list[dict[str, Any]]:
    """The first citations of each section, then ``extra``, each once, up to a cap.

    Two citations with equal "path", "line_start" and "line_end" are the same place: the
    first of them is kept, with all its items. Each section contributes its first three
    citations, and the list has at most 24.

    Raises TypeError, with the path, if a section or citation is not a dict, or if "path"
    or a line is a list or dict.
    """
    return native(sections, extra)


def _trimmed(text: str, chars: int) -> str:
    """``text`` cut to at most ``chars`` characters at a word boundary, marked with an ellipsis.

    The cut is at the last space in the second half of the allowed length, or anywhere if
    there is none. A text that is short enough is returned unchanged. If ``chars`` is less
    than 2, a longer text becomes the empty string. Lengths are in code points.
    """
    return native(text, chars)


def _encoded_size(result: dict[str, Any]) -> int:
    """Bytes of ``result`` as the MCP text a model reads.

    Equal to ``len(tool_result_text(result).encode())``, but no text is created. Raises
    UnicodeEncodeError for a lone surrogate.
    """
    return native(result)


# The extension adds the entries.
EMPTY_TOOL_RESPONSES: dict[str, dict[str, Any]] = {}


def get_empty_response(tool_name: str) -> dict[str, Any]:
    """Get empty response for a tool when repository is not initialized.

    Returns: Empty response dict appropriate for the tool, a new one at each call. For any
    other name it is {"error": "Repository not initialized"}.
    """
    return native(tool_name)
