"""Each builder beside plain Python: answers of random arguments, the fields it reads of a record, pages, empty answers.
docs/answers.md shows a whole answer of each, and is a test of its own."""

import random
from types import SimpleNamespace
from unittest import mock

import random_input
from comparing import ComparingTest
from samples import RECORDS, REFERENCE, SYMBOL, plain, real, record

BUILDERS = [*RECORDS, "outline_module", "without_nulls", "build_test_coverage", "build_index_status_response"]
BUILDERS += ["build_wiki_status_response", "build_wiki_read_response"]


class Answers(ComparingTest):
    def test_random_arguments(self):
        rng = random.Random(11)
        for _ in range(300):
            for function in BUILDERS:
                self.assert_same(function, **random_input.arguments(rng, getattr(plain, function)))

    def test_each_empty_answer_is_the_callers_own(self):
        for tool in [*plain.EMPTY_TOOL_RESPONSES, "", "Status", "wiki ", "état"]:
            for _ in range(2):
                self.assert_same("get_empty_response", tool)
        table = plain.tool_result_text(plain.EMPTY_TOOL_RESPONSES)
        self.assert_exactly(real.EMPTY_TOOL_RESPONSES, table, "the table")


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
        for function, args in [
            (real.build_file_symbol, [record(SYMBOL, fqn=None), "shop"]),
            (real.build_reference, [record(REFERENCE, caller_symbol="shop.pay")]),
            (real.build_reference, [record(REFERENCE, caller_symbol=[1])]),
        ]:
            self.assertRaises(AttributeError, function, *args)
        self.assertRaisesRegex(TypeError, r"^fqns\[1\] must be str, not int$", real.outline_module, ["a.b", 7])


class Pages(ComparingTest):
    def test_near_their_end_and_near_the_ends_of_64_bits(self):
        rng = random.Random(14)
        for _ in range(1000):
            rows = [random_input.tree(rng) for _ in range(rng.randint(0, 4))]
            offset = rng.choice((0, 40, -3, 2**63 - 1, 2**63 - 3, -(2**63), random_input.integer(rng)))
            total = max(-(2**63), min(2**63 - 1, offset + len(rows) + rng.choice((-1, 0, 1, 5))))
            self.assert_same("build_wiki_list_response", rows, total, offset, random_input.leaf(rng))
            key = rng.choice(("items", "total_count", "truncated", "has_more", "offset", random_input.text(rng)))
            self.assert_same("build_empty_paginated_response", key)
            self.assert_same("build_paginated_response", tuple(rows), total, offset)
            # The hint may be anything; without it the pages are compared, not the hint.
            with mock.patch.object(real, "add_pagination_hint", lambda response, count: response):
                with mock.patch.object(plain, "add_pagination_hint", lambda response, count: response):
                    self.assert_same("build_paginated_response", rows, total, offset, items_key=key)

    def test_the_hint_is_looked_up_at_each_call_and_has_the_last_word(self):
        for offset, rows, more in [(0, 20, True), (40, 17, False), (57, 0, False)]:
            with mock.patch.object(real, "add_pagination_hint") as hint:
                answer = real.build_paginated_response(("r",) * rows, 57, offset, items_key="symbols")
            self.assertIs(answer, hint.return_value)
            page = {"symbols": ["r"] * rows, "total_count": 57, "truncated": more, "has_more": more, "offset": offset}
            hint.assert_called_once_with(page, rows)
        with mock.patch.dict(vars(real)):
            del real.add_pagination_hint
            with self.assertRaisesRegex(NameError, "^name 'add_pagination_hint' is not defined$"):
                real.build_paginated_response([], 0, 0)
