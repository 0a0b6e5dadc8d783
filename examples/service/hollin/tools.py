"""The handlers of the tools. Each takes the index and checked arguments, and builds its answer with the library."""

from __future__ import annotations

import difflib
import posixpath
from collections.abc import Callable, Iterable
from pathlib import PurePosixPath
from typing import Any

from hollin import mcp_responses as responses
from hollin.arguments import ToolError
from hollin.index import Index, Reference
from hollin.names import Located
from hollin.wiki import DOTTED_NAME, Section, words

Answer = dict[str, Any]

_ASK_SECTIONS = 8
_ASK_SYMBOLS = 3
_NO_MODEL = "No model is configured: these are the sections that share the most words with the question."
_SHOWN_ERRORS = 10
_SHOWN_CALLS = 3


def status(index: Index) -> Answer:
    progress, errors = index.progress, index.tree.errors
    answer: Answer = responses.build_index_status_response(
        "error" if index.failure else "indexing" if progress else "ready",
        "unhealthy" if index.failure else "degraded" if errors else "healthy",
        index.tree.branch,
        progress.percent if progress else 100,
        files_indexed=len(index.sources),
        symbols_indexed=index.symbol_count,
        last_updated=index.updated,
        errors_count=len(errors),
        phase=progress.phase if progress else None,
        phase_detail=f"{progress.done}/{progress.total}" if progress else None,
    )
    if errors:
        answer["errors"] = [f"{path}: {error}" for path, error in sorted(errors.items())[:_SHOWN_ERRORS]]
    return answer


def search(index: Index, query: str, offset: int, limit: int) -> Answer:
    return _page("symbols", index.search(query), _search_row, offset, limit)


def symbol(index: Index, fqn: str, action: str, offset: int, limit: int) -> Answer:
    located = index.names.find(fqn)
    if not located:
        module = index.names.modules.get(fqn)
        reason = f"{fqn} is a module: call file with the path {module.path}." if module else ""
        return _not_found("symbol", fqn, ".", index.names.by_fqn, reason)
    if action == "detail":
        return responses.build_symbol_full_details(located.symbol, located.path)
    # One call reads the lines of code, and only those of this page.
    found = index.references.get(located.symbol.fqn, [])
    places = [(each.file_path, each.line) for each in found[offset : offset + limit]]
    code = responses.code_lines(index.tree.root, places)

    def row(reference: Reference) -> Answer:
        return responses.build_reference(reference, code.get((reference.file_path, reference.line)))

    page = _page("references", found, row, offset, limit)
    unresolved = index.unresolved.get(located.symbol.name)
    if unresolved and located.symbol.kind == "method":
        page["hint"] = f"{page.get('hint', '')} {_unresolved_calls(located, unresolved)}".lstrip()
    return page


def _unresolved_calls(method: Located, places: list[tuple[str, int]]) -> str:
    """Names the calls that are nearest to the method."""
    nearest = sorted(places, key=lambda place: -len(posixpath.commonprefix([place[0], method.path])))
    shown = ", ".join(f"{path}:{line}" for path, line in nearest[:_SHOWN_CALLS])
    name, calls = method.symbol.name, "call" if len(places) == 1 else "calls"
    return f"Not listed: {len(places)} {calls} of {name} on objects of unknown classes, for example in {shown}."


def file(index: Index, path: str, offset: int, limit: int) -> Answer:
    path = index.tree.relative(path)
    source = index.sources.get(path) or index.names.modules.get(path)
    if not source:
        return _not_found("file", path, "/", index.sources, _why_not_a_file(index, path))
    module = responses.outline_module(each.fqn for each in source.symbols) or source.module
    rows = _page("symbols", source.symbols, lambda each: responses.build_file_symbol(each, module), offset, limit)
    return {"file": source.path, "module": module, **rows}


def _why_not_a_file(index: Index, path: str) -> str:
    if path in index.tree.errors:
        return f"{path} cannot be indexed: {index.tree.errors[path]}."
    if path in index.wiki.pages:
        return f"{path} is a document: call wiki with the action read and this page_id."
    folder = path.rstrip("/") + "/" if path else ""
    if any(each.startswith(folder) for each in index.sources):
        return f"{path or 'The root'} is a folder: call files with this path."
    return ""


def files(index: Index, offset: int, limit: int, path: str = "") -> Answer:
    path = index.tree.relative(path)
    rows = [{"path": each, "symbols": len(source.symbols)} for each, source in index.sources.items() if path in each]
    return _page("files", rows, dict, offset, limit)


def architecture(index: Index, action: str, offset: int, limit: int) -> Answer:
    if action == "components":
        return _page("components", index.components, responses.build_component, offset, limit)

    def row(located: Located) -> Answer:
        return responses.build_api_endpoint(*located, index.component_of(located.path))

    return _page("endpoints", index.endpoints, row, offset, limit)


def tests(index: Index, offset: int, limit: int, path: str = "") -> Answer:
    """First the tests of the files with this path, and those whose name contains that of the file."""
    path = index.tree.relative(path)
    found = [each for each in index.coverage if path in each[0] or path in each[1]]
    found.sort(key=lambda each: (path not in each[1], _stem(each[1]) not in _stem(each[0]), -len(each[2])))
    return _page("tests", found, lambda each: responses.build_test_coverage(*each), offset, limit)


def _stem(path: str) -> str:
    return PurePosixPath(path.removesuffix("/__init__.py")).stem


def wiki(index: Index, action: str, offset: int, limit: int, **more: Any) -> Answer:
    if action == "status":
        return _wiki_status(index)
    if action == "list":
        return _wiki_list(index, offset, limit)
    required = {"read": "page_id", "ask": "query"}[action]
    if required not in more:
        raise ToolError(f"{required}: is missing; the action {action} needs it")
    if action == "read":
        return _wiki_read(index, more["page_id"])
    return _wiki_ask(index, more["query"], more.get("token_budget"))


def _wiki_status(index: Index) -> Answer:
    pages = index.wiki.pages
    covered = sum(path in pages for path in index.sources)
    return responses.build_wiki_status_response(
        built=True,
        branch=index.tree.branch or "",
        pages=len(pages),
        files_covered=covered,
        total_sources=len(index.sources),
        coverage_pct=round(100 * covered / max(1, len(index.sources)), 1),
        last_built=index.updated,
        stale_pages=[path for path in pages if index.tree.is_stale(path)],
        enabled=True,
    )


def _wiki_list(index: Index, offset: int, limit: int) -> Answer:
    pages = sorted(index.wiki.pages.items())
    rows = [{"page_id": path, "title": page.title, "sections": len(page.sections)}
            for path, page in pages[offset : offset + limit]]
    return responses.build_wiki_list_response(rows, len(pages), offset, offset + len(rows) < len(pages))


def _wiki_read(index: Index, page_id: str) -> Answer:
    page_id = index.tree.relative(page_id)
    page = index.wiki.pages.get(page_id)
    if not page:
        return _not_found("page", page_id, "/", index.wiki.pages)
    return responses.build_wiki_read_response(
        page_id=page_id,
        title=page.title,
        content=page.content,
        citations=[section.citation() for section in page.sections],
        source_files=[page.path],
        related_pages=index.related_pages(page_id),
    )


def _wiki_ask(index: Index, query: str, token_budget: int | None) -> Answer:
    sections = index.wiki.best_sections(query, _ASK_SECTIONS)
    named, unknown = _named_symbols(index, query), index.wiki.unknown_words(query)
    answer: Answer = responses.build_wiki_ask_response(
        mode="sections",
        query=query,
        answer=None,
        sections=[_ask_section(index, score, section) for score, section in sections],
        citations=[{"path": path, "line_start": each.start_line, "line_end": each.end_line} for each, path in named],
        note=f"{_NO_MODEL} No section contains: {', '.join(unknown)}." if unknown else _NO_MODEL,
        code={"symbols": [_search_row(hit) for hit in named]} if named else None,
        token_budget=token_budget,
    )
    if sections and not answer["sections"]:  # this note is shorter, so the answer still fits
        answer["note"] = f"The token_budget is too small for any of the {len(sections)} sections that were found."
    return answer


def _named_symbols(index: Index, query: str) -> list[Located]:
    """The symbols that a question names: by dotted names, then by one of its words."""
    query_words = words(query)
    found = [index.names.find(name) for name in DOTTED_NAME.findall(query) if "." in name]
    found += [hit for hit in index.names.by_fqn.values() if hit.symbol.name.lower() in query_words]
    return [*{hit.symbol.fqn: hit for hit in found if hit}.values()][:_ASK_SYMBOLS]


def _ask_section(index: Index, score: float, section: Section) -> Answer:
    return {
        "page_id": section.page.path,
        "title": section.page.title,
        "heading": section.heading,
        "similarity": score,
        "stale": index.tree.is_stale(section.page.path),
        "excerpt": section.text,
        "citations": [section.citation()],
    }


def _search_row(located: Located) -> Answer:
    return responses.build_symbol_search_result(located.symbol, located.path)


def _page(key: str, found: list[Any], row: Callable[[Any], Answer], offset: int, limit: int) -> Answer:
    """Builds only the rows of this page."""
    rows = [row(each) for each in found[offset : offset + limit]]
    return responses.build_paginated_response(rows, len(found), offset, items_key=key)


def _not_found(kind: str, name: str, separator: str, names: Iterable[str], reason: str = "") -> Answer:
    """An answer with the reason, or with the most similar names, of those whose last part is similar."""
    last_parts = {each: each.rpartition(separator)[2] for each in (name, *names)}
    similar = difflib.get_close_matches(last_parts.pop(name), {*last_parts.values()}, n=5)
    candidates = [each for each, last in last_parts.items() if last in similar]
    nearest = difflib.get_close_matches(name, candidates, n=5, cutoff=0)
    message = reason or f"No {kind} is named {name}. Nearest: {', '.join(nearest) or 'none'}."
    return {"found": False, "message": message}
