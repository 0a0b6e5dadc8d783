"""The answers of `hollin.mcp_responses` in plain Python, as a service would write them without the library.

The benchmarks compare the extension with it, so it is written as a service would write it, neither slowed down nor
tuned. It uses the standard library's C-accelerated `json` and dict literals, and fits a budget by encoding the whole
answer at every step. The tests use it as their oracle, so it never imports the extension.

It differs from the extension in these points, which callers must exclude:
- `json` has the same text for keys that are integers, floats, booleans or None, for tuples, and for subclasses of the
  built-in types. But it writes two keys with the same text (1 and "1") twice, where the extension writes one.
- Answers contain the caller's own containers: a tuple stays a tuple, a key that is not a string keeps its type, and a
  later change by the caller shows in the answer. The extension returns new lists and dicts with string keys.
- An object without a JSON representation raises an error only when the answer is encoded; in the extension, often
  earlier.
- An integer can have any size. In the extension it has at most 64 bits.
- `items` of a dict subclass is called. The extension reads the dict's own content.
"""

from __future__ import annotations

import copy
import json
import logging
import re
from typing import TYPE_CHECKING, Any, Literal

try:
    from hollin.utils.pagination import add_pagination_hint
except ImportError:

    def add_pagination_hint(response: dict[str, Any], item_count: int) -> dict[str, Any]:
        return response


if TYPE_CHECKING:
    from collections.abc import Callable, Iterable
    from pathlib import Path

    # The service's records: anything with the attributes that a builder reads.
    Symbol = Reference = ComponentInfo = Any

logger = logging.getLogger("hollin.mcp_responses")

SUMMARY_CHARS = 160
CODE_LINE_CHARS = 200

_SENTENCE_END = re.compile(r"(?<=[.!?])\s")


def tool_result_text(result: Any) -> str:
    """Encode a tool's result as the ``text`` of an MCP content block."""
    return json.dumps(result, ensure_ascii=False, separators=(",", ":"))


def first_sentence(docstring: str | None) -> str | None:
    """The first sentence of a docstring's first paragraph, cut to ``SUMMARY_CHARS``."""
    if not docstring:
        return None
    paragraph = " ".join(docstring.strip().split("\n\n", 1)[0].split())
    sentence = _SENTENCE_END.split(paragraph, maxsplit=1)[0]
    return _cut(sentence, SUMMARY_CHARS) or None


def code_lines(root: Path | None, places: Iterable[tuple[str, int]]) -> dict[tuple[str, int], str]:
    """The lines of code at these places, stripped and cut to ``CODE_LINE_CHARS``."""
    if root is None:
        return {}
    base = root.resolve()
    wanted: dict[str, set[int]] = {}
    for path, line in places:
        wanted.setdefault(path, set()).add(line)
    found = {}
    for path, numbers in wanted.items():
        lines = _lines_inside(base, path)
        for number in sorted(numbers):
            if 1 <= number <= len(lines):
                found[path, number] = _cut(lines[number - 1].strip(), CODE_LINE_CHARS)
    return found


def _lines_inside(base: Path, path: str) -> list[str]:
    """The lines of a file in the work tree; none if it is outside or cannot be read."""
    target = (base / path).resolve()
    if not target.is_relative_to(base):
        return []
    try:
        return target.read_bytes().decode("utf-8", "replace").splitlines()
    except OSError as error:
        logger.info("code_lines: %s is not read (%s)", path, error)
        return []


def _cut(text: str, chars: int) -> str:
    """``text`` cut to at most ``chars`` characters, the cut marked with an ellipsis."""
    if len(text) <= chars:
        return text
    return text[: chars - 1].rstrip() + "…"


def without_nulls(row: dict[str, Any]) -> dict[str, Any]:
    """The row without its fields that are None: a list row carries only what it knows."""
    return {key: value for key, value in row.items() if value is not None}


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
    """Build dict for index_status response."""
    response = {
        "status": status,
        "health": health,
        "branch": branch,
        "progress": progress,
        "files_indexed": files_indexed,
        "symbols_indexed": symbols_indexed,
        "last_updated": last_updated,
        "errors_count": errors_count,
    }
    if phase:
        response["phase"] = phase
    if phase_detail:
        response["phase_detail"] = phase_detail
    return response


def build_symbol_search_result(symbol: Symbol, file_path: str | None = None) -> dict[str, Any]:
    """Build the row of a symbol a search lists."""
    return without_nulls(
        {
            "fqn": symbol.fqn,
            "name": symbol.name,
            "kind": symbol.kind,
            "file": file_path,
            "line": symbol.start_line,
            "signature": symbol.signature,
            "summary": first_sentence(symbol.docstring),
        }
    )


def build_symbol_full_details(symbol: Symbol, file_path: str | None = None) -> dict[str, Any]:
    """Build dict for full symbol details (get_symbol)."""
    return {
        "found": True,
        "fqn": symbol.fqn,
        "name": symbol.name,
        "kind": symbol.kind,
        "file": file_path,
        "start_line": symbol.start_line,
        "end_line": symbol.end_line,
        "signature": symbol.signature,
        "is_export": symbol.is_export,
        "docstring": symbol.docstring,
        "docstring_truncated": symbol.docstring_truncated,
    }


def outline_module(fqns: Iterable[str]) -> str:
    """The fqn every symbol of a file's outline sits in: the longest dotted prefix they share."""
    common: list[str] | None = None
    for fqn in fqns:
        parents = fqn.split(".")[:-1]
        if common is None:
            common = parents
            continue
        shared = 0
        while shared < min(len(common), len(parents)) and common[shared] == parents[shared]:
            shared += 1
        common = common[:shared]
    return ".".join(common or [])


def build_file_symbol(symbol: Symbol, module: str = "") -> dict[str, Any]:
    """Build the compact row of a symbol in a file's outline (``file symbols``)."""
    fqn = symbol.fqn
    prefix = f"{module}." if module else ""
    name = fqn[len(prefix) :] if prefix and fqn.startswith(prefix) else fqn
    kind = symbol.kind
    start_line = symbol.start_line
    end_line = symbol.end_line
    return without_nulls(
        {
            "name": name,
            "kind": kind,
            "line": start_line,
            "end_line": end_line if end_line != start_line else None,
            "signature": symbol.signature,
            "summary": first_sentence(symbol.docstring),
        }
    )


def build_api_endpoint(
    symbol: Symbol, file_path: str | None = None, component_name: str | None = None
) -> dict[str, Any]:
    """Build dict for API endpoints (get_api_endpoints)."""
    return {
        "fqn": symbol.fqn,
        "name": symbol.name,
        "kind": symbol.kind,
        "file": file_path or "",
        "line": symbol.start_line,
        "signature": symbol.signature,
        "component": component_name,
    }


def build_reference(reference: Reference, code: str | None = None) -> dict[str, Any]:
    """Build the row of a reference (``symbol references``)."""
    caller = reference.caller_symbol or {}
    known = without_nulls(
        {
            "code": code,
            "caller": caller.get("fqn"),
            "caller_kind": caller.get("kind"),
            "usage_type": reference.usage_type,
        }
    )
    return {"file": reference.file_path, "line": reference.line, **known}


def build_component(component: ComponentInfo) -> dict[str, Any]:
    """Build dict for component info (get_components)."""
    return {
        "name": component.name,
        "layer": component.layer,
        "path_pattern": component.path_pattern,
        "file_count": component.file_count,
        "symbol_count": component.symbol_count,
    }


def build_paginated_response(
    items: list[Any], total_count: int, offset: int, *, items_key: str = "items"
) -> dict[str, Any]:
    """Build paginated response wrapper."""
    has_more = offset + len(items) < total_count
    # A dict literal sets its keys one after the other, so a caller's "offset" as items key keeps its first place.
    response = {
        items_key: items,
        "total_count": total_count,
        "truncated": has_more,
        "has_more": has_more,
        "offset": offset,
    }
    return add_pagination_hint(response, len(items))


def build_test_coverage(
    test_file: str, source_file: str, symbols_imported: list[str] | None = None
) -> dict[str, Any]:
    """Build dict for test coverage (get_tests_for, get_code_for_test)."""
    row: dict[str, Any] = {"test_file": test_file, "source_file": source_file}
    if symbols_imported:
        row["symbols_imported"] = symbols_imported
    return row


def build_empty_paginated_response(items_key: str = "items") -> dict[str, Any]:
    """Build empty paginated response."""
    return {items_key: [], "total_count": 0, "truncated": False, "has_more": False, "offset": 0}


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
    """Build a response for wiki(action='status')."""
    return {
        "built": built,
        "branch": branch,
        "enabled": enabled,
        "configured": configured,
        "pages": pages,
        "files_covered": files_covered,
        "total_sources": total_sources,
        "coverage_pct": coverage_pct,
        "last_built": last_built,
        "model": model,
        "stale_pages": stale_pages or [],
    }


def build_wiki_list_response(
    pages: list[dict[str, Any]], total: int, offset: int = 0, truncated: bool = False
) -> dict[str, Any]:
    """Build a response for wiki(action='list')."""
    return {
        "pages": pages,
        "total_count": total,
        "offset": offset,
        "truncated": truncated,
        "has_more": offset + len(pages) < total,
    }


def build_wiki_read_response(
    *,
    page_id: str,
    title: str,
    content: str,
    citations: list[dict[str, Any]] | None = None,
    source_files: list[str] | None = None,
    related_pages: list[str] | None = None,
) -> dict[str, Any]:
    """Build a response for wiki(action='read')."""
    return {
        "page_id": page_id,
        "title": title,
        "content": content,
        "citations": citations or [],
        "source_files": source_files or [],
        "related_pages": related_pages or [],
    }


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
    """Build a response for wiki(action='ask')."""
    optional: dict[str, Any] = {
        "model": model,
        "tokens": tokens,
        "note": note,
        "decisions": decisions,
        "code": code,
        "memories": memories,
    }
    extra = list(citations or [])
    full = [_trimmed(str(section.get("excerpt") or ""), _ASK_EXCERPT_CHARS) for section in sections]

    def assemble(excerpts: list[str]) -> dict[str, Any]:
        kept = sections[: len(excerpts)]
        response = {
            "mode": mode,
            "query": query,
            "answer": answer,
            "sections": [_section_row(section, excerpt) for section, excerpt in zip(kept, excerpts)],
            "citations": _ask_citations(kept, extra),
        }
        response.update(without_nulls(optional))
        return response

    if token_budget is None:
        return assemble(full)
    return _fitted(assemble, full, optional, token_budget * _BYTES_PER_TOKEN)


def _section_row(section: dict[str, Any], excerpt: str) -> dict[str, Any]:
    return {
        "page_id": section.get("page_id"),
        "title": section.get("title"),
        "heading": section.get("heading"),
        "similarity": section.get("similarity"),
        "stale": bool(section.get("stale")),
        "excerpt": excerpt,
    }


def _fitted(
    assemble: Callable[[list[str]], dict[str, Any]], full: list[str], optional: dict[str, Any], limit: int
) -> dict[str, Any]:
    """The answer in at most `limit` bytes, if possible: reduces excerpts, sections, the memories, the code."""
    count = len(full)
    while count and _encoded_size(assemble([""] * count)) + count * _ASK_MIN_EXCERPT_CHARS > limit:
        count -= 1
    excerpts = [""] * count
    for i, text in enumerate(full[:count]):
        excerpts[i] = text
        reserve = (count - i - 1) * _ASK_MIN_EXCERPT_CHARS
        over = _encoded_size(assemble(excerpts)) + reserve - limit
        if over > 0:
            excerpts[i] = _trimmed(text, max(0, len(text) - over - 8))
    result = assemble(excerpts)
    while excerpts and _encoded_size(result) > limit:
        excerpts.pop()
        result = assemble(excerpts)
    for key in ("memories", "code"):
        if _encoded_size(result) <= limit:
            break
        optional[key] = None
        result = assemble(excerpts)
    return result


def _ask_citations(sections: list[dict[str, Any]], extra: list[dict[str, Any]]) -> list[dict[str, Any]]:
    """The first citations of each section, then ``extra``, each once, up to a cap."""
    candidates = [
        citation
        for section in sections
        for citation in (section.get("citations") or [])[:_ASK_CITATIONS_PER_SECTION]
    ]
    candidates.extend(extra)
    seen = set()
    cited = []
    for citation in candidates:
        place = (citation.get("path"), citation.get("line_start"), citation.get("line_end"))
        if place in seen:
            continue
        seen.add(place)
        cited.append(citation)
        if len(cited) == _ASK_MAX_CITATIONS:
            break
    return cited


def _trimmed(text: str, chars: int) -> str:
    """``text`` cut to at most ``chars`` characters at a word boundary, marked with an ellipsis."""
    if len(text) <= chars:
        return text
    if chars <= 1:
        return ""
    boundary = text.rfind(" ", 0, chars - 1)
    if boundary < chars // 2:
        boundary = chars - 1
    return text[:boundary].rstrip() + "…"


def _encoded_size(result: dict[str, Any]) -> int:
    """Bytes of ``result`` as the MCP text a model reads."""
    return len(tool_result_text(result).encode())


EMPTY_TOOL_RESPONSES: dict[str, dict[str, Any]] = {
    "status": {
        "status": "not_initialized",
        "health": "unknown",
        "branch": None,
        "progress": 0,
        "files_indexed": 0,
        "symbols_indexed": 0,
        "errors_count": 0,
    },
    "search": build_empty_paginated_response("symbols"),
    "symbol": {"found": False, "message": "Repository not initialized"},
    "file": {"error": "Repository not initialized", "symbols": []},
    "files": build_empty_paginated_response("files"),
    "architecture": {"components": []},
    "git": {
        "error": "Repository not initialized",
        "files": [],
        "total_count": 0,
        "truncated": False,
        "has_more": False,
        "offset": 0,
    },
    "quality": {"dead_symbols": [], "total_count": 0, "truncated": False, "has_more": False, "offset": 0},
    "context": {"message": "Repository not initialized", "status": "failed"},
    "tests": {"tests": [], "total_count": 0},
    "explore": {"error": "Repository not initialized", "results": []},
    "remember": {"error": "Repository not initialized"},
    "wiki": {"built": False, "message": "Repository not initialized", "pages": []},
    "force_reindex": {"message": "Repository not initialized", "status": "failed"},
}


def get_empty_response(tool_name: str) -> dict[str, Any]:
    """Get empty response for a tool when repository is not initialized."""
    return copy.deepcopy(EMPTY_TOOL_RESPONSES.get(tool_name, {"error": "Repository not initialized"}))
