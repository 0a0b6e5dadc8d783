"""Signals during a long call. Their handler runs after a bounded amount of work, may raise, and may change anything.

No test waits for a time to pass. C code raises a signal just before a call, and the signal stays pending until the
extension runs the handlers.
"""

import contextlib
import ctypes
import gc
import inspect
import itertools
import json
import operator
import signal
import types
import unittest
from collections import OrderedDict
from functools import partial

from callbacks import CHANGES, class_with
from samples import REFERENCE, SYMBOL, real, record

SIGNAL = signal.SIGUSR1
raise_signal = ctypes.CDLL(None)["raise"]  # unlike signal.raise_signal, does not run the handler


copy = partial(real.build_test_coverage, source_file="")  # no lambda: its bytecode would run the handler


def native_call(function, *arguments):
    """The native call that a call of a function, or of a partial of one, makes."""
    call = partial(function, *arguments)
    (native,) = (one for one in call.func.__code__.co_consts if isinstance(one, types.BuiltinFunctionType))
    bound = inspect.signature(call.func).bind(*call.args, **call.keywords)
    bound.apply_defaults()
    return partial(native, *bound.arguments.values())


class Interrupted(Exception):
    pass


def shared(depth, kind=list):
    """A tree of 2 ** depth leaves in a few containers."""
    value = ["leaf"]
    for _ in range(depth):
        value = [value, value] if kind is list else {"a": value, "b": value}
    return value


def ask(**named):
    arguments = {"mode": "", "query": "", "answer": "", "token_budget": 9, "sections": []}
    return partial(real.build_wiki_ask_response, **arguments | named)


LONG = "x" * 10**6
NUMBERED = dict.fromkeys(range(10**5))
UPS_AND_DOWNS = "/" + "tmp/../" * 10**7

# Long by many elements, or by a few elements that are long themselves.
LONG_CALLS = {
    "names": partial(real.outline_module, ["a.b"] * 10**5),
    "long names": partial(real.outline_module, [LONG] * 9),
    "places": partial(real.code_lines, "/", [("a", 1)] * 10**5),
    "places in many files": partial(real.code_lines, "/", [(str(number), 1) for number in range(10**5)]),
    "a long path": partial(real.code_lines, "/", [(UPS_AND_DOWNS, 1)]),
    "a long root": partial(real.code_lines, UPS_AND_DOWNS, [("a", 1)]),
    "text": partial(real.tool_result_text, shared(18)),
    "text of long strings": partial(real.tool_result_text, [LONG] * 9),
    "size of long keys": partial(real._encoded_size, [{LONG: 1}] * 9),
    "size of a part": ask(code=shared(18, dict)),
    "size of long titles": ask(sections=[{"title": LONG}] * 9),
    "size of a part with long strings": ask(code={"k": [LONG] * 9}),
    "text of an excerpt": ask(sections=[{"excerpt": shared(18)}]),
    "sections": ask(sections=[{}] * 10**5),
    "keys": partial(real.without_nulls, NUMBERED),
    "look-up of a key": partial(real.build_reference, record(REFERENCE, caller_symbol=NUMBERED)),
    "copy": partial(real.build_test_coverage, shared(14), ""),
    "copy of dicts": partial(real.build_paginated_response, [shared(14, dict)], 1, 0),
    "copy of a long list": partial(real.build_test_coverage, [0.5] * 10**5, ""),
    "copies of a dict": partial(real.build_test_coverage, [dict.fromkeys(map(str, range(1000)))] * 9, ""),
    "copy of keys": partial(real.build_test_coverage, NUMBERED, ""),
    "equality": partial(real.build_file_symbol, record(SYMBOL, start_line=shared(14), end_line=shared(14))),
    "citations": partial(real._ask_citations, [], [{"path": "a"}] * 10**5),
    "wrong citations": partial(real._ask_citations, [], [None] * 10**5),
    "path of an unsupported object": partial(real.tool_result_text, [None] * 60_000 + [object()]),
}


class Signals(unittest.TestCase):
    def call(self, handler, function, *arguments):
        """Calls the function and returns its result. Requires that the handler runs during the call."""
        ended = []

        def handle(*_):
            self.assertEqual(ended, [], "the handler runs after the call")
            handler()

        self.addCleanup(signal.signal, SIGNAL, signal.signal(SIGNAL, handle))
        calls = partial(raise_signal, SIGNAL), native_call(function, *arguments), partial(ended.append, True)
        # No bytecode is executed between the signal and the call, so the interpreter runs no handler there. For this
        # reason the native function is called directly.
        _, result, _ = map(operator.call, calls)
        return result

    def test_a_handler_ends_each_long_call(self):
        def interrupt():
            raise Interrupted

        for name, call in LONG_CALLS.items():
            with self.subTest(name):
                self.assertRaises(Interrupted, self.call, interrupt, call)

    def test_a_handler_changes_the_containers_that_a_call_traverses(self):
        for function, kind in itertools.product((real.tool_result_text, real._encoded_size, copy), (list, dict)):
            with self.subTest(function=function, kind=kind):
                root, containers = [shared(40, kind)], []
                inner = root
                while inner != "leaf":
                    containers.append(inner)
                    inner = inner[0 if isinstance(inner, list) else "a"]

                def free_all():
                    while containers:
                        containers.pop(0).clear()

                del inner
                self.call(free_all, function, root)
                self.assertEqual(root, [])

    def test_a_handler_frees_the_element_that_a_call_has_reached(self):
        kinds = (list, dict.fromkeys, OrderedDict.fromkeys, str)
        for function, kind, position in itertools.product((real.tool_result_text, real._encoded_size), kinds, (0, 1)):
            root = [None] * position + [kind([str(number)]) for number in range(80_000)]
            self.call(root.clear, function, root)
            self.assertEqual(root, [])

    def test_a_handler_frees_the_element_that_the_search_for_a_path_has_reached(self):
        for position in (0, 1):
            # Only the search reads the elements, because the unsupported object is another argument.
            root = class_with(list)([None] * position + [[str(number)] for number in range(30_000)])
            with self.assertRaisesRegex(TypeError, "^file_path must be str or None, not object$"):
                self.call(root.clear, real.build_symbol_search_result, root, object())
            self.assertEqual(root, [])

    def test_a_handler_changes_the_unfinished_copy(self):
        # The handler runs between two elements, or while an element is copied.
        elements_of = {"many": lambda: [["element"] for _ in range(20_000)], "long": lambda: [NUMBERED] * 9 + [[]]}
        for (size, make), kind, change in itertools.product(elements_of.items(), (list, dict), CHANGES):
            with self.subTest(elements=size, kind=kind, change=change.__name__):
                elements = make()
                original = elements if kind is list else {str(n): element for n, element in enumerate(elements)}
                last, sizes = elements[-1], []

                def change_copies():
                    for found in gc.get_referrers(last):
                        if type(found) is kind and found is not original and found is not elements:
                            sizes.append(len(found))
                            change(found)

                with contextlib.suppress(IndexError):  # an element of a list is gone
                    self.call(change_copies, copy, original)
                self.assertEqual(sizes, [len(elements)])
                values = original if kind is list else [*original.values()]
                self.assertEqual([*map(id, values)], [*map(id, elements)])

    def test_a_handler_runs_while_a_large_dict_is_copied(self):
        element, sizes = [], []
        original = {"first": element} | {str(number): None for number in range(200_000)}

        def look():
            sizes.extend(len(one) for one in gc.get_referrers(element) if type(one) is dict and one is not original)

        self.call(look, copy, original)
        self.assertLess(*sizes, len(original))

    def test_a_handler_frees_the_key_of_the_element_that_is_copied(self):
        element, strings = NUMBERED | {"": []}, []
        original = {"".join(["the key ", str(number)]): element for number in range(9)}

        def free_keys():
            for found in gc.get_referrers(element):
                if type(found) is dict:
                    found.clear()
            strings.extend("".join(["another ", str(number % 10)]) for number in range(100))

        answer = self.call(free_keys, copy, original)["test_file"]
        self.assertEqual(({*answer} - {f"the key {number}" for number in range(9)}, original), (set(), {}))

    def test_a_handler_adds_a_key_that_is_not_a_str(self):
        for function in (real.tool_result_text, real._encoded_size):
            original = dict.fromkeys(map(str, range(80_000)), 0.5)
            with self.assertRaisesRegex(RuntimeError, "^dictionary keys changed during iteration$"):
                self.call(lambda: original.update({7: None}), function, original)

    def test_a_handler_frees_the_key_that_a_search_has_reached(self):
        class Key(str):
            empties = False

            def __del__(self):
                if Key.empties:
                    container.clear()

        for parity in (0, 1):
            container = {Key(number): [number] for number in range(80_000)}

            def free_keys():
                for key in [*container][parity::2]:
                    del container[key]
                del key
                Key.empties = True

            with self.assertRaisesRegex(TypeError, "tokens must be"):
                self.call(free_keys, ask(model=container, tokens=object()))
            Key.empties = False

    def test_a_handler_makes_a_text_during_a_text(self):
        tree, inner = shared(18), ["wider…" * 99] * 99
        expected = [json.dumps(value, ensure_ascii=False, separators=(",", ":")) for value in (inner, tree)]
        for _ in range(3):
            texts = []
            texts.append(self.call(lambda: texts.append(real.tool_result_text(inner)), real.tool_result_text, tree))
            self.assertTrue(texts == expected)
