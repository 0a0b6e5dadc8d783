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

The text is compact JSON: no white space, members in insertion order, non-ASCII
characters unescaped. A float has the shortest form that reads back as the same
number, always with a point or an exponent. NaN, Infinity and -Infinity are written
as bare words, which JSON (RFC 8259) does not have. A tuple is written as a list, an
instance of a subclass as its base type. Keys may be str, int, float, bool or None;
all are written as strings, and of several keys with the same text the last value is
written.

Raises TypeError for an object of any other type, with the path to it; OverflowError
for an int beyond 64 bits; RecursionError if containers are nested more deeply than
the interpreter's recursion limit (at least 400 and at most 1000 levels).)"},
    {.name = "first_sentence",
     .parameters = {{{"docstring", "str | None"}}},
     .positional = 1,
     .returns = "str | None",
     .body = functions::first_sentence,
     .documentation =
         R"(The first sentence of a docstring's first paragraph, cut to ``SUMMARY_CHARS``.

Two line feeds end a paragraph. Each run of white space inside it becomes one space.
The sentence ends at the first ".", "!" or "?" that is followed by white space.
Returns None if the docstring is None or contains only white space. Lengths are in
code points.

Raises TypeError if ``docstring`` is neither a str nor None.)"},
    {.name = "code_lines",
     .parameters = {{{"root", "Path | None"}, {"places", "Iterable[tuple[str, int]]"}}},
     .positional = 2,
     .returns = "dict[tuple[str, int], str]",
     .body = functions::code_lines,
     .documentation = R"(The lines of code at these places, stripped and cut to ``CODE_LINE_CHARS``.

A place is a path relative to ``root`` and a line number, counted from 1. Returns
{(path, line): text} with an entry for each distinct place that has a line. Each file
is read once, with the GIL released. Files are decoded as UTF-8; invalid bytes become
U+FFFD. A file outside the root, also one that a symlink leads to, gives no entry. A
file that cannot be read gives no entry and is logged at level INFO. If ``root`` is
None, the result is empty and ``places`` is not iterated.

Raises TypeError if ``root`` is not a path of str or None, or if a place is not a pair
of str and int; OverflowError for a line number beyond 64 bits; ValueError for a path
with a null character; UnicodeEncodeError for a path with a lone surrogate that does
not encode a byte; RuntimeError for a path that ends in a symlink loop.)"},
    {.name = "_cut",
     .parameters = {{{"text", "str"}, {"chars", "int"}}},
     .positional = 2,
     .returns = "str",
     .body = functions::cut,
     .documentation =
         R"(``text`` cut to at most ``chars`` characters, the cut marked with an ellipsis.

White space before the ellipsis is removed. A text that is short enough is returned
unchanged. If ``chars`` is less than 1, a longer text becomes the empty string.
Lengths are in code points.)"},
    {.name = "without_nulls",
     .parameters = {{{"row", "dict[str, Any]"}}},
     .positional = 1,
     .returns = "dict[str, Any]",
     .body = functions::without_nulls,
     .documentation =
         R"(The row without its fields that are None: a list row carries only what it knows.

Returns a new dict with the other fields in their order. Only None is removed:
False, 0, "", [] and {} are kept.

Raises TypeError if ``row`` is not a dict.)"},
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

Keys: the names of the first eight parameters, in their order, also if the value is
None. "phase" and "phase_detail" follow, each only if its value is truthy.
``progress`` is a percentage. The values are not checked.)"},
    {.name = "build_symbol_search_result",
     .parameters = {{{"symbol", "Symbol"}, {"file_path", "str | None", none}}},
     .positional = 2,
     .returns = "dict[str, Any]",
     .body = functions::build_symbol_search_result,
     .documentation = R"(Build the row of a symbol a search lists.

Keys: "fqn", "name", "kind", "file", "line", "signature", "summary", each only if its
value is not None. "line" is the symbol's ``start_line`` (counted from 1), "summary"
is the first sentence of its docstring.

The attributes are read in the order of the keys. Raises AttributeError for the first
one that the symbol does not have.)"},
    {.name = "build_symbol_full_details",
     .parameters = {{{"symbol", "Symbol"}, {"file_path", "str | None", none}}},
     .positional = 2,
     .returns = "dict[str, Any]",
     .body = functions::build_symbol_full_details,
     .documentation = R"(Build dict for full symbol details (get_symbol).

Keys, all always present: "found" (True), "fqn", "name", "kind", "file",
"start_line", "end_line", "signature", "is_export", "docstring" (not cut),
"docstring_truncated". Lines are counted from 1.

The attributes are read in the order of the keys. Raises AttributeError for the first
one that the symbol does not have.)"},
    {.name = "outline_module",
     .parameters = {{{"fqns", "Iterable[str]"}}},
     .positional = 1,
     .returns = "str",
     .body = functions::outline_module,
     .documentation =
         R"(The fqn every symbol of a file's outline sits in: the longest dotted prefix they share.

The last part of each fqn does not count, and only whole parts are compared: the
module of "shop.cart.Cart" and "shop.cart.Cart.total" is "shop.cart". Returns the
empty string if nothing is shared. ``fqns`` is iterated once.

Raises TypeError if an fqn is not a str.)"},
    {.name = "build_file_symbol",
     .parameters = {{{"symbol", "Symbol"}, {"module", "str", empty_string}}},
     .positional = 2,
     .returns = "dict[str, Any]",
     .body = functions::build_file_symbol,
     .documentation = R"(Build the compact row of a symbol in a file's outline (``file symbols``).

Keys: "name" (the fqn without ``module`` and the dot after it), "kind", "line",
"end_line" (only if it differs from the start line), "signature", "summary", each only
if its value is not None. Lines are counted from 1.

Raises AttributeError for an attribute that the symbol does not have.)"},
    {.name = "build_api_endpoint",
     .parameters = {{{"symbol", "Symbol"},
                     {"file_path", "str | None", none},
                     {"component_name", "str | None", none}}},
     .positional = 3,
     .returns = "dict[str, Any]",
     .body = functions::build_api_endpoint,
     .documentation = R"(Build dict for API endpoints (get_api_endpoints).

Keys, all always present: "fqn", "name", "kind", "file" ("" without a path), "line",
"signature", "component". "line" is the symbol's ``start_line`` (counted from 1).

Raises AttributeError for an attribute that the symbol does not have.)"},
    {.name = "build_reference",
     .parameters = {{{"reference", "Reference"}, {"code", "str | None", none}}},
     .positional = 2,
     .returns = "dict[str, Any]",
     .body = functions::build_reference,
     .documentation = R"(Build the row of a reference (``symbol references``).

Keys: "file" and "line", None if unknown. "code", "caller", "caller_kind" and
"usage_type" follow, each only if its value is not None. ``code`` is the line that
``code_lines`` returned for the place. "caller" and "caller_kind" are the items "fqn"
and "kind" of the reference's ``caller_symbol``, a dict or None.

Raises AttributeError for an attribute that the reference does not have.)"},
    {.name = "build_component",
     .parameters = {{{"component", "ComponentInfo"}}},
     .positional = 1,
     .returns = "dict[str, Any]",
     .body = functions::build_component,
     .documentation = R"(Build dict for component info (get_components).

Keys, all always present: "name", "layer", "path_pattern", "file_count",
"symbol_count".

Raises AttributeError for an attribute that the component does not have.)"},
    {.name = "build_paginated_response",
     .parameters = {{{"items", "list[Any]"},
                     {"total_count", "int"},
                     {"offset", "int"},
                     {"items_key", "str", items}}},
     .positional = 3,
     .returns = "dict[str, Any]",
     .body = functions::build_paginated_response,
     .documentation = R"(Build paginated response wrapper.

Keys: ``items_key``, "total_count", "truncated", "has_more", "offset". "truncated" and
"has_more" are both True if rows remain after this page, that is, if
``offset + len(items) < total_count``. The rows are copied.

Returns: Dict with items, pagination info, and hint if truncated. The hint is added by
``add_pagination_hint``, whose result is returned unchanged.

Raises TypeError if ``items`` is not a list or tuple, if a count is not a number, or,
with its path, for an object without a JSON representation.)"},
    {.name = "build_test_coverage",
     .parameters = {{{"test_file", "str"},
                     {"source_file", "str"},
                     {"symbols_imported", "list[str] | None", none}}},
     .positional = 3,
     .returns = "dict[str, Any]",
     .body = functions::build_test_coverage,
     .documentation = R"(Build dict for test coverage (get_tests_for, get_code_for_test).

Keys: "test_file", "source_file", then "symbols_imported" if it is not empty.)"},
    {.name = "build_empty_paginated_response",
     .parameters = {{{"items_key", "str", items}}},
     .positional = 1,
     .returns = "dict[str, Any]",
     .body = functions::build_empty_paginated_response,
     .documentation = R"(Build empty paginated response.

The keys of ``build_paginated_response``, with the values of an empty list: [], 0,
False, False, 0. ``add_pagination_hint`` is not called.)"},
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

Keys, all always present: "pages", "total_count", "offset", "truncated" (the
parameter), "has_more" (whether pages remain after these). The pages are copied.

Raises TypeError if ``pages`` is not a list or tuple, if a count is not a number, or,
with its path, for an object without a JSON representation.)"},
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

Keys, all always present: the names of the parameters, in their order. The last three
are [] for None.)"},
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

Keys: "mode", "query", "answer", "sections", "citations", then "model", "tokens",
"note", "decisions", "code" and "memories", each only if its value is not None. The
row of a section has "page_id", "title", "heading", "similarity", "stale" and
"excerpt", which is cut to 1200 characters. Other keys of a section are ignored.
"citations" has the first three of each section, then ``citations``, each place once,
at most 24.

A ``token_budget`` limits the size of the encoded answer; a token is four bytes. A
larger answer is reduced in this order: the excerpts shrink, from the bottom section
up, to about 200 bytes each; then whole sections are dropped from the bottom, then
the memories, then the code. The rest is never cut, and can exceed the budget by
itself, in particular ``answer``.

Raises TypeError, with the path, for a list or dict of another type and for an object
without a JSON representation; with a budget also UnicodeEncodeError for a lone
surrogate, which cannot be encoded as UTF-8.)"},
    {.name = "_ask_citations",
     .parameters = {{{"sections", "list[dict[str, Any]]"}, {"extra", "list[dict[str, Any]]"}}},
     .positional = 2,
     .returns = "list[dict[str, Any]]",
     .body = functions::ask_citations,
     .documentation =
         R"(The first citations of each section, then ``extra``, each once, up to a cap.

Two citations with equal "path", "line_start" and "line_end" are the same place: the
first of them is kept, with all its items. Each section contributes its first three
citations, and the list has at most 24.

Raises TypeError, with the path, if a section or citation is not a dict, or if "path"
or a line is a list or dict.)"},
    {.name = "_trimmed",
     .parameters = {{{"text", "str"}, {"chars", "int"}}},
     .positional = 2,
     .returns = "str",
     .body = functions::trimmed,
     .documentation =
         R"(``text`` cut to at most ``chars`` characters at a word boundary, marked with an ellipsis.

The cut is at the last space in the second half of the allowed length, or anywhere if
there is none. A text that is short enough is returned unchanged. If ``chars`` is less
than 2, a longer text becomes the empty string. Lengths are in code points.)"},
    {.name = "_encoded_size",
     .parameters = {{{"result", "dict[str, Any]"}}},
     .positional = 1,
     .returns = "int",
     .body = functions::encoded_size,
     .documentation = R"(Bytes of ``result`` as the MCP text a model reads.

Equal to ``len(tool_result_text(result).encode())``, but no text is created. Raises
UnicodeEncodeError for a lone surrogate.)"},
    {.name = "get_empty_response",
     .parameters = {{{"tool_name", "str"}}},
     .positional = 1,
     .returns = "dict[str, Any]",
     .body = functions::get_empty_response,
     .documentation = R"(Get empty response for a tool when repository is not initialized.

Returns: Empty response dict appropriate for the tool, a new one at each call. For any
other name it is {"error": "Repository not initialized"}.)"},
}};

}  // namespace mcp_responses
