// The module's functions: parameters, annotations, documentation and bodies. A new function is one more
// entry here, and its body in functions.cc.
#include "function_type.h"
#include "functions.h"

namespace mcp_responses {
namespace {

using enum Default;

}  // namespace

const std::array<Signature, 24> signatures{{
    {.name = "tool_result_text",
     .parameters = {{{"result", "Any"}}},
     .positional = 1,
     .returns = "str",
     .body = functions::tool_result_text,
     .documentation = R"(Encode a tool's result as the ``text`` of an MCP content block.

Compact JSON (RFC 8259): no white space, members in insertion order, non-ASCII
characters as themselves. Floats have the shortest form that reads back as the
same number, always with a point or an exponent; NaN, Infinity and -Infinity are
bare words. Tuples are written as lists, keys that are int, float, bool or None
as their text, instances of subclasses as their base type.

Raises TypeError for anything else, saying where it stands, OverflowError for an
int beyond 64 bits, RecursionError for nesting deeper than the interpreter's recursion
limit, which counts as at least 400 and at most 1000.)"},
    {.name = "first_sentence",
     .parameters = {{{"docstring", "str | None"}}},
     .positional = 1,
     .returns = "str | None",
     .body = functions::first_sentence,
     .documentation =
         R"(The first sentence of a docstring's first paragraph, cut to ``SUMMARY_CHARS``.

Paragraphs are parted by two line feeds; white space inside the paragraph becomes
single spaces; the sentence ends at the first ".", "!" or "?" before white space.
None when there is no docstring or no text in it. Lengths are code points.

Raises TypeError for what is neither str nor None.)"},
    {.name = "code_lines",
     .parameters = {{{"root", "Path | None"}, {"places", "Iterable[tuple[str, int]]"}}},
     .positional = 2,
     .returns = "dict[tuple[str, int], str]",
     .body = functions::code_lines,
     .documentation = R"(The lines of code at these places, stripped and cut to ``CODE_LINE_CHARS``.

A place is a path relative to ``root`` and a 1-based line number. The result is
{(path, line): text}, with an entry for each distinct place that has a line. Each
file is read once, with the interpreter's lock released, as UTF-8 with U+FFFD for
what is not. A file outside the root, also by way of a link, gives nothing; one that
cannot be read is logged at info level and gives nothing. Without a root the result
is empty and ``places`` is not read.

Raises TypeError for a root that is no path of str and for a place that is no pair of str
and int, OverflowError for a line beyond 64 bits, and for a path that is none ValueError
(a NUL), UnicodeEncodeError (a lone surrogate) or RuntimeError (a circle of links).)"},
    {.name = "_cut",
     .parameters = {{{"text", "str"}, {"chars", "int"}}},
     .positional = 2,
     .returns = "str",
     .body = functions::cut,
     .documentation =
         R"(``text`` cut to at most ``chars`` characters, the cut marked with an ellipsis.

A text that fits comes back as it is. White space before the ellipsis goes. Below 1
character a longer text becomes the empty text. Lengths are code points.)"},
    {.name = "without_nulls",
     .parameters = {{{"row", "dict[str, Any]"}}},
     .positional = 1,
     .returns = "dict[str, Any]",
     .body = functions::without_nulls,
     .documentation =
         R"(The row without its fields that are None: a list row carries only what it knows.

A new dict with the other fields in their order; False, 0, "", [] and {} stay.

Raises TypeError for what is no dict.)"},
    {.name = "build_index_status_response",
     .parameters = {{{"status",
                      "Literal['ready', 'indexing', 'error', 'stopped', 'not_initialized']"},
                     {"health", "Literal['healthy', 'degraded', 'unhealthy', 'unknown']"},
                     {"branch", "str | None"},
                     {"progress", "int"},
                     {"files_indexed", "int", zero},
                     {"symbols_indexed", "int", zero},
                     {"last_updated", "str | None", none},
                     {"errors_count", "int", zero},
                     {"phase", "str | None", none},
                     {"phase_detail", "str | None", none}}},
     .positional = 10,
     .returns = "dict[str, Any]",
     .body = functions::build_index_status_response,
     .documentation = R"(Build dict for index_status response.

Keys: the first eight parameters' names, in their order, None included; then
"phase" and "phase_detail", each only when truthy. ``progress`` is meant to be 0 to
100. No value is checked or clamped.)"},
    {.name = "build_symbol_search_result",
     .parameters = {{{"symbol", "Symbol"}, {"file_path", "str | None", none}}},
     .positional = 2,
     .returns = "dict[str, Any]",
     .body = functions::build_symbol_search_result,
     .documentation = R"(Build the row of a symbol a search lists.

Keys: "fqn", "name", "kind", "file", "line", "signature", "summary", each only when
it is not None. "line" is the symbol's ``start_line`` (1-based), "summary" the first
sentence of its docstring. The attributes are read in the order of the keys; the
record's AttributeError comes through for one that it lacks.)"},
    {.name = "build_symbol_full_details",
     .parameters = {{{"symbol", "Symbol"}, {"file_path", "str | None", none}}},
     .positional = 2,
     .returns = "dict[str, Any]",
     .body = functions::build_symbol_full_details,
     .documentation = R"(Build dict for full symbol details (get_symbol).

Keys, all always present: "found" (True), "fqn", "name", "kind", "file",
"start_line", "end_line", "signature", "is_export", "docstring" (whole),
"docstring_truncated". Lines are 1-based. The attributes are read in the order of the
keys; the record's AttributeError comes through for one that it lacks.)"},
    {.name = "outline_module",
     .parameters = {{{"fqns", "Iterable[str]"}}},
     .positional = 1,
     .returns = "str",
     .body = functions::outline_module,
     .documentation =
         R"(The fqn every symbol of a file's outline sits in: the longest dotted prefix they share.

Each fqn counts without its last part, and parts are compared whole. Empty when
nothing is shared. ``fqns`` is read once.

Raises TypeError for an fqn that is no str.)"},
    {.name = "build_file_symbol",
     .parameters = {{{"symbol", "Symbol"}, {"module", "str", empty_string}}},
     .positional = 2,
     .returns = "dict[str, Any]",
     .body = functions::build_file_symbol,
     .documentation = R"(Build the compact row of a symbol in a file's outline (``file symbols``).

Keys: "name" (the fqn without ``module`` and its dot), "kind", "line", "end_line"
(only when it differs from the start line), "signature", "summary", each only when
it is not None. Lines are 1-based. The record's AttributeError comes through for an
attribute that it lacks.)"},
    {.name = "build_api_endpoint",
     .parameters = {{{"symbol", "Symbol"},
                     {"file_path", "str | None", none},
                     {"component_name", "str | None", none}}},
     .positional = 3,
     .returns = "dict[str, Any]",
     .body = functions::build_api_endpoint,
     .documentation = R"(Build dict for API endpoints (get_api_endpoints).

Keys, all always present: "fqn", "name", "kind", "file" ("" without a path), "line",
"signature", "component". "line" is the symbol's ``start_line`` (1-based). The record's
AttributeError comes through for an attribute that it lacks.)"},
    {.name = "build_reference",
     .parameters = {{{"reference", "Reference"}, {"code", "str | None", none}}},
     .positional = 2,
     .returns = "dict[str, Any]",
     .body = functions::build_reference,
     .documentation = R"(Build the row of a reference (``symbol references``).

Keys: "file" and "line", None when unknown, then "code", "caller", "caller_kind" and
"usage_type", each only when known. ``code`` is the line that ``code_lines`` found.
"caller" and "caller_kind" are "fqn" and "kind" of the record's ``caller_symbol``, a
dict or None. The record's AttributeError comes through for an attribute that it lacks.)"},
    {.name = "build_component",
     .parameters = {{{"component", "ComponentInfo"}}},
     .positional = 1,
     .returns = "dict[str, Any]",
     .body = functions::build_component,
     .documentation = R"(Build dict for component info (get_components).

Keys, all always present: "name", "layer", "path_pattern", "file_count",
"symbol_count". The record's AttributeError comes through for an attribute that it
lacks.)"},
    {.name = "build_paginated_response",
     .parameters = {{{"items", "list[Any]"},
                     {"total_count", "int"},
                     {"offset", "int"},
                     {"items_key", "str", items}}},
     .positional = 3,
     .returns = "dict[str, Any]",
     .body = functions::build_paginated_response,
     .documentation = R"(Build paginated response wrapper.

Keys: ``items_key``, "total_count", "truncated", "has_more", "offset". Both flags tell
whether rows remain past this page: ``offset + len(items) < total_count``. The rows
are copied.

Returns: Dict with items, pagination info, and hint if truncated. The hint is the
work of ``add_pagination_hint``, whose result is returned as it is.

Raises TypeError when ``items`` is no list or a count no number, and, saying where, for
a row with something in it that no answer can carry.)"},
    {.name = "build_test_coverage",
     .parameters = {{{"test_file", "str"},
                     {"source_file", "str"},
                     {"symbols_imported", "list[str] | None", none}}},
     .positional = 3,
     .returns = "dict[str, Any]",
     .body = functions::build_test_coverage,
     .documentation = R"(Build dict for test coverage (get_tests_for, get_code_for_test).

Keys: "test_file", "source_file", then "symbols_imported" when it is not empty.)"},
    {.name = "build_empty_paginated_response",
     .parameters = {{{"items_key", "str", items}}},
     .positional = 1,
     .returns = "dict[str, Any]",
     .body = functions::build_empty_paginated_response,
     .documentation = R"(Build empty paginated response.

The keys of ``build_paginated_response`` without rows: [], 0, False, False, 0.)"},
    {.name = "build_wiki_status_response",
     .parameters = {{{"built", "bool"},
                     {"branch", "str"},
                     {"pages", "int", zero},
                     {"files_covered", "int", zero},
                     {"total_sources", "int", zero},
                     {"coverage_pct", "float", zero_real},
                     {"last_built", "str | None", none},
                     {"model", "str | None", none},
                     {"stale_pages", "list[str] | None", none},
                     {"enabled", "bool", no},
                     {"configured", "bool", no}}},
     .positional = 0,
     .returns = "dict[str, Any]",
     .body = functions::build_wiki_status_response,
     .documentation = R"(Build a response for wiki(action='status').

Keys, all always present: "built", "branch", "enabled", "configured", "pages",
"files_covered", "total_sources", "coverage_pct" (a percentage), "last_built",
"model", "stale_pages" ([] for None).)"},
    {.name = "build_wiki_list_response",
     .parameters = {{{"pages", "list[dict[str, Any]]"},
                     {"total", "int"},
                     {"offset", "int", zero},
                     {"truncated", "bool", no}}},
     .positional = 4,
     .returns = "dict[str, Any]",
     .body = functions::build_wiki_list_response,
     .documentation = R"(Build a response for wiki(action='list').

Keys, all always present: "pages", "total_count", "offset", "truncated" (the caller's
flag), "has_more" (whether pages remain past these).

Raises TypeError when ``pages`` is no list or a count no number, and, saying where, for
a page with something in it that no answer can carry.)"},
    {.name = "build_wiki_read_response",
     .parameters = {{{"page_id", "str"},
                     {"title", "str"},
                     {"content", "str"},
                     {"citations", "list[dict[str, Any]] | None", none},
                     {"source_files", "list[str] | None", none},
                     {"related_pages", "list[str] | None", none}}},
     .positional = 0,
     .returns = "dict[str, Any]",
     .body = functions::build_wiki_read_response,
     .documentation = R"(Build a response for wiki(action='read').

Keys, all always present: the parameters' names, in their order; the three lists are
[] for None.)"},
    {.name = "build_wiki_ask_response",
     .parameters = {{{"mode", "str"},
                     {"query", "str"},
                     {"answer", "str | None"},
                     {"sections", "list[dict[str, Any]]"},
                     {"citations", "list[dict[str, Any]] | None", none},
                     {"model", "str | None", none},
                     {"tokens", "dict[str, int] | None", none},
                     {"note", "str | None", none},
                     {"decisions", "dict[str, Any] | None", none},
                     {"code", "dict[str, Any] | None", none},
                     {"memories", "dict[str, Any] | None", none},
                     {"token_budget", "int | None", none}}},
     .positional = 0,
     .returns = "dict[str, Any]",
     .body = functions::build_wiki_ask_response,
     .documentation = R"(Build a response for wiki(action='ask').

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
cannot, and with a budget UnicodeEncodeError for a lone surrogate, which has no size.)"},
    {.name = "_ask_citations",
     .parameters = {{{"sections", "list[dict[str, Any]]"}, {"extra", "list[dict[str, Any]]"}}},
     .positional = 2,
     .returns = "list[dict[str, Any]]",
     .body = functions::ask_citations,
     .documentation =
         R"(The first citations of each section, then ``extra``, each once, up to a cap.

Citations with equal "path", "line_start" and "line_end" are the same place; the first
of them stays, whole. Three a section, 24 in all.

Raises TypeError, saying where, for a section or citation that is no dict, and for a
place made of a list or dict.)"},
    {.name = "_trimmed",
     .parameters = {{{"text", "str"}, {"chars", "int"}}},
     .positional = 2,
     .returns = "str",
     .body = functions::trimmed,
     .documentation =
         R"(``text`` cut to at most ``chars`` characters at a word boundary, marked with an ellipsis.

The boundary is the last space in the second half of that length; without one the cut
is hard. Below 2 characters a longer text becomes the empty text.)"},
    {.name = "_encoded_size",
     .parameters = {{{"result", "dict[str, Any]"}}},
     .positional = 1,
     .returns = "int",
     .body = functions::encoded_size,
     .documentation = R"(Bytes of ``result`` as the MCP text a model reads.

The length of ``tool_result_text(result)`` in UTF-8, without making it. Raises
UnicodeEncodeError for a lone surrogate, which has no UTF-8.)"},
    {.name = "get_empty_response",
     .parameters = {{{"tool_name", "str"}}},
     .positional = 1,
     .returns = "dict[str, Any]",
     .body = functions::get_empty_response,
     .documentation = R"(Get empty response for a tool when repository is not initialized.

Returns: Empty response dict appropriate for the tool, the caller's own; for a name
that is no tool, {"error": "Repository not initialized"}.)"},
}};

}  // namespace mcp_responses
