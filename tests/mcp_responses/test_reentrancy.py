"""Python code of the caller that runs during a call: it raises, changes containers, calls again, or never returns. Also
while the interpreter exits, which ends the threads inside calls by unwinding their stacks."""

import gc
import json
import random
import sys
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor
from functools import partial
from unittest import mock

from callbacks import CALLBACKS, FINALIZERS, class_with, record_of
from comparison import exact
from samples import RECORDS, good_calls, real, with_good_arguments
from script_helper import IS_SANITIZED, run_program


def all_good_calls():
    return {name: exact(getattr(real, name)(**good)) for name, good in good_calls().items()}


def recurse(call, levels):
    """The result of a call whose hook makes the call again, in total this often."""
    remaining = iter(range(levels))

    def hook():
        if next(remaining, None) is not None:
            call(hook)

    return call(hook)


ENDLESS = {name: partial(recurse, call, 10**9) for name, call in CALLBACKS.items()}
# Without a Python function of the caller.
ENDLESS["__iter__"] = lambda: real.outline_module(class_with(__iter__=real.outline_module)())
ENDLESS["__getattr__"] = lambda: real.build_file_symbol(class_with(__getattr__=real.build_file_symbol)())


class Reentrancy(unittest.TestCase):
    def setUp(self):
        self.expected = {name: exact(call(lambda: None)) for name, call in CALLBACKS.items()}
        self.good = all_good_calls()

    def test_its_errors_pass_through(self):
        for name, call in CALLBACKS.items():
            for error in (ValueError("x"), AttributeError("y"), MemoryError(), KeyboardInterrupt(), SystemExit(3)):
                for before in range(100):
                    hook = mock.Mock(side_effect=[None] * before + [error])
                    try:
                        call(hook)
                    except BaseException as raised:
                        self.assertIs(raised, error, name)
                    else:
                        self.assertLessEqual(hook.call_count, before, f"{name} swallows {error!r}")
                        break
                self.assertGreater(before, 0, name)
            self.assertEqual(exact(call(lambda: None)), self.expected[name], name)

    def test_it_calls_the_extension_in_this_and_another_thread(self):
        def let_another_thread_call():
            answers = []
            thread = threading.Thread(target=lambda: answers.append(all_good_calls()))
            thread.start()
            thread.join()
            self.assertEqual(answers, [self.good])

        for name, call in CALLBACKS.items():
            hooks = iter([lambda: self.assertEqual(all_good_calls(), self.good), let_another_thread_call])
            self.assertEqual(exact(call(lambda: next(hooks, int)())), self.expected[name], name)

    def test_it_replaces_attributes_that_were_already_read(self):
        rng = random.Random(41)
        for _ in range(60):
            for name, fields in RECORDS.items():
                containers = {key: rng.choice(([key, [{}]], {"fqn": [key], 7: {"kind": key}})) for key in fields}
                containers["caller_symbol"] = {"fqn": ["x"], "kind": {7: "y"}}

                def hook():
                    for container in containers.values():
                        container.clear()
                        add = container.append if isinstance(container, list) else container.setdefault
                        add("".join(rng.choices("ab", k=40)))
                    gc.collect(0)

                texts = {key: fields[key] for key in {*fields} & {"docstring", "fqn"}}
                answer = with_good_arguments(name)(record_of(containers | texts, hook))
                self.assertEqual(exact(json.loads(real.tool_result_text(answer))), exact(answer), name)

    def test_it_empties_the_module_that_a_name_is_relative_to(self):
        module = ["shop"]
        record = record_of(RECORDS["build_file_symbol"], module.clear)
        with self.assertRaisesRegex(TypeError, "module must be str, not list"):
            real.build_file_symbol(record, module)

    def test_errors_in_finalizers_do_not_replace_the_error_of_the_call(self):
        def calling():
            self.assertEqual(all_good_calls(), self.good)
            raise failure

        failure, unraisable = KeyboardInterrupt(), []
        with mock.patch.object(sys, "unraisablehook", lambda failed: unraisable.append(failed.exc_value)):
            for name, call in FINALIZERS.items():
                self.assertRaises(TypeError, call, calling)
                self.assertEqual({*map(id, unraisable)}, {id(failure)}, name)
                unraisable.clear()

    def test_finalizers_that_the_collector_runs(self):
        run_program("collect_at_every_allocation.py")

    def test_the_interpreter_exits_during_callbacks(self):
        run_program("exit_during_calls.py", "callbacks", 0, 1)

    def test_the_interpreter_exits_during_finalizers_that_the_collector_runs(self):
        for part in range(4):
            run_program("exit_during_calls.py", "collector", part, 4)


class Recursion(unittest.TestCase):
    def setUp(self):
        # A sanitized build has much larger frames.
        self.addCleanup(threading.stack_size, threading.stack_size((8 if IS_SANITIZED else 1) << 20))
        self.small_thread = ThreadPoolExecutor(1)
        self.addCleanup(self.small_thread.shutdown)

    def test_endless_calls_raise_recursion_error(self):
        for name, call in ENDLESS.items():
            with self.subTest(name):
                self.assertRaises(RecursionError, call)
                self.assertRaises(RecursionError, self.small_thread.submit(call).result)

    def test_a_hundred_levels_work(self):
        # Each level of logging has ten frames of its own.
        for name, call in ((name, call) for name, call in CALLBACKS.items() if name != "log handler"):
            answers = [recurse(call, 100), self.small_thread.submit(recurse, call, 100).result()]
            self.assertEqual(answers, [call(int)] * 2, name)
