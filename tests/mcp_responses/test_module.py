"""The module as a whole: its namespace, how it loads and fails to, and how often it can be there."""

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
from differential import plain, real
from samples import run_python, scaled

NAME = "hollin.mcp_responses"
PAGINATION = "hollin.utils.pagination"
IMPORTED = ("json", "logging", "re", "typing", PAGINATION)
PLAIN_ALONE = {"copy", "_lines_inside", "_section_row", "_fitted"}


def own_names(module):
    """The names that the module's code defines, in order: what the interpreter puts there comes before."""
    names = list(vars(module))
    return names[names.index("__annotations__") :]


class Failing(types.ModuleType):
    def __getattr__(self, name):
        raise ZeroDivisionError(name)


def instead(name, module):
    return mock.patch.dict(sys.modules, {name: module})


def failing(owner, name):
    return mock.patch.object(owner, name, side_effect=ZeroDivisionError(name))


# What stands in the way of each step, and the error of the import.
OBSTACLES = [
    *((instead(name, None), ModuleNotFoundError, f"^import of {name} halted") for name in IMPORTED),
    (instead("typing", types.ModuleType("typing")), ImportError, "^cannot import name 'TYPE_CHECKING' from 'typing'"),
    (instead(PAGINATION, types.ModuleType(PAGINATION)), ImportError, f"'add_pagination_hint' from '{PAGINATION}'"),
    (instead(PAGINATION, Failing("p")), ZeroDivisionError, "^add_pagination_hint$"),
    (failing(logging, "getLogger"), ZeroDivisionError, "^getLogger$"),
    (failing(re, "compile"), ZeroDivisionError, "^compile$"),
]


class Loading(unittest.TestCase):
    def setUp(self):
        """Each test may take the module away; the one that all other tests hold comes back."""
        self.addCleanup(setattr, hollin, "mcp_responses", real)
        patch = mock.patch.dict(sys.modules)
        patch.start()
        self.addCleanup(patch.stop)

    def forget(self):
        sys.modules.pop(NAME, None)
        vars(hollin).pop("mcp_responses", None)

    def import_anew(self):
        self.forget()
        return importlib.import_module(NAME)

    def test_the_namespace_in_its_order(self):
        module = self.import_anew()
        expected = {name: getattr(plain, name) for name in own_names(plain) if name not in PLAIN_ALONE}
        self.assertEqual(own_names(module), [*expected])
        self.assertLessEqual({*vars(module)} - {*expected}, {*vars(types.ModuleType("m"))} | {"__file__", "__cached__"})
        for name, value in expected.items():
            if not isinstance(value, types.FunctionType) or name == "add_pagination_hint":
                self.assertEqual(getattr(module, name), value, name)
                self.assertIs(type(getattr(module, name)), type(value), name)
        self.assertEqual(module.__package__, "hollin")
        self.assertRegex(module.__doc__, r"(?s)^Shared MCP response builders .+\n- Then use the builder where .+\n$")

    def test_a_step_that_fails_ends_the_import_and_a_later_one_starts_afresh(self):
        for obstacle, error, text in OBSTACLES:
            self.forget()
            with self.subTest(text), self.assertRaisesRegex(error, text), obstacle:
                importlib.import_module(NAME)
            self.assertNotIn(NAME, sys.modules)
            self.assertFalse(hasattr(hollin, "mcp_responses"), text)
            self.assertEqual(list(vars(self.import_anew()))[-1], "get_empty_response")

    def test_errors_tell_what_the_interpreters_own_tell(self):
        def told(call):
            with self.assertRaises((ImportError, NameError)) as raised:
                call()
            error = raised.exception
            return type(error), str(error), error.name, getattr(error, "path", None)

        def import_hint():
            exec(f"from {PAGINATION} import add_pagination_hint", {})

        for path, spec in ((None, None), ("p.py", None), (7, None), ("p.py", types.SimpleNamespace(_initializing=True))):
            pagination = types.ModuleType(PAGINATION)
            pagination.__file__, pagination.__spec__ = path, spec
            self.forget()
            with instead(PAGINATION, pagination):
                self.assertEqual(told(lambda: importlib.import_module(NAME)), told(import_hint))
        module = self.import_anew()
        del module.add_pagination_hint
        missing = told(lambda: module.build_paginated_response([], 0, 0))
        self.assertEqual(missing, told(lambda: eval("add_pagination_hint", {})))

    def test_a_module_that_is_dropped_goes_with_all_that_it_held(self):
        held = []
        for _ in range(scaled(20)):
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

    def test_one_import_does_not_see_what_is_done_to_another(self):
        first, second = self.import_anew(), self.import_anew()
        first.EMPTY_TOOL_RESPONSES.clear()
        first.add_pagination_hint = lambda *args: None
        self.assertEqual(len(second.EMPTY_TOOL_RESPONSES), 14)
        self.assertEqual(second.build_paginated_response([], 0, 0)["total_count"], 0)
        self.assertIsNone(first.build_paginated_response([], 0, 0))


class Everywhere(unittest.TestCase):
    def test_first_import_from_sixteen_threads(self):
        run_python(SIXTEEN_THREADS)

    def test_sub_interpreters_made_used_and_destroyed(self):
        run_python(SUB_INTERPRETERS.format(rounds=scaled(7)))


SIXTEEN_THREADS = """
import sys, threading
sys.setswitchinterval(1e-6)
import hollin
together, seen = threading.Barrier(16), []
def first():
    together.wait()
    import hollin.mcp_responses as module
    seen.append((id(module), module._trimmed("a b c", 4), module.get_empty_response("remember")["error"]))
threads = [threading.Thread(target=first) for _ in range(16)]
[thread.start() for thread in threads]
[thread.join() for thread in threads]
assert len(seen) == 16 and len({*seen}) == 1, seen
"""

# Three are alive at a time, and the first one outlives the others' end.
SUB_INTERPRETERS = """
import _xxsubinterpreters as interpreters
use = '''
import samples, sys
import hollin.mcp_responses as module
for _ in range(3):
    for name, arguments in samples.good_calls().items():
        getattr(module, name)(**arguments)
del sys.modules["hollin.mcp_responses"]
import hollin.mcp_responses as again
assert again.first_sentence("One. Two.") == module.first_sentence("One. Two.") == "One."
module.EMPTY_TOOL_RESPONSES.clear()
'''
for _ in range({rounds}):
    three = [interpreters.create() for _ in range(3)]
    for one in three + three[:1]:
        interpreters.run_string(one, use)
    for one in three[1:] + three[:1]:
        interpreters.destroy(one)
    exec(use)
"""
