"""Values of every kind, in every argument of every function: the answer is right, or the error names the path."""

import inspect
import itertools
import json
import random
import re
import sys
import threading
from collections import OrderedDict, UserList, deque
from concurrent.futures import ThreadPoolExecutor
from types import SimpleNamespace

import random_input
from callbacks import class_with
from comparison import ComparingTest, exact, outcome
from samples import HERE, PLACES, REFERENCE, SYMBOL, embed_namespace, good_calls, parts, plain, real, record

ANYTHING = "None, bool, int, float, str, list, tuple or dict"
STUBS = (HERE.parents[1] / "hollin-stubs" / "mcp_responses.pyi").read_text("utf-8")
ATTRIBUTES = dict(re.findall(r"def (\w+)\(self\) -> (.+): \.\.\.", STUBS))  # the types of the attributes of records


def accepted_types(function, path):
    """The accepted types of an argument, attribute, element of an argument or deeper part, as an error names them."""
    name, element, deeper = re.fullmatch(r"(\w+)(\[0\])?(.*)", path).groups()
    parameters = inspect.signature(getattr(real, function)).parameters
    if deeper[1:] in ATTRIBUTES:
        return embed_namespace.accepted_types(ATTRIBUTES[deeper[1:]])
    if deeper or name not in parameters:
        return ANYTHING
    annotation = parameters[name].annotation
    types_of = embed_namespace.element_types if element else embed_namespace.accepted_types
    return types_of(annotation) or ANYTHING


KINDS = {"None": None, **{type(one).__name__: one for one in (True, 7, 0.5, "t", [{}], {"k": 1}, {1})}}
# Types that parameters accept beyond the declared ones.
ALSO_ACCEPTED = {"module": {"None"}, **dict.fromkeys(("total_count", "total", "offset"), {"float"})}


def rebuilt(value, make, make_key=lambda key: key):
    """A copy, for which `make` is called with each value after its contents have been copied."""
    if isinstance(value, dict):
        value = {make_key(key): rebuilt(member, make, make_key) for key, member in value.items()}
    elif isinstance(value, (list, tuple)):
        value = type(value)(rebuilt(element, make, make_key) for element in value)
    elif isinstance(value, SimpleNamespace):
        value = record({name: rebuilt(member, make, make_key) for name, member in vars(value).items()})
    return make(value)


def merged(value):
    """With lists for tuples and str keys. Of several keys with one text, the first determines the position, the last
    the value."""

    def text(key):
        return str.__str__(key) if isinstance(key, str) else json.dumps(key)

    return rebuilt(value, lambda part: [*part] if isinstance(part, tuple) else part, text)


def run_python_code(*args, **named):
    raise AssertionError("Python code was run")


def overriding_everything(base):
    kept = {"__new__", "__init__", "__class__", "__init_subclass__", "__subclasshook__", "__doc__"}
    overridden = dict.fromkeys({*dir(base)} - kept, run_python_code)
    return type(base.__name__, (base,), overridden | {"__hash__": base.__hash__})


OVERRIDING = {base: overriding_everything(base) for base in (str, int, float, list, tuple, dict)}
UnequalName = type("UnequalName", (str,), {"__eq__": object.__eq__, "__hash__": object.__hash__})


def nested(kind, levels):
    value = kind()
    for _ in range(levels - 1):
        value = {"k": value} if kind is dict else kind((value,))
    return value


def exact_outcome(function, *args, **named):
    """The answer as it is decoded from its text, and ""; or the type and the text of the error."""
    kind, result = outcome(function, args, named)
    return (exact(merged(result)), "") if kind == "returned" else (kind, result)


class Values(ComparingTest):
    def test_subclasses_that_override_everything(self):
        for (function, good), keys_too in itertools.product(good_calls().items(), (True, False)):

            def make(part):
                return OVERRIDING[type(part)](part) if type(part) in OVERRIDING else part

            disguised = {name: rebuilt(value, make, make if keys_too else str) for name, value in good.items()}
            disguised |= {name: list.copy(disguised[name]) for name in {"places", "fqns"} & {*good}}  # are iterated
            answer = getattr(real, function)(**disguised)
            self.assertEqual(exact(answer), exact(getattr(real, function)(**good)), function)
            self.assertEqual([part for part in parts(answer) if type(part) in OVERRIDING.values()], [], function)

    def test_the_path_of_an_unsupported_object(self):
        self.assertGreater(len(PLACES), 90)
        for place in PLACES:
            where, beyond = place.where, "is an int beyond 64 bits (from -2**63 to 2**63 - 1)"
            cases = [(n, OverflowError, f"{where} {beyond}") for n in (2**63, -(2**63) - 1, 10**25, 10**5000)]
            cases.append((OVERRIDING[int](2**64), OverflowError, f"{where} {beyond}"))
            for value in (object(), {1}, b"b", 1j, range(3), len, ..., bytearray(), frozenset(), int, memoryview(b"")):
                types = accepted_types(place.function, where)
                cases.append((value, TypeError, f"{where} must be {types}, not {type(value).__name__}"))
            for key in ((1, 2), b"k", frozenset(), object()):
                text = f"a key of {where}['a'] must be None, bool, int, float or str, not {type(key).__name__}"
                cases.append(({"a": {"b": 1, key: 1}}, TypeError, text))
            deep = [["before"], {"é\n": {7: {0.5: {None: (object(), 1)}}}}]
            text = f"{where}[1]['é\\n'][7][0.5][...][0] must be {ANYTHING}, not object"
            for value, *expected in [*cases, (deep, TypeError, text)]:
                self.assertEqual(exact_outcome(place.call, value), (*expected,), place)
        thing = object()
        # Keys with too many digits for repr(), of a subclass, and with a lone surrogate.
        odd = type("Odd", (str,), {"__repr__": lambda self: "code was run"})("k")
        for key, subscript in ((10**5000, "..."), (odd, "..."), ("\ud800", r"'\ud800'")):
            error = TypeError, f"items[0][{subscript}] must be {ANYTHING}, not object"
            self.assertEqual(exact_outcome(real.build_paginated_response, [{key: thing}], thing, 0), error)
        citations = {"mode": "", "query": "", "answer": "", "sections": [], "citations": [thing]}
        error = TypeError, "citations[0] must be dict, not object"
        self.assertEqual(exact_outcome(real.build_wiki_ask_response, **citations), error)

    def test_the_search_for_a_path_visits_each_container_once(self):
        cycle, shared = [], []
        cycle.append({"k": cycle})
        for _ in range(60):
            shared = [shared, shared]
        for unread in (cycle, shared):
            error = exact_outcome(real._ask_citations, [{"unread": unread}], [{"path": object()}])
            self.assertEqual(error, (TypeError, f"extra[0]['path'] must be {ANYTHING}, not object"))

    def test_arguments_of_a_wrong_type(self):
        pass_through = {(place.function, place.where) for place in PLACES}
        for function, good in good_calls().items():
            for name in good:
                types = accepted_types(function, name)
                accepted = {*re.split(", | or ", types)}
                if (function, name) in pass_through or not accepted <= KINDS.keys() | {"tuple"}:
                    continue
                for kind, value in KINDS.items():
                    if kind in accepted | ALSO_ACCEPTED.get(name, set()) or (kind == "bool" and "int" in accepted):
                        expected = ""
                    else:
                        expected = f"{name} must be {types}, not {kind}"
                    _, message = exact_outcome(getattr(real, function), **good | {name: value})
                    self.assertEqual(message.replace("NoneType", "None"), expected, (function, kind))
                if "int" in accepted:
                    with self.assertRaisesRegex(OverflowError, f"^{name} is an int beyond 64 bits"):
                        getattr(real, function)(**good | {name: -(2**63) - 1})

    def test_which_of_two_wrong_arguments_is_reported(self):
        for name, good in good_calls().items():
            function = getattr(real, name)
            in_order = sorted(good, key=lambda argument: isinstance(good[argument], SimpleNamespace))  # records last
            for first, second in itertools.combinations(in_order, 2):
                for make_first, make_second in itertools.product((object, lambda: 2**64 - len(name), set), repeat=2):
                    values = {first: make_first(), second: make_second()}  # two objects in any case
                    one, other = (exact_outcome(function, **good | {key: value}) for key, value in values.items())
                    self.assertNotEqual(one, other, (name, first, second))
                    self.assertEqual(exact_outcome(function, **good | values), one, (name, first, second))

    def test_rare_kinds_of_excerpts(self):
        excerpts = [[*range(2000)], ["é"] * 700, moved(OrderedDict), {7: [1], None: {"k": 1.5}}, 7, 0.0, True, ()]
        excerpts += [("x",), moved(OrderedDict, {"a": 1, "b": [2], "c": 3}), OVERRIDING[str]("words " * 300)]
        for excerpt, budget in itertools.product(excerpts, (None, 0, 60, 100, 200, 10**6)):
            named = {"mode": "m", "query": "q", "answer": "a", "token_budget": budget}
            if isinstance(excerpt, str):
                text = str.__str__(excerpt)
            else:
                text = real.tool_result_text(excerpt) if excerpt else ""
            expected = plain.build_wiki_ask_response(sections=[{"excerpt": text}], **named)
            answer = real.build_wiki_ask_response(sections=[{"excerpt": excerpt}], **named)
            self.assertTrue(exact(answer) == exact(expected), f"{text:.50} {budget}")

    def test_keys_of_one_text_in_a_caller(self):
        for keys in itertools.permutations(("fqn", UnequalName("fqn"), "kind", UnequalName("kind"), 7), 4):
            caller = {key: f"value {number}" for number, key in enumerate(keys)}
            found, expected = (record(REFERENCE, caller_symbol=value) for value in (caller, merged(caller)))
            self.assertEqual(real.build_reference(found), real.build_reference(expected), keys)

    def test_keys_that_become_the_same_text(self):
        rng = random.Random(31)
        keys = [1, "1", 1.5, "1.5", None, "null", True, "true", False, "false", 0, "0", -0.0, "-0.0", "é", 2**63 - 1]
        keys += [float("nan"), float("nan"), "NaN", float("inf"), "Infinity", random_input.Name.METHOD, "method"]
        keys += [random_input.Level.LOW, random_input.Ratio(0.5), "0.5", 7, "7", UnequalName("é")]
        for _ in range(40):
            for place in PLACES:
                value = {key: random_input.leaf(rng) for key in rng.sample(keys, rng.randint(2, len(keys)))}
                value = rng.choice((value, [value], (1, {"in": value}), {None: value, "null": value, "x": value}))
                self.assertEqual(exact(place.call(value)), exact(place.call(merged(value))), place)
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

        for _ in range(100):
            for function, good in good_calls().items():
                arguments = {name: rebuilt(value, make) for name, value in good.items() if function != "code_lines"}
                if "token_budget" in good and rng.random() < 0.5:
                    arguments["token_budget"] = None
                answer, expected = (exact_outcome(getattr(side, function), **arguments)[0] for side in (real, plain))
                self.assertEqual(answer, expected, function)
        message = "'utf-8' codec can't encode character '\\ud800' in position 2: surrogates not allowed"
        self.assertEqual(exact_outcome(real._encoded_size, ["", "ab\ud800c"]), (UnicodeEncodeError, message))

    def test_strings_are_returned_as_the_same_objects(self):
        for place in [place for place in PLACES if place.where != "result"]:
            for text in ("".join(["a", "scii"]), "".join(["é", "a"]), "".join(["漢", "a"]), "".join(["😀", "a"])):
                found = [part for part in parts(place.call([text, {text: (text,)}])) if part == text]
                self.assertEqual([id(part) for part in found], [id(text)], place)
                self.assertIs(real._cut(text, 9), text)
                self.assertIs(real._trimmed(text, 9), text)
                self.assertIs([*real.build_empty_paginated_response(text)][0], text)

    def check_nesting(self, deep):
        most = min(max(sys.getrecursionlimit(), 400), 1000)
        for kind, place in itertools.product((list, tuple, dict), PLACES):
            place.call(nested(kind, 390))
            if place.where in ("result", "test_file"):  # the answer adds no level here
                place.call(nested(kind, most))
                self.assertRaises(RecursionError, place.call, nested(kind, most + 1))
        for value in deep:
            for place in PLACES:
                self.assertRaises(RecursionError, place.call, value)
            for section in ({"excerpt": value}, {"title": value}):
                with self.assertRaises(RecursionError):
                    real.build_wiki_ask_response(mode="", query="", answer=None, token_budget=1, sections=[section])
            same = record(SYMBOL, start_line=value, end_line=[value] if isinstance(value, list) else value)
            self.assertRaises(RecursionError, real.build_file_symbol, same)

    def test_the_path_of_a_nesting_error(self):
        cycle = [0, {"x": []}]
        cycle[1]["x"].append(cycle)
        symbol = record(SYMBOL, kind=cycle)
        deep = nested(list, 1000)
        for call, message in (
            (lambda: real.tool_result_text(cycle), "result contains itself"),
            (lambda: real.tool_result_text({"r": [1, cycle]}), "result['r'][1] contains itself"),
            (lambda: real.build_paginated_response([cycle], 0, 0), "items[0] contains itself"),
            (lambda: real.build_symbol_search_result(symbol), "symbol.kind contains itself"),
            (lambda: real._encoded_size({"r": deep}), "result['r'][0][0][0][0]... is nested more than 1000 levels deep"),
        ):
            self.assertEqual(exact_outcome(call), (RecursionError, message))

    def test_nesting(self):
        deep = [[], {}, *(nested(kind, 1002) for kind in (list, tuple, dict))]
        deep[0].append((deep[0],))
        deep[1]["k"] = [deep[1]]
        deep += [nested(list, 10**6), nested(tuple, 10**6), nested(dict, 10**5)]
        self.check_nesting(deep)
        self.addCleanup(sys.setrecursionlimit, sys.getrecursionlimit())
        self.addCleanup(threading.stack_size, threading.stack_size(256 * 1024))
        with ThreadPoolExecutor(1) as small_thread:
            for limit in (sys.getrecursionlimit(), 10**6, 200):
                small_thread.submit(sys.setrecursionlimit, limit).result()
                small_thread.submit(self.check_nesting, deep).result()


MEMBERS = {"a": 1, 7: None, "b": 2, random_input.Name.METHOD: 3, "c": 4}


def moved(kind, members=MEMBERS):
    """A dict whose iteration order is not the order of its entries."""
    one = kind(members)
    one.move_to_end("a")
    one.move_to_end("c", last=False)
    return one


class OrderedDicts(ComparingTest):
    def test_their_own_order_counts_even_if_a_subclass_overrides_it(self):
        names = ("__iter__", "keys", "items", "values", "__getitem__", "__len__", "__reversed__", "__eq__", "copy")
        overriding = type("Overriding", (OrderedDict,), dict.fromkeys(names, run_python_code))
        strings = {"a": 1, "b": [2], "c": None}
        cases = ((MEMBERS, {"c": 4, 7: None, "b": 2, "method": 3, "a": 1}), (strings, {"c": None, "b": [2], "a": 1}))
        for kind, (members, expected) in itertools.product((OrderedDict, overriding), cases):
            for place in PLACES:
                for value, same in ((moved(kind, members), expected), ([{"x": moved(kind)}], [{"x": cases[0][1]}])):
                    self.assertEqual(exact(place.call(value)), exact(place.call(same)), place)
            without_nulls = real.without_nulls(moved(kind, members))
            self.assertEqual([*without_nulls], [str(key) for key, value in expected.items() if value is not None])

    def test_an_order_with_a_cycle(self):
        value = OrderedDict(a=1)
        dict.pop(value, "a")
        value["a"] = 2
        dict.clear(value)
        value["a"] = 3
        for place in PLACES:
            with self.assertRaisesRegex(RuntimeError, "mutated during iteration", msg=place):
                place.call(value)

    def test_a_hash_that_raises(self):
        class Key(str):
            is_broken = False

            def __hash__(self):
                return 1 // (not self.is_broken) and str.__hash__(self)

        key = Key("k")
        value = OrderedDict({"a": 1, key: [2], "b": 3})
        key.is_broken = True
        for place in PLACES:
            for each in (value, [value], {"x": [value]}):
                self.assertRaises(ZeroDivisionError, place.call, each)
        self.assertRaises(ZeroDivisionError, real.without_nulls, value)


class Errors(ComparingTest):
    def test_a_value_without_the_method_that_a_function_calls(self):
        values = [object(), {1}, 1j, range(3), 2**63, 7, 1.5, True, ["x"], None, set(), 0j, range(0)]
        values.append(class_with(__bool__=lambda self: 1 / 0)())
        calls = [("build_file_symbol", record(SYMBOL, fqn=value), "shop") for value in values]
        values += [b"b", b""]
        calls += [("build_reference", record(REFERENCE, caller_symbol=value)) for value in values]
        for function, *args in calls:
            found, expected = (exact_outcome(getattr(library, function), *args) for library in (real, plain))
            if expected[0] is AttributeError:
                field, types = ("symbol.fqn", "str") if len(args) == 2 else ("reference.caller_symbol", "dict or None")
                value = vars(args[0])[field.partition(".")[2]]
                expected = AttributeError, f"{field} must be {types}, not {type(value).__name__}"
            self.assertEqual(found, expected, args)

    def test_long_keys_are_abbreviated_in_messages(self):
        long = "é" * 10**7
        for call in (
            lambda: real.tool_result_text({long: {"x": object()}}),
            lambda: real.build_test_coverage("", "", {"k": {long: [2**63]}}),
            lambda: real.tool_result_text({long: {(1,): 1}}),
            lambda: real.tool_result_text(type(long, (), {})()),
            lambda: real.code_lines("/", [type(long, (), {})()]),
            lambda: real.code_lines("/", [(type(long, (), {})(), 1)]),
        ):
            with self.assertRaises((TypeError, OverflowError)) as raised:
                call()
            self.assertIn("é" * 50, str(raised.exception))
            self.assertLess(len(str(raised.exception)), 1000)

    def test_the_extra_citations_are_any_sequence_and_read_once(self):
        extra, read = [{"path": path} for path in "abca"], []
        once = class_with(__getitem__=lambda self, position: read.append(position) or extra[position])()
        for made in (deque(extra), UserList(extra), once, tuple(extra)):
            self.assertEqual(real._ask_citations([], made), plain._ask_citations([], extra))
        self.assertEqual(read, [0, 1, 2, 3, 4])
