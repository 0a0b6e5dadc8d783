"""Values nobody should hand in, in every argument of every function: the answer is right or the error says where."""

import json
import random
import sys
import threading
import unittest
from typing import Any, Callable, NamedTuple

import generators
from differential import DifferentialTest, exact, plain, real
from samples import CITATION, COMPONENT, REFERENCE, SECTION, SYMBOL, good_calls, record, scaled

ANYTHING = "None, bool, int, float, str, list, tuple or dict"
# What an argument must be where it cannot be anything, and the kinds that are taken.
TYPED = {
    "text": ("str", {"str"}),
    "chars": ("int", {"int", "bool"}),
    "docstring": ("str or None", {"str", "None"}),
    "items_key": ("str", {"str"}),
    "tool_name": ("str", {"str"}),
    "module": ("str", {"str", "None"}),
    "items": ("list", {"list"}),
    "total_count": ("int", {"int", "bool", "float"}),
    "total": ("int", {"int", "bool", "float"}),
    "offset": ("int", {"int", "bool", "float"}),
    "sections": ("list", set()),  # of dicts
    "extra": ("list", set()),
    "row": ("dict", {"dict"}),
    "token_budget": ("int or None", {"int", "bool", "None"}),
    "build_wiki_list_response.pages": ("list", {"list"}),
    "build_wiki_ask_response.citations": ("list or None", {"None"}),
}
HOST_READ = {"root", "places", "fqns", "symbol", "reference", "component"}
KINDS = {"None": None, "bool": True, "int": 7, "float": 0.5, "str": "t", "list": [[]], "dict": {"k": 1}, "set": {1}}


class Slot(NamedTuple):
    """A place among a function's arguments that may hold anything."""

    function: str
    where: str
    call: Callable[[Any], Any]


def slots():
    wraps = {
        "row": ("['k']", lambda value: {"k": value}),
        "items": ("[1]", lambda value: [0, value]),
        "build_wiki_list_response.pages": ("[1]", lambda value: [0, value]),
        "sections": ("[1]['page_id']", lambda value: [SECTION, SECTION | {"page_id": value}]),
        "_ask_citations.sections": ("[0]['citations'][0]['why']", lambda value: [{"citations": [{"why": value}]}]),
        "citations": ("[1]['why']", lambda value: [CITATION, {"path": "b.py", "why": value}]),
        "extra": ("[1]['why']", lambda value: [CITATION, {"path": "b.py", "why": value}]),
    }

    def slot(function, name, where, make):
        good = good_calls()[function]
        if "token_budget" in good:
            good["token_budget"] = 10**9  # everything is measured, and nothing dropped
        return Slot(function, name + where, lambda value: getattr(real, function)(**good | {name: make(value)}))

    for function, good in good_calls().items():
        for name in good:
            where, wrap = wraps.get(f"{function}.{name}") or wraps.get(name) or ("", lambda value: value)
            if where or name not in {*TYPED} | HOST_READ:
                yield slot(function, name, where, wrap)
    for function, name, fields in [
        ("build_symbol_full_details", "symbol", SYMBOL),
        ("build_reference", "reference", REFERENCE),
        ("build_component", "component", COMPONENT),
    ]:
        for field in {*fields} - {"caller_symbol"}:
            yield slot(function, name, f".{field}", lambda value, b=fields, field=field: record(b, **{field: value}))


SLOTS = [*slots()]
CONTAINER_SLOTS = [slot for slot in SLOTS if slot.function not in ("tool_result_text", "_encoded_size")]


def host_code_was_run(*args, **named):
    raise AssertionError("host code was run")


def overriding_everything(base):
    kept = {"__new__", "__init__", "__class__", "__init_subclass__", "__subclasshook__", "__doc__"}
    overridden = dict.fromkeys({*dir(base)} - kept, host_code_was_run)
    return type(base.__name__, (base,), overridden | {"__hash__": base.__hash__})


OVERRIDING = {base: overriding_everything(base) for base in (str, int, float, list, tuple, dict)}


def disguised(value):
    """The same content, every part of it an instance of a subclass that overrides all it can."""
    if isinstance(value, dict):
        return OVERRIDING[dict]({disguised(key): disguised(member) for key, member in value.items()})
    if isinstance(value, (list, tuple)):
        return OVERRIDING[type(value)](map(disguised, value))
    if isinstance(value, type(record({}))):
        return record({name: disguised(member) for name, member in vars(value).items()})
    return OVERRIDING[type(value)](value) if type(value) in OVERRIDING else value


def parts(value):
    yield value
    for part in value.items() if isinstance(value, dict) else value if isinstance(value, (list, tuple)) else ():
        yield from parts(part)


def merged(value):
    """Keys as their texts: of two with one text, the first has the place, the last the value."""
    if isinstance(value, dict):
        result = {}
        for key, member in value.items():
            result[str.__str__(key) if isinstance(key, str) else json.dumps(key)] = merged(member)
        return result
    return [*map(merged, value)] if isinstance(value, (list, tuple)) else value


def nested(kind, levels):
    value = kind()
    for _ in range(levels - 1):
        value = {"k": value} if kind is dict else kind((value,))
    return value


def outcome(function, arguments):
    try:
        return exact(merged(function(**arguments)))
    except Exception as error:
        return type(error)


class Values(DifferentialTest):
    def assert_refused(self, slot, value, error, text):
        with self.subTest(slot[:2]), self.assertRaises(error) as raised:
            slot.call(value)
            raise AssertionError(f"took {value!r:.200}")
        self.assertEqual(str(raised.exception), text)

    def test_subclasses_that_override_everything(self):
        for function, good in good_calls().items():
            hostile = {
                name: [*map(disguised, value)] if name in ("places", "fqns") else disguised(value)
                for name, value in good.items()
            }
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
            is_argument = "." not in slot.where
            for key in ((1, 2), b"k", frozenset(), object()):
                where = f"a key of {slot.where}['a']" if is_argument else "a key in the answer"
                text = f"{where} must be None, bool, int, float or str, not {type(key).__name__}"
                self.assert_refused(slot, {"a": {"b": 1, key: 1}}, TypeError, text)
            where = slot.where + "[1]['é\\n'][7][0.5][...][0]" if is_argument else "a value in the answer"
            value = [["before"], {"é\n": {7: {0.5: {None: (object(), 1)}}}}]
            self.assert_refused(slot, value, TypeError, f"{where} must be {ANYTHING}, not object")

    def test_arguments_that_cannot_be_anything(self):
        for function, good in good_calls().items():
            for name in good:
                expected, taken = TYPED.get(f"{function}.{name}") or TYPED.get(name, ("", {*KINDS}))
                for kind, value in KINDS.items() if name not in HOST_READ else ():
                    arguments = good | {name: value}
                    if kind in taken and kind != "set":
                        getattr(real, function)(**arguments)
                        continue
                    with self.subTest(function, kind=kind), self.assertRaises(TypeError) as raised:
                        getattr(real, function)(**arguments)
                    texts = [f"{name} must be {expected}, not {kind}", f"{name} must be {ANYTHING}, not {kind}"]
                    texts += [f"{name}[0] must be dict, not list"] if kind == "list" else []
                    self.assertIn(str(raised.exception).replace("NoneType", "None"), texts)
                if expected.startswith("int"):
                    with self.assertRaisesRegex(OverflowError, f"^{name} is an int beyond 64 bits"):
                        getattr(real, function)(**good | {name: -(2**63) - 1})

    def test_keys_that_become_the_same_text(self):
        rng = random.Random(31)
        keys = [1, "1", 1.5, "1.5", None, "null", True, "true", False, "false", 0, "0", -0.0, "-0.0", "é", 2**63 - 1]
        keys += [float("nan"), float("nan"), "NaN", float("inf"), "Infinity", generators.Name.METHOD, "method"]
        keys += [generators.Level.LOW, generators.Ratio(0.5), "0.5", 7, "7"]
        for _ in range(scaled(60)):
            for slot in SLOTS:
                value = {key: generators.leaf(rng) for key in rng.sample(keys, rng.randint(2, len(keys)))}
                value = rng.choice((value, [value], (1, {"in": value}), {None: value, "null": value, "x": value}))
                self.assertEqual(exact(slot.call(value)), exact(slot.call(merged(value))), slot[:2])
            self.assertEqual(real.tool_result_text(value), plain.tool_result_text(merged(value)))

    def test_lone_surrogates_everywhere(self):
        rng = random.Random(32)

        def surrogated(value):
            if isinstance(value, dict):
                return {key: surrogated(member) for key, member in value.items()} | {odd(): 1}
            if isinstance(value, type(record({}))):
                return record({name: surrogated(member) for name, member in vars(value).items()})
            if isinstance(value, (list, tuple)):
                return [*map(surrogated, value)]
            return odd() + value + odd() if isinstance(value, str) else value

        def odd():
            return "".join(rng.choices("\ud800\udbff\udc00\udc80\udfff.a é😀", k=rng.choice((1, 2, 20))))

        for _ in range(scaled(100)):
            for function, good in good_calls().items():
                if function == "code_lines":
                    continue
                for arguments in (surrogated(good), surrogated(good) | {"token_budget": None}):
                    arguments = {name: arguments[name] for name in good}
                    expected = outcome(getattr(plain, function), arguments)
                    self.assertEqual(outcome(getattr(real, function), arguments), expected, function)

    def test_host_strings_come_back_as_themselves(self):
        for slot in CONTAINER_SLOTS:
            for text in ("".join(["a", "scii"]), "".join(["é", "a"]), "".join(["漢", "a"]), "".join(["😀", "a"])):
                found = [part for part in parts(slot.call([text, {text: (text,)}])) if part == text]
                self.assertEqual([id(part) for part in found], [id(text)] * 3, slot[:2])
                self.assertIs(real._cut(text, 9), text)
                self.assertIs(real._trimmed(text, 9), text)
                self.assertIs([*real.build_empty_paginated_response(text)][0], text)

    def test_nesting(self):
        circles = [[], {}]
        circles[0].append((circles[0],))
        circles[1]["k"] = [circles[1]]
        deep = [nested(kind, 1002) for kind in (list, tuple, dict)]
        deep += [nested(list, scaled(10**6)), nested(tuple, scaled(10**6)), nested(dict, scaled(10**5))]

        def check():
            try:
                for kind in (list, tuple, dict):
                    opening, closing = ('{"k":', "}") if kind is dict else ("[", "]")
                    text = opening * 399 + opening[0] + closing * 400
                    self.assertEqual(real.tool_result_text(nested(kind, 400)), text)
                    self.assertEqual(real._encoded_size(nested(kind, 400)), len(text))
                    for slot in SLOTS:
                        slot.call(nested(kind, 390))
                for slot in SLOTS:
                    for value in (*deep, *circles):
                        self.assertRaises(RecursionError, slot.call, value)
                ask = {"mode": "", "query": "", "answer": None, "token_budget": 1}
                for value in (*circles, *deep):
                    for asked in ({"sections": [{"excerpt": value}]}, {"sections": [{"title": value}]}):
                        self.assertRaises(RecursionError, real.build_wiki_ask_response, **ask | asked)
                    same = record(SYMBOL, start_line=value, end_line=[value] if isinstance(value, list) else value)
                    self.assertRaises(RecursionError, real.build_file_symbol, same)
                self.assertRaises(OverflowError, real.without_nulls, {"a": deep[3], "b": 2**63})
            except BaseException as error:
                failures.append(error)

        failures = []
        check()
        limit, size = sys.getrecursionlimit(), threading.stack_size(256 * 1024)
        try:
            for limit_then in (limit, 10**6, 200):
                thread = threading.Thread(target=lambda: sys.setrecursionlimit(limit_then) or check())
                thread.start()
                thread.join()
        finally:
            sys.setrecursionlimit(limit)
            threading.stack_size(size)
        self.assertEqual(failures, [])

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
            ("first_sentence", ["a" * size]),
            ("_cut", [text, size // 2]),
            ("_trimmed", ["ab " * (size // 2), size]),
            ("_trimmed", ["a" * size, size - 1]),
            ("outline_module", [[f"a.b{i % 2}.c" for i in range(size // 10)]]),
            ("build_file_symbol", [record(SYMBOL, fqn="a" * size + ".b"), "a" * size]),
        ]:
            answer = getattr(real, function)(*arguments)
            self.assertTrue(answer == getattr(plain, function)(*arguments), function)


if __name__ == "__main__":
    unittest.main()
