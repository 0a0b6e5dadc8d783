"""Values nobody should hand in, in every argument of every function: the answer is right or the error says where."""

import itertools
import random
import sys
import threading
import unittest
from collections import OrderedDict, UserList, deque
from concurrent.futures import ThreadPoolExecutor

import generators
from differential import DifferentialTest, exact, plain, real
from hostile import HOST_READ, OVERRIDING, SLOTS, TYPED, disguised, merged, nested, parts, rebuilt
from samples import REFERENCE, SYMBOL, good_calls, record, scaled

ANYTHING = "None, bool, int, float, str, list, tuple or dict"
KINDS = {"None": None, "bool": True, "int": 7, "float": 0.5, "str": "t", "list": [[]], "dict": {"k": 1}, "set": {1}}


UnequalName = type("UnequalName", (str,), {"__eq__": object.__eq__, "__hash__": object.__hash__})


def outcome(function, arguments):
    try:
        return exact(merged(function(**arguments)))
    except Exception as error:
        return type(error)


class Values(DifferentialTest):
    def assert_refused(self, slot, value, error, text):
        with self.assertRaises(error, msg=slot) as raised:
            slot.call(value)
        self.assertEqual(str(raised.exception), text)

    def test_subclasses_that_override_everything(self):
        for (function, good), keys_too in itertools.product(good_calls().items(), (True, False)):
            hostile = {name: disguised(value, keys_too) for name, value in good.items()}
            hostile |= {name: list.copy(hostile[name]) for name in {"places", "fqns"} & {*good}}  # these are iterated
            answer = getattr(real, function)(**hostile)
            self.assertEqual(exact(answer), exact(getattr(real, function)(**good)), function)
            self.assertEqual([part for part in parts(answer) if type(part) in OVERRIDING.values()], [], function)

    def test_what_is_no_value_is_refused_and_its_place_named(self):
        for slot in SLOTS:
            for value in (object(), {1}, b"b", 1j, range(3), len, ..., bytearray(), frozenset(), int, memoryview(b"")):
                text = f"{slot.where} must be {ANYTHING}, not {type(value).__name__}"
                self.assert_refused(slot, value, TypeError, text)
            for number in (2**63, -(2**63) - 1, 10**25, 10**5000, OVERRIDING[int](2**64)):
                text = f"{slot.where} is an int beyond 64 bits (from -2**63 to 2**63 - 1)"
                self.assert_refused(slot, number, OverflowError, text)
            for key in ((1, 2), b"k", frozenset(), object()):
                text = f"a key of {slot.where}['a'] must be None, bool, int, float or str, not {type(key).__name__}"
                self.assert_refused(slot, {"a": {"b": 1, key: 1}}, TypeError, text)
            where = slot.where + "[1]['é\\n'][7][0.5][...][0]"
            value = [["before"], {"é\n": {7: {0.5: {None: (object(), 1)}}}}]
            self.assert_refused(slot, value, TypeError, f"{where} must be {ANYTHING}, not object")
        thing = object()
        with self.assertRaisesRegex(TypeError, r"^test_file\[\.\.\.\] must be"):
            real.build_test_coverage({10**5000: thing}, thing)  # a key with more digits than the interpreter writes

    def test_arguments_that_cannot_be_anything(self):
        for function, good in good_calls().items():
            for name in {*good} - HOST_READ:
                expected, taken = TYPED.get(f"{function}.{name}") or TYPED.get(name, ("", {*KINDS} - {"set"}))
                for kind, value in KINDS.items():
                    try:
                        getattr(real, function)(**good | {name: value})
                    except TypeError as error:
                        texts = [f"{name} must be {expected}, not {kind}", f"{name} must be {ANYTHING}, not {kind}"]
                        texts += [f"{name}[0] must be dict, not list"] if kind == "list" else []
                        self.assertIn(str(error).replace("NoneType", "None"), texts, function)
                        self.assertNotIn(kind, taken, (function, name))
                    else:
                        self.assertIn(kind, taken, (function, name))
                if expected.startswith("int"):
                    with self.assertRaisesRegex(OverflowError, f"^{name} is an int beyond 64 bits"):
                        getattr(real, function)(**good | {name: -(2**63) - 1})

    def test_keys_that_become_the_same_text(self):
        rng = random.Random(31)
        keys = [1, "1", 1.5, "1.5", None, "null", True, "true", False, "false", 0, "0", -0.0, "-0.0", "é", 2**63 - 1]
        keys += [float("nan"), float("nan"), "NaN", float("inf"), "Infinity", generators.Name.METHOD, "method"]
        keys += [generators.Level.LOW, generators.Ratio(0.5), "0.5", 7, "7", UnequalName("é")]
        for _ in range(scaled(60)):
            for slot in SLOTS:
                value = {key: generators.leaf(rng) for key in rng.sample(keys, rng.randint(2, len(keys)))}
                value = rng.choice((value, [value], (1, {"in": value}), {None: value, "null": value, "x": value}))
                self.assertEqual(exact(slot.call(value)), exact(slot.call(merged(value))), slot)
            self.assertEqual(real.tool_result_text(value), plain.tool_result_text(merged(value)))
        self.assertEqual(real.tool_result_text({"é": 1, UnequalName("é"): 2}), '{"é":2}')

    def test_lone_surrogates_everywhere(self):
        rng = random.Random(32)

        def odd():
            return "".join(rng.choices("\ud800\udbff\udc00\udc80\udfff.a é😀", k=rng.choice((1, 2, 20))))

        def make(part):
            if isinstance(part, str):
                return odd() + part + odd()
            return part | {odd(): 1} if isinstance(part, dict) else part

        for _ in range(scaled(100)):
            for function, good in good_calls().items():
                arguments = {name: rebuilt(value, make) for name, value in good.items() if function != "code_lines"}
                if "token_budget" in good and rng.random() < 0.5:
                    arguments["token_budget"] = None
                expected = outcome(getattr(plain, function), arguments)
                self.assertEqual(outcome(getattr(real, function), arguments), expected, function)

    def test_host_strings_come_back_as_themselves(self):
        for slot in [slot for slot in SLOTS if slot.where != "result"]:
            for text in ("".join(["a", "scii"]), "".join(["é", "a"]), "".join(["漢", "a"]), "".join(["😀", "a"])):
                found = [part for part in parts(slot.call([text, {text: (text,)}])) if part == text]
                self.assertEqual([id(part) for part in found], [id(text)] * 3, slot)
                self.assertIs(real._cut(text, 9), text)
                self.assertIs(real._trimmed(text, 9), text)
                self.assertIs([*real.build_empty_paginated_response(text)][0], text)

    def check_nesting(self, deep):
        most = min(max(sys.getrecursionlimit(), 400), 1000)
        for kind in (list, tuple, dict):
            opening, closing = ('{"k":', "}") if kind is dict else ("[", "]")
            text = opening * (most - 1) + opening[0] + closing * most
            self.assertEqual(real.tool_result_text(nested(kind, most)), text)
            self.assertEqual(real._encoded_size(nested(kind, most)), len(text))
            real.build_test_coverage(nested(kind, most), "")
            for function in (real.tool_result_text, real._encoded_size, lambda x: real.build_test_coverage(x, "")):
                self.assertRaises(RecursionError, function, nested(kind, most + 1))
            for slot in SLOTS:
                slot.call(nested(kind, 390))
        for value in deep:
            for slot in SLOTS:
                self.assertRaises(RecursionError, slot.call, value)
            for section in ({"excerpt": value}, {"title": value}):
                with self.assertRaises(RecursionError):
                    real.build_wiki_ask_response(mode="", query="", answer=None, token_budget=1, sections=[section])
            same = record(SYMBOL, start_line=value, end_line=[value] if isinstance(value, list) else value)
            self.assertRaises(RecursionError, real.build_file_symbol, same)
            self.assertRaises(OverflowError, real.without_nulls, {"a": value, "b": 2**63})

    def test_nesting(self):
        deep = [[], {}, *(nested(kind, 1002) for kind in (list, tuple, dict))]
        deep[0].append((deep[0],))
        deep[1]["k"] = [deep[1]]
        deep += [nested(list, scaled(10**6)), nested(tuple, scaled(10**6)), nested(dict, scaled(10**5))]
        self.check_nesting(deep)
        self.addCleanup(sys.setrecursionlimit, sys.getrecursionlimit())
        self.addCleanup(threading.stack_size, threading.stack_size(256 * 1024))
        with ThreadPoolExecutor(1) as small_thread:
            for limit in (sys.getrecursionlimit(), 10**6, 200):
                small_thread.submit(sys.setrecursionlimit, limit).result()
                small_thread.submit(self.check_nesting, deep).result()

    def test_tens_of_megabytes(self):
        size = scaled(10**7)
        text = 'é漢"\\\n😀 a.' * (size // 9)
        for function, arguments in [
            ("tool_result_text", [text]),
            ("tool_result_text", [[*range(size // 10)]]),
            ("_encoded_size", [{text: text}]),
            ("_encoded_size", [{str(i): None for i in range(size // 20)}]),
            ("build_wiki_list_response", [[{"a": i} for i in range(size // 50)], size]),
            ("without_nulls", [{str(i): i % 2 or None for i in range(size // 20)}]),
            ("first_sentence", [" " * size + "One. Two."]),
            ("_cut", [text, size // 2]),
            ("_trimmed", ["ab " * (size // 2), size]),
            ("_trimmed", ["a" * size, size - 1]),
            ("outline_module", [[f"a.b{i % 2}.c" for i in range(size // 10)]]),
            ("build_file_symbol", [record(SYMBOL, fqn="a" * size + ".b"), "a" * size]),
        ]:
            answer = getattr(real, function)(*arguments)
            self.assertTrue(answer == getattr(plain, function)(*arguments), function)


def moved(kind):
    """A dict of that kind whose own order is not the one in which its storage has the members."""
    one = kind({"a": 1, 7: None, "b": 2, generators.Name.METHOD: 3, "c": 4})
    one.move_to_end("a")
    one.move_to_end("c", last=False)
    return one


class OrderedDicts(DifferentialTest):
    def test_their_own_order_counts_whatever_a_subclass_overrides(self):
        def fail(*_):
            raise AssertionError("code of the host's")

        names = ("__iter__", "keys", "items", "values", "__getitem__", "__len__", "__reversed__", "__eq__", "copy")
        overriding = type("Overriding", (OrderedDict,), dict.fromkeys(names, fail))
        expected = {"c": 4, 7: None, "b": 2, "method": 3, "a": 1}
        for kind in (OrderedDict, overriding):
            for slot in SLOTS:
                for value, same in ((moved(kind), expected), ([{"x": moved(kind)}], [{"x": expected}])):
                    self.assertEqual(exact(slot.call(value)), exact(slot.call(same)), slot)
            self.assertEqual([*real.without_nulls(moved(kind))], ["c", "b", "method", "a"])
            self.assertEqual(real.tool_result_text(moved(kind)), '{"c":4,"7":null,"b":2,"method":3,"a":1}')
            self.assertEqual(real._encoded_size([moved(kind)]), len('[{"c":4,"7":null,"b":2,"method":3,"a":1}]'))


class Errors(unittest.TestCase):
    def test_what_is_asked_for_a_method_lacks_it(self):
        for value in (object(), {1}, b"b", 1j, range(3), 2**63, 7, 1.5, True, ["x"], ("x",)):
            what = f"^'{type(value).__name__}' object has no attribute"
            what = what.replace("tuple", "(tuple|list)")
            with self.assertRaisesRegex(AttributeError, what + " 'startswith'$"):
                real.build_file_symbol(record(SYMBOL, fqn=value), "shop")
            with self.assertRaisesRegex(AttributeError, what + " 'get'$"):
                real.build_reference(record(REFERENCE, caller_symbol=value))
        for falsy in (set(), b"", 0j, range(0), frozenset()):
            answer = real.build_reference(record(REFERENCE, caller_symbol=falsy))
            self.assertNotIn("caller", answer)
        with self.assertRaises(ZeroDivisionError):
            real.build_reference(record(REFERENCE, caller_symbol=type("T", (), {"__bool__": lambda self: 1 / 0})()))

    def test_a_long_name_is_named_by_its_start(self):
        long = "é" * 10**7
        for call in (
            lambda: real.tool_result_text({long: {"x": object()}}),
            lambda: real.build_test_coverage("", "", {"k": {long: [2**63]}}),
            lambda: real.tool_result_text({long: {(1,): 1}}),
            lambda: real.tool_result_text(**{long: 1}),
            lambda: real.tool_result_text(type(long, (), {})()),
        ):
            with self.assertRaises((TypeError, OverflowError)) as raised:
                call()
            self.assertIn("é" * 50, str(raised.exception))
            self.assertLess(len(str(raised.exception)), 1000)
        with self.assertRaisesRegex(TypeError, r"^result\['é{100}'\.\.\.\]\['x'\] must be"):
            real.tool_result_text({long: {"x": object()}})


class Sequences(DifferentialTest):
    def test_the_extra_citations_are_any_sequence(self):
        class Once:
            def __init__(self, items):
                self.items = items
                self.read = []

            def __len__(self):
                return len(self.items)

            def __getitem__(self, position):
                self.read.append(position)
                return self.items[position]

        extra = [{"path": path} for path in "abca"]
        expected = plain._ask_citations([], extra)
        for made in (deque(extra), UserList(extra), Once(extra), tuple(extra)):
            self.assertEqual(real._ask_citations([], made), expected)
        once = Once(extra)
        real._ask_citations([], once)
        self.assertEqual(once.read, [0, 1, 2, 3, 4])
