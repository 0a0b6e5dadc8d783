"""The module as a whole: its namespace, imports that fail, several modules and interpreters."""

import gc
import importlib
import logging
import re
import sys
import types
import unittest
import weakref
from unittest import mock

import hollin
from samples import FUNCTIONS, plain, real
from script_helper import run_program

NAME = "hollin.mcp_responses"
PAGINATION = "hollin.utils.pagination"
PLAIN_ALONE = {"copy", "_lines_inside", "_section_row", "_fitted"}


def own_names(module):
    """The names that the module's code defines, in order, without those that the interpreter defines before it."""
    names = list(vars(module))
    return names[names.index("__annotations__") :]


class Failing(types.ModuleType):
    def __getattr__(self, name):
        raise ZeroDivisionError(name)


def instead(name, module):
    return mock.patch.dict(sys.modules, {name: module})


def failing(owner, name):
    return mock.patch.object(owner, name, side_effect=ZeroDivisionError(name))


# What makes each step fail, and the error of the import.
OBSTACLES = [
    *(
        (instead(name, None), ModuleNotFoundError, f"^import of {name} halted")
        for name in ("json", "logging", "re", "typing", PAGINATION)
    ),
    (instead("typing", types.ModuleType("typing")), ImportError, "^cannot import name 'TYPE_CHECKING' from 'typing'"),
    (instead(PAGINATION, types.ModuleType(PAGINATION)), ImportError, f"'add_pagination_hint' from '{PAGINATION}'"),
    (instead(PAGINATION, Failing("p")), ZeroDivisionError, "^__path__$"),  # which `from` reads first
    (failing(logging, "getLogger"), ZeroDivisionError, "^getLogger$"),
    (failing(re, "compile"), ZeroDivisionError, "^compile$"),
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
        self.assertEqual(own_names(module), [*expected])
        self.assertLessEqual({*vars(module)} - {*expected}, {*vars(types.ModuleType("m"))} | {"__file__", "__cached__"})
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

    def test_import_errors_equal_those_of_the_interpreter(self):
        def error_of(call):
            with self.assertRaises((ImportError, NameError)) as raised:
                call()
            error = raised.exception
            return type(error), str(error), error.name, getattr(error, "path", None)

        def import_hint():
            exec(f"from {PAGINATION} import add_pagination_hint", {})

        initializing = types.SimpleNamespace(_initializing=True)
        for path, spec in ((None, None), ("p.py", None), (7, None), ("p.py", initializing)):
            pagination = types.ModuleType(PAGINATION)
            pagination.__file__, pagination.__spec__ = path, spec
            self.forget()
            with instead(PAGINATION, pagination):
                self.assertEqual(error_of(lambda: importlib.import_module(NAME)), error_of(import_hint))
        module = self.import_anew()
        del module.add_pagination_hint
        missing = error_of(lambda: module.build_paginated_response([], 0, 0))
        self.assertEqual(missing, error_of(lambda: eval("add_pagination_hint", {})))

    def test_a_module_without_references_is_freed(self):
        held = []
        for _ in range(20):
            module = self.import_anew()
            cut = module._cut
            held += [weakref.ref(cut), weakref.ref(module)]
            del module
            self.forget()
            gc.collect()
            self.assertEqual((cut("abc", 2), held[-1]() is None), ("a…", False), "a function keeps its module")
            del cut
        gc.collect()
        self.assertEqual([one() for one in held], [None] * len(held))

    def test_functions_whose_module_the_collector_has_cleared(self):
        run_program("call_cleared_functions.py")

    def test_sub_interpreters(self):
        run_program("use_sub_interpreters.py")
