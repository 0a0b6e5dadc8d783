"""Every answer beside plain Python's, which fits a budget by encoding the whole answer at every step; the fields that
builders read, the hint of a page, and known sizes. docs/answers.md shows an answer of each, and is tested too."""

import random
from types import SimpleNamespace
from unittest import mock

import random_input
from comparison import ComparingTest
from samples import FUNCTIONS, RECORDS, REFERENCE, SYMBOL, plain, real, record

# How many random calls are made of a function, if not as many as of the others; some have a test of their own.
CALLS = {"tool_result_text": 4000, "_encoded_size": 2000, "first_sentence": 4000, "_ask_citations": 1500}
CALLS |= {"build_wiki_ask_response": 1500, "build_paginated_response": 1000, "build_wiki_list_response": 1000}
CALLS |= dict.fromkeys(("code_lines", "_cut", "_trimmed"), 0)

WORDS = [f"w{number:03}" for number in range(100)]
# Token budget, the words that each section kept shows, and the bytes of the answer.
BUDGETS = [(None, [100, 100], 1377), (344, [100, 97], 1365), (250, [82, 40], 993), (150, [69], 591), (16, [], 66)]
BUDGETS += [(-(2**63), [], 66), (2**61, [100, 100], 1377)]
# Token budget, which of the two are kept, and the bytes of the answer.
ATTACHED = [(None, {"code", "memories"}, 702), (176, {"code", "memories"}, 702), (175, {"code"}, 382)]
ATTACHED += [(96, {"code"}, 382), (95, set(), 66)]


def reads(function, fields, is_noting):
    """The names that a function asks a record for, in order, and the error of the first that is not there."""
    noted = []
    kind = type("Noting", (SimpleNamespace,), {}) if is_noting else SimpleNamespace
    if is_noting:
        kind.__getattribute__ = lambda self, name: noted.append(name) or object.__getattribute__(self, name)
    one = kind(**fields)
    try:
        return noted, function(one)
    except AttributeError as error:
        return noted, (str(error), error.name, error.obj is one)


class Answers(ComparingTest):
    def test_random_arguments(self):
        rng = random.Random(11)
        for function in FUNCTIONS:
            for _ in range(CALLS.get(function, 300)):
                self.assert_same(function, **random_input.arguments(rng, getattr(plain, function)))

    def test_the_table_of_empty_answers_is_nobodys_own(self):
        for tool in [*plain.EMPTY_TOOL_RESPONSES, "état"] * 2:
            self.assert_same("get_empty_response", tool)
        table = plain.tool_result_text(plain.EMPTY_TOOL_RESPONSES)
        self.assert_exactly(real.EMPTY_TOOL_RESPONSES, table, "the table")

    def test_the_hint_is_looked_up_at_each_call_and_has_the_last_word(self):
        for offset, rows, more, last_word in [(0, 20, True, object()), (40, 17, False, None), (57, 0, False, [])]:
            with mock.patch.object(real, "add_pagination_hint", return_value=last_word) as hint:
                answer = real.build_paginated_response(("r",) * rows, 57, offset, items_key="symbols")
            self.assertIs(answer, last_word)
            page = {"symbols": ["r"] * rows, "total_count": 57, "truncated": more, "has_more": more, "offset": offset}
            hint.assert_called_once_with(page, rows)
        with mock.patch.dict(vars(real)):
            del real.add_pagination_hint
            with self.assertRaisesRegex(NameError, "^name 'add_pagination_hint' is not defined$"):
                real.build_paginated_response([], 0, 0)


class Records(ComparingTest):
    def test_each_field_is_read_once_in_order_up_to_the_first_that_is_missing(self):
        for function, fields in RECORDS.items():
            for missing in [None, *fields]:
                there = {name: value for name, value in fields.items() if name != missing}
                for is_noting in (True, False):
                    expected = reads(getattr(plain, function), there, is_noting)
                    self.assertEqual(reads(getattr(real, function), there, is_noting), expected, (function, missing))

    def test_an_attribute_error_of_the_records_own_keeps_what_it_tells(self):
        def own(self):
            raise AttributeError("mine", name="another", obj=3)

        with self.assertRaisesRegex(AttributeError, "^mine$") as raised:
            real.build_symbol_search_result(type("Own", (), {"fqn": property(own)})())
        self.assertEqual((raised.exception.name, raised.exception.obj), ("another", 3))

    def test_contents_of_the_wrong_kind_are_refused(self):
        for caller in ("shop.pay", [1]):
            self.assertRaises(AttributeError, real.build_reference, record(REFERENCE, caller_symbol=caller))
        self.assertRaises(AttributeError, real.build_file_symbol, record(SYMBOL, fqn=None), "shop")
        self.assertRaisesRegex(TypeError, r"^fqns\[1\] must be str, not int$", real.outline_module, ["a.b", 7])
        for entry in ([], {"a": 1}):
            self.assertRaises(TypeError, real._ask_citations, [], [{"path": entry}])
        # A candidate past the cap is not looked at.
        whole = [{"path": number} for number in range(24)]
        self.assertEqual(real._ask_citations([], [*whole, {"path": []}]), whole)


def sizes_at_decisions(arguments):
    """The sizes that the budget's rules compare with the limit, whatever the limit is, reserves included."""
    sections = arguments["sections"]
    for kept in range(len(sections) + 1):
        for whole in range(kept + 1):
            rows = sections[:whole] + [section | {"excerpt": None} for section in sections[whole:kept]]
            size = plain._encoded_size(plain.build_wiki_ask_response(**arguments | {"sections": rows}))
            yield size + plain._ASK_MIN_EXCERPT_CHARS * (kept - whole)
    for dropped in ({"memories": None}, {"memories": None, "code": None}):
        yield plain._encoded_size(plain.build_wiki_ask_response(**arguments | {"sections": []} | dropped))


class Budgets(ComparingTest):
    def ask(self, size, **named):
        answer = real.build_wiki_ask_response(**{"mode": "m", "query": "q", "answer": "a", "sections": []} | named)
        self.assertEqual(real._encoded_size(answer), size, named["token_budget"])
        return answer

    def test_excerpts_shrink_from_the_bottom_and_then_sections_go(self):
        cited = [{"path": f"f{n // 2}.py", "line_start": n, "line_end": n} for n in (2, 3, 4)]
        sections = [
            {"page_id": f"p{n}", "title": f"T{n}", "heading": f"H{n}", "excerpt": " ".join(WORDS), "citations": some}
            for n, some in ((1, cited[:2]), (2, cited[2:]))
        ]
        for budget, words, size in BUDGETS:
            answer = self.ask(size, sections=sections, token_budget=budget)
            shown = [" ".join(WORDS[:count]) + "…" * (count < 100) for count in words]
            self.assertEqual([row["excerpt"] for row in answer["sections"]], shown, budget)

    def test_memories_go_before_the_code(self):
        for budget, kept, size in ATTACHED:
            answer = self.ask(size, memories={"k": "y" * 300}, code={"k": "z" * 300}, token_budget=budget)
            self.assertEqual({*answer} & {"code", "memories"}, kept, budget)

    def test_budgets_that_a_decision_meets_exactly_or_misses_by_one_byte(self):
        rng = random.Random(23)
        for _ in range(150):
            arguments = random_input.arguments(rng, plain.build_wiki_ask_response)
            arguments |= {"query": random_input.text(rng), "token_budget": None}
            sizes = sorted(set(sizes_at_decisions(arguments)))
            for size in rng.sample(sizes, min(4, len(sizes))):
                # A budget is a multiple of four bytes: a longer query brings the size to it, and to one byte past it.
                for past in (0, 1):
                    changed = {"query": arguments["query"] + "q" * (-size % 4 + past), "token_budget": (size + 3) // 4}
                    self.assert_same("build_wiki_ask_response", **arguments | changed)
