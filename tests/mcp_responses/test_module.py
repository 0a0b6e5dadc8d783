"""The module as a whole: its namespace, how it loads and fails to, and how often it can be there."""

import gc
import importlib
import logging
import re
import sys
import types
import typing
import unittest
import weakref
from unittest import mock

import hollin
import hollin.mcp_responses as real
from hollin.utils.pagination import add_pagination_hint
from samples import run_python, scaled

NAME = "hollin.mcp_responses"
PAGINATION = "hollin.utils.pagination"
NAMESPACE = """
    __annotations__ annotations json logging re TYPE_CHECKING Any Literal add_pagination_hint logger SUMMARY_CHARS
    CODE_LINE_CHARS _SENTENCE_END tool_result_text first_sentence code_lines _cut without_nulls
    build_index_status_response build_symbol_search_result build_symbol_full_details outline_module build_file_symbol
    build_api_endpoint build_reference build_component build_paginated_response build_test_coverage
    build_empty_paginated_response build_wiki_status_response build_wiki_list_response build_wiki_read_response
    _ASK_EXCERPT_CHARS _ASK_MIN_EXCERPT_CHARS _ASK_CITATIONS_PER_SECTION _ASK_MAX_CITATIONS _BYTES_PER_TOKEN
    build_wiki_ask_response _ask_citations _trimmed _encoded_size EMPTY_TOOL_RESPONSES get_empty_response
""".split()
CONTENTS = {
    "annotations": __import__("__future__").annotations,
    **{name: importlib.import_module(name) for name in ("json", "logging", "re")},
    **{name: getattr(typing, name) for name in ("TYPE_CHECKING", "Any", "Literal")},
    "add_pagination_hint": add_pagination_hint,
    "logger": logging.getLogger(NAME),
    "SUMMARY_CHARS": 160,
    "CODE_LINE_CHARS": 200,
    "_SENTENCE_END": re.compile(r"(?<=[.!?])\s"),
    "_ASK_EXCERPT_CHARS": 1200,
    "_ASK_MIN_EXCERPT_CHARS": 200,
    "_ASK_CITATIONS_PER_SECTION": 3,
    "_ASK_MAX_CITATIONS": 24,
    "_BYTES_PER_TOKEN": 4,
    "__annotations__": {"EMPTY_TOOL_RESPONSES": "dict[str, dict[str, Any]]"},
    "__package__": "hollin",
    "__doc__": """Shared MCP response builders for consistent response structures.

This module provides the SINGLE SOURCE OF TRUTH for ALL MCP tool response structures.
The tool handlers and daemon/worker MUST use these builders to ensure consistency.

MAINTENANCE:
- When adding NEW FIELDS to any MCP tool response, add them HERE FIRST
- Then use the builder where the response is made
""",
}


class Failing(types.ModuleType):
    def __getattr__(self, name):
        raise ZeroDivisionError(name)


def instead(name, module):
    return mock.patch.dict(sys.modules, {name: module})


def failing(owner, name):
    return mock.patch.object(owner, name, side_effect=ZeroDivisionError(name))


# What stands in the way of each step, and the error of the import.
OBSTACLES = [
    *((instead(name, None), ModuleNotFoundError, f"^import of {name} halted") for name in ("json", "re", PAGINATION)),
    *((instead(name, None), ModuleNotFoundError, f"^import of {name} halted") for name in ("logging", "typing")),
    (instead("typing", types.ModuleType("typing")), ImportError, "^cannot import name 'TYPE_CHECKING' from 'typing'"),
    (instead(PAGINATION, types.ModuleType("p")), ImportError, f"'add_pagination_hint' from '{PAGINATION}'"),
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
        names = list(vars(module))
        start = names.index("__annotations__")
        self.assertEqual(names[start:], NAMESPACE)
        self.assertLessEqual({*names[:start]}, {*vars(types.ModuleType("m"))} | {"__file__", "__cached__"})
        for name, expected in CONTENTS.items():
            self.assertEqual(getattr(module, name), expected, name)
            self.assertIs(type(getattr(module, name)), type(expected), name)

    def test_a_step_that_fails_ends_the_import_and_a_later_one_starts_afresh(self):
        for obstacle, error, text in OBSTACLES:
            self.forget()
            with self.subTest(text), self.assertRaisesRegex(error, text), obstacle:
                importlib.import_module(NAME)
            self.assertNotIn(NAME, sys.modules)
            self.assertFalse(hasattr(hollin, "mcp_responses"), text)
            self.assertEqual(list(vars(self.import_anew()))[-1], "get_empty_response")

    def test_a_module_that_is_dropped_goes_with_all_that_it_held(self):
        modules = []
        for _ in range(scaled(20)):
            module = self.import_anew()
            cut = module._cut
            modules.append(weakref.ref(module))
            del module
            self.forget()
            gc.collect()
            self.assertEqual((cut("abc", 2), modules[-1]() is None), ("a…", False), "a function keeps its module")
            del cut
        gc.collect()
        self.assertEqual([module() for module in modules], [None] * len(modules))

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

if __name__ == "__main__":
    unittest.main()
