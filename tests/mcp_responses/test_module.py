"""The module as a whole: its namespace, imports that fail, several modules and interpreters. Its functions are the
interpreter's own, so it binds their arguments, raises the errors of wrong calls, and answers inspect and help()."""

import builtins
import gc
import importlib
import inspect
import pydoc
import re
import sys
import types
import unittest
import weakref
from unittest import mock

import hollin
from samples import FUNCTIONS, good_calls, plain, real
from script_helper import run_program

NAME = "hollin.mcp_responses"
PAGINATION = "hollin.utils.pagination"
PLAIN_ALONE = {"copy", "_lines_inside", "_section_row", "_fitted"}


def own_names(module):
    """The names that the module's code defines, in order, without those that the interpreter defines before it."""
    names = list(vars(module))
    return names[names.index("__annotations__") :]


# What makes an import fail, and its error.
OBSTACLES = [
    (mock.patch.dict(sys.modules, {PAGINATION: None}), ModuleNotFoundError, f"^import of {PAGINATION} halted"),
    (mock.patch.object(re, "compile", side_effect=ZeroDivisionError("compile")), ZeroDivisionError, "^compile$"),
]


class Loading(unittest.TestCase):
    def setUp(self):
        """A test may remove the module. The one that the other tests use is restored."""
        self.addCleanup(setattr, hollin, "mcp_responses", real)
        self.enterContext(mock.patch.dict(sys.modules))

    def forget(self):
        sys.modules.pop(NAME, None)
        vars(hollin).pop("mcp_responses", None)

    def import_anew(self):
        self.forget()
        return importlib.import_module(NAME)

    def test_the_namespace_and_its_order(self):
        module = self.import_anew()
        expected = {name: getattr(plain, name) for name in own_names(plain) if name not in PLAIN_ALONE}
        self.assertEqual(own_names(module), [*expected], "benchmarks/plain_python.py defines the same names")
        usual = {*vars(types.ModuleType("m"))} | {"__file__", "__cached__", "__builtins__"}
        usual.add("__conditional_annotations__")  # of the interpreter, since 3.14
        self.assertLessEqual({*vars(module)} - {*expected}, usual)
        self.assertIs(module.__builtins__, vars(builtins))
        for name in expected.keys() - FUNCTIONS:
            self.assertEqual(getattr(module, name), expected[name], name)
            self.assertIs(type(getattr(module, name)), type(expected[name]), name)
        self.assertEqual(module.__package__, "hollin")
        self.assertRegex(module.__doc__, r"(?s)^Shared MCP response builders .+\n- Then use the builder where .+\n$")

    def test_an_import_after_a_failed_one(self):
        for obstacle, error, text in OBSTACLES:
            self.forget()
            with self.subTest(text), self.assertRaisesRegex(error, text), obstacle:
                importlib.import_module(NAME)
            self.assertNotIn(NAME, sys.modules)
            self.assertFalse(hasattr(hollin, "mcp_responses"), text)
            self.assertEqual(list(vars(self.import_anew()))[-1], "get_empty_response")

    def test_a_module_without_references_is_freed(self):
        held = []
        for _ in range(20):
            module = self.import_anew()
            cut = module._cut
            held += [weakref.ref(cut), weakref.ref(module)]
            del module
            self.forget()
            gc.collect()
            self.assertEqual(cut("abc", 2), "a…", "a function works without its module")
            del cut
        gc.collect()
        self.assertEqual([one() for one in held], [None] * len(held))

    def test_functions_whose_module_the_collector_has_cleared(self):
        run_program("call_cleared_functions.py")

    def test_sub_interpreters(self):
        run_program("use_sub_interpreters.py")


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
