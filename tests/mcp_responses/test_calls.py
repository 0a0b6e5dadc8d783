"""The functions behave like functions defined with `def`: calls, introspection, pickling, binding; and a wrong call
raises the interpreter's own error."""

import copy
import gc
import inspect
import json
import pickle
import pydoc
import random
import sys
import types
import typing
import unittest
import weakref
from unittest import mock

from comparison import outcome
from samples import good_calls, new_module, plain, real

UNKNOWN = ["nope", "", "é", "漢字", "self", "\ud800", "two words"]


def twin_of(name):
    """A Python function with the same name and parameters, which returns its arguments by name."""
    namespace = {"__name__": "hollin.mcp_responses"}
    exec(f"def {name}{inspect.signature(getattr(plain, name))}: return locals()", namespace)
    return namespace[name]


TWINS = {name: twin_of(name) for name in good_calls()}


def odd(hash_of=object.__hash__, **methods):
    """A subclass of str whose instances are equal to a name, or claim to be."""
    return type("Odd", (str,), {"__hash__": hash_of, "__str__": lambda self: f"<{self[:]}>"} | methods)


# Each makes a key of a name: an equal str, an instance of a subclass, or an object that is not a str.
KEYS = [lambda name: "".join(list(name)), odd(str.__hash__), odd(__eq__=lambda self, other: 1 / 0), len, tuple]
KEYS += [odd(__eq__=lambda self, other: "yes"), odd(__eq__=lambda self, other: ())]


class WrongCalls(unittest.TestCase):
    def assert_same_outcome(self, name, args, named):
        function = getattr(real, name)
        expected = outcome(TWINS[name], args, named)
        if expected[0] == "returned":  # with these arguments, however they were given
            expected = outcome(function, [], expected[1])
        self.assertEqual(outcome(function, args, named), expected, f"{name} {len(args)} {named}")

    def test_random_calls(self):
        rng = random.Random(21)
        calls = list(good_calls().items())
        for _ in range(40000):
            name, good = rng.choice(calls)
            names = [*good, *rng.sample(UNKNOWN, rng.choice((0, 0, 0, 1, 2)))]
            given = rng.sample(names, rng.randint(0, len(names)))
            named = {rng.choice(KEYS)(key) if rng.random() < 0.2 else key: good.get(key) for key in given}
            args = (list(good.values()) * 2)[: rng.randint(0, rng.choice((1, len(good) + 2)))]
            self.assert_same_outcome(name, args, named)

    def test_a_key_whose_comparison_fails_at_any_time(self):
        for name, good in good_calls().items():
            for number in range(3 * len(good)):

                def given():
                    remaining = iter(range(number))

                    def equal(self, other):
                        return 1 / 0 if next(remaining, None) is None else str.__eq__(self, other)

                    return {odd(str.__hash__, __eq__=equal)(key): value for key, value in good.items()}

                expected = outcome(TWINS[name], [], given())
                found = outcome(getattr(real, name), [], given())
                self.assertEqual(found[0], expected[0], (name, number))

    def test_a_profile_function_that_clears_defaults(self):
        module = new_module()

        def clear(_frame, event, _argument):
            for one in gc.get_objects() if event == "call" else ():
                if isinstance(one, types.FunctionType) and one.__globals__ is vars(module) and one.__kwdefaults__:
                    one.__kwdefaults__.clear()

        self.addCleanup(sys.setprofile, sys.getprofile())
        sys.setprofile(clear)
        outcome(module.build_wiki_status_response, [], {"".join(["buil", "t"]): True, "branch": "main"})
        sys.setprofile(None)
        missing = outcome(module.build_wiki_status_response, [], {"built": True, "branch": "main"})
        self.assertIs(missing[0], TypeError)

    def test_a_call_from_code_with_builtins_of_its_own(self):
        for builtins in ({}, {"locals": lambda: {"text": "wrong", "chars": 9}}, {"None": 7}):
            namespace = {"cut": real._cut, "named": json.loads('{"chars": 2}'), "__builtins__": builtins}
            exec('answer = cut("abc", **named)', namespace)
            self.assertEqual(namespace["answer"], "a…")

    def test_arguments_that_cannot_be_unpacked(self):
        for name, twin in TWINS.items():
            for wrong in (lambda f: f(*5), lambda f: f(**5), lambda f: f(**{"a": 1}, **{"a": 1})):
                self.assertEqual(outcome(wrong, [getattr(real, name)], {}), outcome(wrong, [twin], {}))


class Identity(unittest.TestCase):
    def test_introspection(self):
        for name, twin in TWINS.items():
            function = getattr(real, name)
            self.assertEqual(inspect.signature(function), inspect.signature(twin))
            for attribute in ("name", "qualname", "module", "defaults", "kwdefaults", "annotations"):
                found, expected = (repr(getattr(one, f"__{attribute}__")) for one in (function, twin))
                self.assertEqual(found, expected, name)
            first, second, *_ = function.__doc__.splitlines()
            self.assertEqual([first, second], [getattr(plain, name).__doc__.splitlines()[0], ""])
            self.assertIs(inspect.getmodule(function), real)
            self.assertIn(first, pydoc.plain(pydoc.render_doc(function)))
            self.assertIs(type(function), types.FunctionType)
            self.assertRegex(repr(function), f"^<function {name} at 0x[0-9a-f]+>$")

    def test_pickling_and_copying(self):
        for name, twin in TWINS.items():
            function = getattr(real, name)
            copies = [pickle.loads(pickle.dumps(function, number)) for number in range(pickle.HIGHEST_PROTOCOL + 1)]
            for same in [*copies, copy.copy(function), copy.deepcopy(function), weakref.ref(function)()]:
                self.assertIs(same, function)
            with mock.patch.object(real, name, twin):
                self.assertRaises(pickle.PicklingError, pickle.dumps, function)

    def test_type_hints_are_evaluated_in_the_module(self):
        self.assertIs(real._cut.__globals__, vars(real))
        hints = typing.get_type_hints(real.tool_result_text)
        self.assertEqual(hints, {"result": typing.Any, "return": str})
        with self.assertRaisesRegex(NameError, "'Symbol'"):
            typing.get_type_hints(real.build_file_symbol)

    def test_a_function_in_a_class_binds_as_a_method(self):
        class Docstring(str):
            first = real.first_sentence
            cut = real._cut

        text = Docstring("One. Two.")
        self.assertEqual((text.first(), text.cut(2), text.cut(chars=2)), ("One.", "O…", "O…"))
        self.assertIs(Docstring.first, real.first_sentence)
        self.assertEqual(str(inspect.signature(text.cut)), "(chars: 'int') -> 'str'")
        with self.assertRaisesRegex(TypeError, r"^first_sentence\(\) takes 1 positional argument but 2 were given$"):
            text.first(1)
