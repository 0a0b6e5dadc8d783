"""The benchmark cases and the smallest acceptable ratio of each.

A statement is timed with the functions of the extension and with those of plain_python. Its other names are defined in
payloads.
"""

from __future__ import annotations

from dataclasses import dataclass
from types import ModuleType

import payloads
import plain_python as plain


@dataclass(frozen=True)
class Case:
    group: str
    name: str
    statement: str
    at_least: float = 0  # plain Python's time divided by ours; 0 if the case has none
    is_text: bool = False  # other encoders can be compared
    factory: str = ""  # the function of payloads that creates the object `new` before each call

    def __str__(self) -> str:
        return f"{self.group}, {self.name}"


def search(api: ModuleType) -> str:
    rows = [api.build_symbol_search_result(symbol, path) for symbol, path in payloads.hits]
    return api.tool_result_text(api.build_paginated_response(rows, 57, 0, items_key="symbols"))


def references(api: ModuleType) -> str:
    shown = payloads.references
    code = api.code_lines(payloads.root, [(each.file_path, each.line) for each in shown])
    rows = [api.build_reference(each, code.get((each.file_path, each.line))) for each in shown]
    return api.tool_result_text(api.build_paginated_response(rows, 57, 0, items_key="references"))


def ask(api: ModuleType) -> str:
    answer = api.build_wiki_ask_response(**payloads.questions[8], token_budget=payloads.budgets[8])
    return api.tool_result_text(answer)


def outline(api: ModuleType) -> str:
    module = api.outline_module([each.fqn for each in payloads.symbols])
    rows = [api.build_file_symbol(each, module) for each in payloads.symbols]
    return api.tool_result_text({"file": "shop/orders.py", "module": module, "symbols": rows})


WHOLE_ANSWERS = (search, references, ask, outline)


def _text(name: str, data: str, at_least: float) -> Case:
    text = plain.tool_result_text(getattr(payloads, data))
    name = name.format(len(text) // max(1, text.count("\\")))
    size = f"{len(text.encode()) / 1000:.0f} KB"
    return Case("tool_result_text", f"{name}, {size}", f"tool_result_text({data})", at_least, is_text=True)


def _text_of_new(name: str, factory: str) -> Case:
    return Case("new objects", f"{name}, text", "tool_result_text(new)", is_text=True, factory=factory)


def _numbers(name: str, at_least: float) -> Case:
    return Case("lists of 10,000 numbers", name, f"tool_result_text(NUMBERS[{name!r}])", at_least, is_text=True)


def _record(name: str) -> Case:
    statement = "build_symbol_search_result(RECORDS[{0!r}], 'shop/cart.py'), build_symbol_full_details(RECORDS[{0!r}])"
    return Case("kinds of records, search row and details", name, statement.format(name), 3)


_SEARCH_ROW = "build_symbol_search_result({0}, 'shop/cart.py')"
_NEW_ROWS = f"[{_SEARCH_ROW.format('each')} for each in new]"
_TWO_CLASSES = "build_symbol_full_details({0}, 'shop/cart.py'), build_symbol_full_details({1}, 'shop/cart.py')"
_DETAILS = "build_symbol_full_details(symbol, 'shop/cart.py')"
_ENDPOINT = "build_api_endpoint(symbol, 'shop/cart.py', 'orders')"
_COMPONENT = "build_component(component)"
_STATUS = "build_index_status_response('ready', 'healthy', 'main', 100, 812, 10231, '2024-05-01T12:00:00Z', 2)"
_WIKI_STATUS = "build_wiki_status_response(built=True, branch='main', pages=31, files_covered=700, total_sources=812)"
_CITATIONS = "_ask_citations(questions[8]['sections'], questions[8]['citations'])"
_COPIES = (_DETAILS, _ENDPOINT, _COMPONENT, _STATUS)
_OTHERS = {
    "outline_module, 20 symbols": "outline_module(fqns)",
    "test coverage": "build_test_coverage('tests/test_cart.py', 'shop/cart.py', ['Cart', 'total'])",
    "empty page": "build_empty_paginated_response()",
    "answer before a repository is initialised": "get_empty_response('status')",
    "list of 90 wiki pages, not copied by plain Python": "build_wiki_list_response(wiki_page['pages'], 90)",
    "wiki page": "build_wiki_read_response(page_id='p', title='Cart', content='text', source_files=FILES)",
}
_NUMBER_MINIMUMS = {
    "integers below 10,000": 11,
    "integers of 9 digits": 8.8,
    "integers of 15 digits": 4.2,
    "negative integers": 10,
    "floats with 2 decimals": 16,
    "floats with 4 decimals": 16.5,
    "integral floats": 12.5,
    "floats of 17 digits below 1": 17.5,
    "floats of 17 digits to a million": 17.5,
    "floats with any exponent": 36,
}
_ASK_MINIMUMS = {8: 33, 64: 160, 512: 800}
_WHOLE_MINIMUMS = {"search": 5, "references": 4, "ask": 28, "outline": 5.5}
_ASK = "build_wiki_ask_response(**questions[{0}], token_budget=budgets[{0}])"

CASES = [
    _text("page of 20 rows", "page", 13.5),
    _text("ask answer, ASCII", "ask_ascii", 15),
    _text("ask answer, ASCII cut with an ellipsis", "ask_cut", 10.5),
    _text("ask answer, accents", "ask_accents", 15),
    _text("ask answer, CJK", "ask_cjk", 9),
    _text("ask answer, emoji", "ask_emoji", 7.5),
    _text("wiki pages, an escape in {} characters", "wiki_page", 24),
    _text("source code, an escape in {} characters", "code_page", 12),
    _text("1,000 rows with 17-digit floats", "floats_page", 13),
    *(_numbers(name, minimum) for name, minimum in _NUMBER_MINIMUMS.items()),
    _text_of_new("page of 20 rows", "new_page"),
    _text_of_new("ask answer, ASCII cut with an ellipsis", "new_ask_cut"),
    Case("new objects", "20 symbol search rows", _NEW_ROWS, factory="new_symbols"),
    Case("_encoded_size", "ask answer, ASCII", "_encoded_size(ask_ascii)", 17),
    Case("_encoded_size", "ask answer, ASCII cut with an ellipsis", "_encoded_size(ask_cut)", 14),
    *(Case("first_sentence", name, f"first_sentence({text!r})", 9) for name, text in payloads.DOCSTRINGS.items()),
    Case("first_sentence", "all of these", "list(map(first_sentence, docstrings))", 9),
    Case("rows", "symbol search row", _SEARCH_ROW.format("symbol"), 6),
    Case("rows", "outline row", "build_file_symbol(symbol, 'shop.orders')", 5),
    Case("rows", "reference", "build_reference(reference, 'total = cart.total()')", 2.3),
    Case("rows", "page of 20 rows, not copied by plain Python", "build_paginated_response(rows, 57, 0)"),
    Case("rows that only copy", "details, endpoint, component, status", f"({', '.join(_COPIES)})", 0.7),
    Case("rows that only copy", "full details", _DETAILS, 0.8),
    Case("rows that only copy", "endpoint", _ENDPOINT, 0.8),
    Case("rows that only copy", "component", _COMPONENT, 0.7),
    Case("rows that only copy", "index status", _STATUS, 0.9),
    Case("rows that only copy", "wiki status", _WIKI_STATUS, 1.1),
    *(_record(name) for name in payloads.RECORDS),
    Case("two records of", "one class", _TWO_CLASSES.format("symbol", "symbols[1]"), 0.85),
    Case("two records of", "two classes", _TWO_CLASSES.format("symbol", "other_symbol"), 0.85),
    Case("other functions", "_cut", "_cut(docstrings[1], 200)", 1.3),
    Case("other functions", "_trimmed", "_trimmed(docstrings[1], 200)", 2.1),
    Case("other functions", "without_nulls", "without_nulls(rows[0])", 2.7),
    Case("other functions", "_ask_citations, 8 sections", _CITATIONS, 0.95),
    *(Case("other functions", name, statement) for name, statement in _OTHERS.items()),
    *(Case("ask with a budget", f"{n} sections", _ASK.format(n), minimum) for n, minimum in _ASK_MINIMUMS.items()),
    Case("ask without a budget", "8 sections", "build_wiki_ask_response(**questions[8])", 0.92),
    Case("code_lines", "20 files of 20 KB, 3 lines each", "code_lines(root, places)", 5),
    *(Case("records to text", name, f"{name}(api)", minimum) for name, minimum in _WHOLE_MINIMUMS.items()),
    Case("a call", "that does nothing", "first_sentence(None)"),
    Case("a call", "with keyword names from JSON, which are not interned", "_cut(**CUT)", 0.8),
]

# The group, the two cases whose times are divided, and the largest acceptable quotient of ours.
GROWTH = ("ask with a budget", "512 sections", "8 sections", 80)

# Name, payload, and the largest acceptable amount of fresh memory, in sizes of the text.
MEMORY = [
    ("wiki pages", "wiki_page", 1.2),
    ("wiki pages, the last one an ellipsis", "wiki_page_cut", 1.2),
]

# Texts encoded in a separate process. By name: payload and the smallest acceptable ratio.
FRESH = {
    "ask answer, cut": ("ask_cut", 8.5),
    "ask answer, emoji": ("ask_emoji", 0),
    "wiki pages": ("wiki_page", 0),
}

# The rows of the chart. The keys are the case's group and the beginning of its name.
CHART = {
    ("tool_result_text", "page of 20 rows"): "text of a page",
    ("tool_result_text", "ask answer, ASCII cut with an ellipsis"): "text of an ask answer",
    ("tool_result_text", "ask answer, CJK"): "the same in Chinese and Japanese",
    ("tool_result_text", "ask answer, emoji"): "the same with emoji",
    ("tool_result_text", "1,000 rows with 17-digit floats"): "text of 1,000 rows of floats",
    ("rows", "symbol search row"): "a row of a search",
    ("rows that only copy", "details, endpoint, component, status"): "rows that only copy",
    ("ask with a budget", "8 sections"): "ask fitted to a budget",
    ("records to text", "search"): "whole search, records to text",
    ("records to text", "references"): "whole references, files read",
    ("records to text", "outline"): "whole outline",
    ("records to text", "ask"): "whole ask, budget and text",
}

# The payloads of the C++ benchmark.
ENCODED = {
    "page": "page of 20 rows",
    "ask_ascii": "ask answer, ASCII",
    "ask_cut": "ask answer, ASCII cut with an ellipsis",
    "ask_cjk": "ask answer, CJK",
    "wiki_page": "wiki pages",
    "code_page": "source code",
    "floats_page": "1,000 rows with 17-digit floats",
}
