"""Every answer equals that of plain Python, which fits a budget by encoding the whole answer at every step. Also the
attributes that builders read, and the hint of a page. The examples of docs/answers.md are tested as well."""

import random
import re
from types import SimpleNamespace
from unittest import mock

import random_input
from callbacks import class_with
from comparison import ComparingTest
from samples import FUNCTIONS, RECORDS, SYMBOL, plain, real, record, with_good_arguments

# The number of random calls, where it is not the usual one. Some functions have tests of their own.
CALLS = {"tool_result_text": 4000, "_encoded_size": 2000, "first_sentence": 4000, "_ask_citations": 600}
CALLS |= {"build_wiki_ask_response": 900, "build_paginated_response": 1000, "build_wiki_list_response": 1000}
CALLS |= dict.fromkeys(("code_lines", "_cut", "_trimmed"), 0)


def reads(function, fields):
    """The names of the attributes that a function reads, in order, and the text of its answer or its AttributeError."""
    names, read = [], SimpleNamespace.__getattribute__
    recording = class_with(SimpleNamespace, __getattribute__=lambda self, name: names.append(name) or read(self, name))
    one = recording(**fields)
    try:
        return names, plain.tool_result_text(function(one))
    except AttributeError as error:
        return names, (str(error), error.name, error.obj is one)


class Answers(ComparingTest):
    def test_random_arguments(self):
        rng = random.Random(11)
        for function in FUNCTIONS:
            for _ in range(CALLS.get(function, 300)):
                self.assert_same(function, **random_input.arguments(rng, getattr(plain, function)))

    def test_lines_of_citations_are_compared_exactly(self):
        rng, infinity, nan = random.Random(12), float("inf"), float("nan")
        lines = [None, 1, 1.0, True, 1.5, 0, -0.0, 2**53 + 1, 2**53, 2.0**53, 2**63 - 1, 2.0**63, -(2**63), -(2.0**63)]
        for _ in range(50):
            shuffled = rng.sample([*lines, infinity, infinity, -infinity, nan], len(lines) + 4)
            self.assert_same("_ask_citations", [], [{"path": "a", "line_start": line} for line in shuffled])

    def test_empty_answers_are_new_each_time(self):
        for tool in [*plain.EMPTY_TOOL_RESPONSES, "état"] * 2:
            self.assert_same("get_empty_response", tool)
        table = plain.tool_result_text(plain.EMPTY_TOOL_RESPONSES)
        self.assert_exactly(real.EMPTY_TOOL_RESPONSES, table, "the table")

    def test_the_hint_is_looked_up_at_each_call_and_determines_the_answer(self):
        for offset, rows, more, result in [(0, 20, True, object()), (40, 17, False, None), (57, 0, False, [])]:
            with mock.patch.object(real, "add_pagination_hint", return_value=result) as hint:
                answer = real.build_paginated_response(("r",) * rows, 57, offset, items_key="symbols")
            self.assertIs(answer, result)
            page = {"symbols": ["r"] * rows, "total_count": 57, "truncated": more, "has_more": more, "offset": offset}
            hint.assert_called_once_with(page, rows)
        with mock.patch.dict(vars(real)):
            del real.add_pagination_hint
            with self.assertRaisesRegex(NameError, "^name 'add_pagination_hint' is not defined$") as raised:
                real.build_paginated_response([], 0, 0)
            self.assertEqual(raised.exception.name, "add_pagination_hint")
            is_broken = True
            equal = lambda self, other: 1 // (not is_broken) and str.__eq__(self, other)  # noqa: E731
            key_type = type("Key", (str,), {"__hash__": str.__hash__, "__eq__": equal})
            vars(real)[key_type("add_pagination_hint")] = None
            self.assertRaises(ZeroDivisionError, real.build_paginated_response, [], 0, 0)
            is_broken = False


class Records(ComparingTest):
    def test_each_field_is_read_once_in_order_up_to_the_first_that_is_missing(self):
        for function, fields in RECORDS.items():
            for missing in [None, *fields]:
                there = {name: value for name, value in fields.items() if name != missing}
                found, expected = (reads(with_good_arguments(function, side), there) for side in (real, plain))
                self.assertEqual(found, expected, (function, missing))

    def test_a_module_that_differs_in_its_last_character(self):
        self.assert_same("build_file_symbol", record(SYMBOL, fqn="shop.card.Cart"), "shop.cart")

    def test_an_attribute_error_of_a_record_is_not_changed(self):
        def own(self):
            raise AttributeError("mine", name="another", obj=3)

        with self.assertRaisesRegex(AttributeError, "^mine$") as raised:
            real.build_symbol_search_result(class_with(fqn=property(own))())
        self.assertEqual((raised.exception.name, raised.exception.obj), ("another", 3))

    def test_elements_of_a_wrong_type(self):
        entry = "must be str, int, float or None, not"
        for message, sections, extra in (
            ("sections[1] must be dict, not str", [{}, "s"], []),
            ("sections[1]['citations'] must be list or tuple, not int", [{}, {"citations": 7}], []),
            (f"sections[0]['citations'][0]['path'] {entry} dict", [{"citations": [{"path": {}}]}], []),
            ("extra[0] must be dict, not str", [{"citations": [{}, {}, {}, "the fourth is not inspected"]}], ["s"]),
            ("extra[1] must be dict, not bool", [], [{}, True]),
            (f"extra[0]['line_end'] {entry} list", [], [{"line_end": []}]),
        ):
            with self.assertRaisesRegex(TypeError, f"^{re.escape(message)}$"):
                real._ask_citations(sections, extra)
        self.assertRaisesRegex(TypeError, r"^fqns\[1\] must be str, not int$", real.outline_module, ["a.b", 7])
        # Citations after the 24th are not inspected.
        whole = [{"path": number} for number in range(24)]
        self.assertEqual(real._ask_citations([], [*whole, {"path": []}]), whole)
        full = [{"citations": whole[first : first + 3]} for first in range(0, 24, 3)]
        self.assertEqual(real._ask_citations([*full, {"citations": ["wrong"]}], ["wrong"]), whole)


def sizes_at_decisions(arguments):
    """All sizes that the rules compare with the limit, including the bytes held back for excerpts."""
    sections = arguments["sections"]
    for kept in range(len(sections) + 1):
        for whole in range(kept + 1):
            rows = sections[:whole] + [section | {"excerpt": None} for section in sections[whole:kept]]
            size = plain._encoded_size(plain.build_wiki_ask_response(**arguments | {"sections": rows}))
            yield size + plain._ASK_MIN_EXCERPT_CHARS * (kept - whole)
    for dropped in ({"memories": None}, {"memories": None, "code": None}):
        yield plain._encoded_size(plain.build_wiki_ask_response(**arguments | {"sections": []} | dropped))


class Budgets(ComparingTest):
    def test_budgets_that_fit_exactly_or_are_one_byte_short(self):
        rng = random.Random(23)
        for _ in range(150):
            arguments = random_input.arguments(rng, plain.build_wiki_ask_response)
            arguments |= {"query": random_input.text(rng), "token_budget": None}
            sizes = sorted(set(sizes_at_decisions(arguments)))
            for size in rng.sample(sizes, min(4, len(sizes))):
                # A budget is a multiple of four bytes. A longer query makes the size equal to it, or one byte larger.
                for past in (0, 1):
                    changed = {"query": arguments["query"] + "q" * (-size % 4 + past), "token_budget": (size + 3) // 4}
                    self.assert_same("build_wiki_ask_response", **arguments | changed)
