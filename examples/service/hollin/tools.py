"""The service's tools: each takes the index and checked arguments, and answers through the library."""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Any

from hollin import mcp_responses as responses
from hollin.arguments import PAGING, ArgumentError, choice, integer, object_schema, text
from hollin.index import Index, Located
from hollin.wiki import Section, words

Answer = dict[str, Any]

_ASK_SECTIONS = 8
_ASK_SYMBOLS = 3
_NO_MODEL = "No model is configured: the sections are those that share most words with the question."


def status(index: Index) -> Answer:
    now = index.progress
    return responses.build_index_status_response(
        "error" if index.failure else "indexing" if now else "ready",
        "unhealthy" if index.failure else "degraded" if index.skipped else "healthy",
        index.branch,
        now.percent if now else 100,
        files_indexed=len(index.files),
        symbols_indexed=len(index.symbols),
        last_updated=index.updated,
        errors_count=len(index.skipped),
        phase=now.phase if now else None,
        phase_detail=f"{now.done}/{now.total}" if now else None,
    )


def search(index: Index, query: str, offset: int, limit: int) -> Answer:
    return _page("symbols", index.search(query), _search_row, offset, limit)


def symbol(index: Index, fqn: str, action: str, offset: int, limit: int) -> Answer:
    located = index.by_fqn.get(fqn)
    if not located:
        return {"found": False, "message": f"No symbol is called {fqn}"}
    if action == "detail":
        return responses.build_symbol_full_details(located.symbol, located.path)
    return _references(index, located.symbol.name, offset, limit)


def _references(index: Index, name: str, offset: int, limit: int) -> Answer:
    """The lines of code are looked up for the rows of this page only, in one call."""
    found = index.references.get(name, [])
    shown = found[offset : offset + limit]
    code = responses.code_lines(index.root, ((each.file_path, each.line) for each in shown))
    rows = [responses.build_reference(each, code.get((each.file_path, each.line))) for each in shown]
    return responses.build_paginated_response(rows, len(found), offset, items_key="references")


def file(index: Index, path: str) -> Answer:
    symbols = index.files.get(path)
    if symbols is None:
        raise ArgumentError("path", "is not a file of the index; the tool files lists them")
    module = responses.outline_module(each.fqn for each in symbols)
    rows = [responses.build_file_symbol(each, module) for each in symbols]
    return {"file": path, "module": module, "symbols": rows}


def files(index: Index, offset: int, limit: int) -> Answer:
    rows = [{"path": path, "symbols": len(symbols)} for path, symbols in index.files.items()]
    return _page("files", rows, dict, offset, limit)


def architecture(index: Index, offset: int, limit: int) -> Answer:
    """A page of the components and, under a key of its own, the same page of the API endpoints."""

    def endpoint(located: Located) -> Answer:
        return responses.build_api_endpoint(*located, index.component_of(located.path))

    answer = _page("components", index.components, responses.build_component, offset, limit)
    answer["api"] = _page("endpoints", index.endpoints, endpoint, offset, limit)
    return answer


def tests(index: Index, offset: int, limit: int) -> Answer:
    return _page("tests", index.coverage, lambda each: responses.build_test_coverage(*each), offset, limit)


def wiki(index: Index, action: str, offset: int, limit: int, **more: Any) -> Answer:
    if action == "status":
        return _wiki_status(index)
    if action == "list":
        return _wiki_list(index, offset, limit)
    needed = {"read": "page_id", "ask": "query"}[action]
    if needed not in more:
        raise ArgumentError(needed, f"is missing; the action {action} needs it")
    if action == "read":
        return _wiki_read(index, more["page_id"])
    return _wiki_ask(index, more["query"], more.get("token_budget"))


def _wiki_status(index: Index) -> Answer:
    pages = index.wiki.pages
    covered = sum(path in pages for path in index.files)
    return responses.build_wiki_status_response(
        built=True,
        branch=index.branch or "",
        pages=len(pages),
        files_covered=covered,
        total_sources=len(index.files),
        coverage_pct=round(100 * covered / max(1, len(index.files)), 1),
        last_built=index.updated,
        stale_pages=[path for path, page in pages.items() if index.wiki.is_stale(page)],
        enabled=True,
    )


def _wiki_list(index: Index, offset: int, limit: int) -> Answer:
    pages = list(index.wiki.pages.values())
    rows = [
        {"page_id": page.path, "title": page.title, "sections": len(page.sections)}
        for page in pages[offset : offset + limit]
    ]
    return responses.build_wiki_list_response(rows, len(pages), offset, offset + len(rows) < len(pages))


def _wiki_read(index: Index, page_id: str) -> Answer:
    page = index.wiki.pages.get(page_id)
    if not page:
        raise ArgumentError("page_id", "is not a page of the wiki; the action list lists them")
    return responses.build_wiki_read_response(
        page_id=page_id,
        title=page.title,
        content=page.content,
        citations=[section.citation() for section in page.sections],
        source_files=[page.path],
        related_pages=index.wiki.related_pages(page),
    )


def _wiki_ask(index: Index, query: str, token_budget: int | None) -> Answer:
    named = [hit for word in sorted(words(query)) for hit in index.by_name.get(word, ())][:_ASK_SYMBOLS]
    sections = index.wiki.best_sections(query, _ASK_SECTIONS)
    return responses.build_wiki_ask_response(
        mode="sections",
        query=query,
        answer=None,
        sections=[_ask_section(index, score, section) for score, section in sections],
        citations=[{"path": path, "line_start": each.start_line, "line_end": each.end_line} for each, path in named],
        note=_NO_MODEL,
        code={"symbols": [_search_row(hit) for hit in named]} if named else None,
        token_budget=token_budget,
    )


def _ask_section(index: Index, score: float, section: Section) -> Answer:
    return {
        "page_id": section.page.path,
        "title": section.page.title,
        "heading": section.heading,
        "similarity": score,
        "stale": index.wiki.is_stale(section.page),
        "excerpt": section.text,
        "citations": [section.citation()],
    }


def _search_row(located: Located) -> Answer:
    return responses.build_symbol_search_result(located.symbol, located.path)


def _page(key: str, found: list[Any], row: Callable[[Any], Answer], offset: int, limit: int) -> Answer:
    """Only the rows of this page are built."""
    rows = [row(each) for each in found[offset : offset + limit]]
    return responses.build_paginated_response(rows, len(found), offset, items_key=key)


@dataclass(frozen=True)
class Tool:
    """A tool without a handler is known to clients of the service, but this example does not answer it."""

    title: str
    description: str
    arguments: dict[str, Any] = field(default_factory=object_schema)
    handler: Callable[..., Answer] | None = None


TOOLS = {
    "status": Tool("State of the index", "State of the index: progress, counters, errors.", handler=status),
    "search": Tool(
        "Search symbols",
        "Symbols whose fully qualified name holds every word of the query.",
        object_schema("query", query=text("Words or parts of names"), **PAGING),
        search,
    ),
    "symbol": Tool(
        "One symbol",
        "One symbol's details, or the calls of its name with their lines of code.",
        object_schema(
            "fqn",
            fqn=text("Fully qualified name, as search lists it"),
            action=choice("What to tell", "detail", "references", default="detail"),
            **PAGING,
        ),
        symbol,
    ),
    "file": Tool(
        "Outline of a file",
        "Outline of one file: every symbol, named within the file's module.",
        object_schema("path", path=text("The file's path from the root, as files lists it")),
        file,
    ),
    "files": Tool("Files", "The files of the index.", object_schema(**PAGING), files),
    "architecture": Tool(
        "Architecture",
        "Top-level packages with their counts, and the API endpoints.",
        object_schema(**PAGING),
        architecture,
    ),
    "git": Tool("History", "History of the repository."),
    "quality": Tool("Quality", "Code that nothing refers to."),
    "context": Tool("Context", "Context for a task."),
    "tests": Tool(
        "Tests", "Test files, and what each imports from which source file.", object_schema(**PAGING), tests
    ),
    "explore": Tool("Explore", "Search by meaning."),
    "remember": Tool("Remember", "Keeps a note about the repository."),
    "wiki": Tool(
        "Wiki",
        "The repository's wiki: its status, its pages, one page, or the sections that answer a question.",
        object_schema(
            "action",
            action=choice("What to do", "status", "list", "read", "ask"),
            page_id=text("The page to read, as list names it; needed by read"),
            query=text("The question; needed by ask"),
            token_budget=integer("Most tokens of the answer of ask, 4 bytes each; without it the answer is whole", 0),
            **PAGING,
        ),
        wiki,
    ),
    "force_reindex": Tool("Index anew", "Builds the index anew."),
}
