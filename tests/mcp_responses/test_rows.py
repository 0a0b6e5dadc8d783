"""Rows of records: what is in them, what is left out, which fields are read; and the module of an outline."""

import random
import unittest
from types import SimpleNamespace

import generators
from differential import DifferentialTest, real

TOTAL = {
    "fqn": "shop.cart.Cart.total",
    "name": "total",
    "kind": "method",
    "start_line": 12,
    "end_line": 20,
    "signature": "def total(self) -> int",
    "docstring": "Sum of the line items. Taxes are not included.",
    "is_export": True,
    "docstring_truncated": False,
}
BARE = TOTAL | {"end_line": None, "signature": None, "docstring": None, "is_export": False}
PAY = {"fqn": "shop.checkout.pay", "kind": "function"}
CALL = {"file_path": "shop/cart.py", "line": 41, "caller_symbol": PAY, "usage_type": "call"}
UNKNOWN = dict.fromkeys(CALL)
SHOP = {"name": "shop", "layer": None, "path_pattern": "shop/**", "file_count": 3, "symbol_count": 0}


def record(fields, **changed):
    return SimpleNamespace(**(fields | changed))


# Function, arguments by position, arguments by name, text of the whole answer.
ANSWERS = [
    (
        "without_nulls",
        [{"a": 1, "b": None, "c": False, "d": "", "e": 0, "f": [], "g": None, "h": -0.0, "i": {}}],
        {},
        '{"a":1,"c":false,"d":"","e":0,"f":[],"h":-0.0,"i":{}}',
    ),
    ("without_nulls", [{"a": None, "b": None}], {}, "{}"),
    ("without_nulls", [{"a": [None], "b": {"c": None}}], {}, '{"a":[null],"b":{"c":null}}'),
    ("without_nulls", [{1: (2, [3]), None: {2.5: True}}], {}, '{"1":[2,[3]],"null":{"2.5":true}}'),
    (
        "build_symbol_search_result",
        [record(BARE)],
        {},
        '{"fqn":"shop.cart.Cart.total","name":"total","kind":"method","line":12}',
    ),
    (
        "build_symbol_search_result",
        [record(TOTAL, start_line=0, signature=""), "shop/cart.py"],
        {},
        '{"fqn":"shop.cart.Cart.total","name":"total","kind":"method","file":"shop/cart.py","line":0,"signature":"",'
        '"summary":"Sum of the line items."}',
    ),
    (
        "build_symbol_full_details",
        [record(BARE)],
        {},
        '{"found":true,"fqn":"shop.cart.Cart.total","name":"total","kind":"method","file":null,"start_line":12,'
        '"end_line":null,"signature":null,"is_export":false,"docstring":null,"docstring_truncated":false}',
    ),
    (
        "build_symbol_full_details",
        [],
        {"file_path": "shop/cart.py", "symbol": record(TOTAL)},
        '{"found":true,"fqn":"shop.cart.Cart.total","name":"total","kind":"method","file":"shop/cart.py",'
        '"start_line":12,"end_line":20,"signature":"def total(self) -> int","is_export":true,'
        '"docstring":"Sum of the line items. Taxes are not included.","docstring_truncated":false}',
    ),
    (
        "build_file_symbol",
        [record(TOTAL), "shop.cart"],
        {},
        '{"name":"Cart.total","kind":"method","line":12,"end_line":20,"signature":"def total(self) -> int",'
        '"summary":"Sum of the line items."}',
    ),
    (
        "build_file_symbol",
        [record(BARE, fqn="shop.cartography.Map", end_line=12), "shop.cart"],
        {},
        '{"name":"shop.cartography.Map","kind":"method","line":12}',
    ),
    (
        "build_file_symbol",
        [record(BARE, fqn="a.b", end_line=9), "a.b"],
        {},
        '{"name":"a.b","kind":"method","line":12,"end_line":9}',
    ),
    ("build_file_symbol", [record(BARE, fqn=7, end_line=12.0), None], {}, '{"name":7,"kind":"method","line":12}'),
    (
        "build_file_symbol",
        [record(BARE, fqn="", kind=None, start_line=None, end_line=3)],
        {},
        '{"name":"","end_line":3}',
    ),
    (
        "build_file_symbol",
        [record(BARE, fqn="a", start_line=2**53 + 1, end_line=2.0**53)],
        {},
        '{"name":"a","kind":"method","line":9007199254740993,"end_line":9007199254740992.0}',
    ),
    (
        "build_reference",
        [record(CALL), "total = cart.total()"],
        {},
        '{"file":"shop/cart.py","line":41,"code":"total = cart.total()","caller":"shop.checkout.pay",'
        '"caller_kind":"function","usage_type":"call"}',
    ),
    ("build_reference", [record(UNKNOWN)], {}, '{"file":null,"line":null}'),
    ("build_reference", [record(UNKNOWN, caller_symbol={}), ""], {}, '{"file":null,"line":null,"code":""}'),
    ("build_reference", [record(UNKNOWN, caller_symbol={"fqn": "p"})], {}, '{"file":null,"line":null,"caller":"p"}'),
    (
        "build_api_endpoint",
        [record(BARE), ""],
        {},
        '{"fqn":"shop.cart.Cart.total","name":"total","kind":"method","file":"","line":12,'
        '"signature":null,"component":null}',
    ),
    (
        "build_api_endpoint",
        [record(TOTAL), "a.py", "shop"],
        {},
        '{"fqn":"shop.cart.Cart.total","name":"total","kind":"method","file":"a.py","line":12,'
        '"signature":"def total(self) -> int","component":"shop"}',
    ),
    (
        "build_component",
        [record(SHOP)],
        {},
        '{"name":"shop","layer":null,"path_pattern":"shop/**","file_count":3,"symbol_count":0}',
    ),
]

OUTLINES = [
    ([], ""),
    (["shop.cart.Cart"], "shop.cart"),
    (["main"], ""),
    (["shop.cart.Cart", "shop.cart.Cart.total"], "shop.cart"),
    (["shop.cart.Cart.total", "shop.cart.Cart"], "shop.cart"),
    (["shop.cart.add", "shop.orders.place"], "shop"),
    (["shop.cart.add", "tools.run"], ""),
    (["shop.cart.add", "main", "shop.cart.remove"], ""),
    (["shop.cart.a", "shop.carts.b"], "shop"),
    (["a..b", "a..c", "a..d.e"], "a."),
    ([".a", ".b"], ""),
    (["é.漢.🦉.a", "é.漢.🦉b.a"], "é.漢"),
]

# The fields that a builder reads, each once, in this order.
READS = [
    (
        "build_symbol_search_result",
        TOTAL,
        [],
        ["fqn", "name", "kind", "start_line", "signature", "docstring"],
    ),
    (
        "build_symbol_full_details",
        TOTAL,
        ["a.py"],
        ["fqn", "name", "kind", "start_line", "end_line", "signature", "is_export", "docstring", "docstring_truncated"],
    ),
    ("build_file_symbol", TOTAL, ["shop"], ["fqn", "kind", "start_line", "end_line", "signature", "docstring"]),
    ("build_api_endpoint", TOTAL, [], ["fqn", "name", "kind", "start_line", "signature"]),
    ("build_reference", CALL, ["code"], ["caller_symbol", "usage_type", "file_path", "line"]),
    ("build_component", SHOP, [], ["name", "layer", "path_pattern", "file_count", "symbol_count"]),
]


class NotingRecord:
    """Notes which of its fields are read."""

    def __init__(self, fields):
        self._fields = fields
        self._read = []

    def __getattr__(self, name):
        self._read.append(name)
        if name not in self._fields:
            raise AttributeError(f"no {name}")
        return self._fields[name]


class KnownAnswers(DifferentialTest):
    def test_whole_answers(self):
        for function, args, named, text in ANSWERS:
            self.assert_exactly(getattr(real, function)(*args, **named), text, function)

    def test_outlines(self):
        for fqns, module in OUTLINES:
            self.assertEqual(real.outline_module(fqns), module, fqns)
            self.assertEqual(real.outline_module(fqn for fqn in fqns), module, fqns)

    def test_contents_of_the_wrong_kind_are_refused(self):
        for error, function, args in [
            (AttributeError, "build_file_symbol", [record(TOTAL, fqn=None), "shop"]),
            (AttributeError, "build_reference", [record(CALL, caller_symbol="shop.pay")]),
            (AttributeError, "build_reference", [record(CALL, caller_symbol=[1])]),
            ((AttributeError, TypeError), "outline_module", [["a.b", 7]]),
        ]:
            self.assertRaises(error, getattr(real, function), *args)


class RecordReads(unittest.TestCase):
    def test_each_field_is_read_once_in_order_and_no_other(self):
        for function, fields, more, order in READS:
            noting = NotingRecord(fields)
            getattr(real, function)(noting, *more)
            self.assertEqual(noting._read, order, function)

    def test_the_first_missing_field_is_reported(self):
        for function, fields, more, order in READS:
            for at, missing in enumerate(order):
                lacking = {name: value for name, value in fields.items() if name not in order[at:]}
                noting = NotingRecord(lacking)
                with self.assertRaisesRegex(AttributeError, f"^no {missing}$", msg=function):
                    getattr(real, function)(noting, *more)
                self.assertEqual(noting._read, order[: at + 1], function)
                text = f"^'types.SimpleNamespace' object has no attribute '{missing}'$"
                plain = SimpleNamespace(**lacking)
                with self.assertRaisesRegex(AttributeError, text) as raised:
                    getattr(real, function)(plain, *more)
                self.assertEqual((raised.exception.name, raised.exception.obj), (missing, plain))

    def test_an_attribute_error_of_the_records_own_keeps_what_it_tells(self):
        class Own:
            @property
            def fqn(self):
                raise AttributeError("mine", name="another", obj=3)

        with self.assertRaisesRegex(AttributeError, "^mine$") as raised:
            real.build_symbol_search_result(Own())
        self.assertEqual((raised.exception.name, raised.exception.obj), ("another", 3))


class RandomRecords(DifferentialTest):
    def test_rows(self):
        rng = random.Random(11)
        for _ in range(1000):
            symbol = SimpleNamespace(**generators.symbol(rng))
            path = rng.choice((None, "", generators.text(rng)))
            self.assert_same("build_symbol_search_result", symbol, path)
            self.assert_same("build_symbol_full_details", symbol, path)
            self.assert_same("build_api_endpoint", symbol, path, generators.leaf(rng))
            self.assert_same("build_file_symbol", symbol, rng.choice((None, "", "shop", generators.fqn(rng))))
            self.assert_same("build_reference", SimpleNamespace(**generators.reference(rng)), path)
            self.assert_same("build_component", SimpleNamespace(**generators.component(rng)))
            self.assert_same("without_nulls", generators.mapping(rng))

    def test_outlines(self):
        rng = random.Random(12)
        for _ in range(3000):
            self.assert_same("outline_module", [generators.fqn(rng) for _ in range(rng.choice((1, 2, 2, 5)))])


if __name__ == "__main__":
    unittest.main()
