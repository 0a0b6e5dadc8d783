"""The module's functions are the interpreter's own, so it binds their arguments, raises the errors of wrong calls, and
answers inspect, pickle and help(). Calls whose arguments were once bound by the extension."""

import gc
import inspect
import json
import pydoc
import sys
import types
import unittest

from callbacks import class_with
from comparison import outcome
from samples import good_calls, new_module, plain, real


class Functions(unittest.TestCase):
    def test_introspection(self):
        for name in good_calls():
            function, same = getattr(real, name), getattr(plain, name)
            self.assertIs(type(function), types.FunctionType)
            self.assertIs(function.__globals__, vars(real))
            self.assertEqual((function.__module__, function.__qualname__), (real.__name__, name))
            self.assertEqual(inspect.signature(function), inspect.signature(same))
            first, second, *_ = function.__doc__.splitlines()
            self.assertEqual([first, second], [same.__doc__.splitlines()[0], ""])
            self.assertIn(first, pydoc.plain(pydoc.render_doc(function)))


class UnusualCalls(unittest.TestCase):
    def test_a_profile_function_that_adds_a_hostile_key_to_returned_dicts(self):
        hostile = class_with(str, __hash__=str.__hash__, __eq__=lambda self, other: 1 / 0)("text")

        def add(_frame, event, result):
            if event == "return" and isinstance(result, dict):
                result.clear()
                result[hostile] = 1

        self.addCleanup(sys.setprofile, sys.getprofile())
        sys.setprofile(add)
        answer = outcome(real._cut, [], {"".join(["te", "xt"]): "abc", "chars": 2})
        sys.setprofile(None)
        self.assertEqual(answer, ("returned", "a…"))

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
