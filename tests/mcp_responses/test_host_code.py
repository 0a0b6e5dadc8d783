"""The service's own code, run in the middle of a call: it raises, changes what is walked, calls back, or never ends."""

import contextlib
import gc
import json
import logging
import random
import sys
import threading
import unittest
from unittest import mock

from differential import exact, real
from samples import COMPONENT, HERE, REFERENCE, SYMBOL, good_calls, run_python, scaled

RECORDS = {
    "build_symbol_search_result": SYMBOL,
    "build_symbol_full_details": SYMBOL,
    "build_file_symbol": SYMBOL,
    "build_api_endpoint": SYMBOL,
    "build_reference": REFERENCE,
    "build_component": COMPONENT,
}
PLACES = [("samples.py", 1), ("missing.py", 1), ("test_text.py", 1)]
FQNS = ["shop.cart.Cart", "shop.cart.pay"]


class Record:
    """Has no attributes but those that it is asked for."""

    def __init__(self, fields, hook):
        vars(self).update(_fields=fields, _hook=hook)

    def __getattr__(self, name):
        self._hook()
        return self._fields[name]


class Root:
    def __init__(self, hook):
        self.hook = hook

    def __fspath__(self):
        self.hook()
        return str(HERE)


class Iterator:
    def __init__(self, items, hook):
        self.items, self.hook = iter(items), hook

    def __iter__(self):
        self.hook()
        return self

    def __next__(self):
        self.hook()
        return next(self.items)


class Name(str):
    __hash__ = str.__hash__

    def __eq__(self, other):
        self.hook()
        return str.__eq__(self, other)


def logged(place, hook):
    """The lines, with the hook at one place of the logging of the missing file."""
    handler = logging.Handler()
    handler.lock = None  # or another thread that logs would have to wait
    handler.emit = handler.filter = lambda record: True
    setattr(handler, place, lambda record: hook() or True)
    level = real.logger.level
    real.logger.setLevel(logging.INFO)
    try:
        with mock.patch.object(real.logger, "handlers", [handler]):
            return real.code_lines(HERE, PLACES)
    finally:
        real.logger.setLevel(level)


def hinted(hook):
    add = real.add_pagination_hint
    with mock.patch.object(real, "add_pagination_hint", lambda *page: hook() or add(*page)):
        return real.build_paginated_response([["row"], {}], 7, 0)


def named(hook):
    name = Name("text")
    name.hook = hook
    return real._cut(**{name: "abc", "chars": 2})


# Calls in the middle of which a hook is called, at least once.
MEETINGS = {
    **{
        name: lambda hook, name=name, fields=fields: getattr(real, name)(Record(fields, hook))
        for name, fields in RECORDS.items()
    },
    "fqns": lambda hook: real.outline_module(Iterator(FQNS, hook)),
    "fqns of a generator": lambda hook: real.outline_module(hook() or fqn for fqn in FQNS),
    "places": lambda hook: real.code_lines(HERE, Iterator(PLACES, hook)),
    "root": lambda hook: real.code_lines(Root(hook), PLACES),
    "a log handler": lambda hook: logged("emit", hook),
    "a log filter": lambda hook: logged("filter", hook),
    "the hint": hinted,
    "a name of an argument": named,
}


class Dropped(list):
    def __del__(self):
        self.hook()


def dropping(hook):
    value = Dropped([1])
    value.hook = hook
    return value


class Closing:
    """Each of its iterators yields what is refused everywhere, and runs a finalizer when it is given up."""

    def __init__(self, hook):
        self.hook = hook

    def __iter__(self):
        try:
            yield None
        finally:
            self.hook()


class Fresh:
    """Gives away the only reference to each of its attributes."""

    def __init__(self, hook):
        self.hook = hook

    def __getattr__(self, name):
        return dropping(self.hook)


# Calls that fail with a TypeError, or succeed, and drop the last reference to something with a finalizer.
FINALIZERS = {
    "a refused generator": lambda hook: real.outline_module(Closing(hook)),
    "refused places": lambda hook: real.code_lines(HERE, Closing(hook)),
    "attributes": lambda hook: real.build_component(Fresh(hook)),
    "a refused attribute": lambda hook: real.build_symbol_search_result(Fresh(hook)),
}


def all_good_calls():
    return {name: exact(getattr(real, name)(**good)) for name, good in good_calls().items()}


class Interrupted(BaseException):
    pass


class InTheMiddle(unittest.TestCase):
    def setUp(self):
        self.expected = {name: exact(meet(lambda: None)) for name, meet in MEETINGS.items()}
        self.good = all_good_calls()

    def assert_meets(self, hook):
        for name, meet in MEETINGS.items():
            hooks = iter([hook])
            self.assertEqual(exact(meet(lambda: next(hooks, int)() and None)), self.expected[name], name)
            self.assertIsNone(next(hooks, None), name)

    def test_what_it_raises_arrives_as_it_is(self):
        for name, meet in MEETINGS.items():
            for error in (ValueError("x"), AttributeError("y"), MemoryError(), KeyboardInterrupt(), Interrupted()):
                for before in range(100):
                    hook = mock.Mock(side_effect=[None] * before + [error])
                    try:
                        meet(hook)
                    except BaseException as raised:
                        self.assertIs(raised, error, name)
                    if hook.call_count <= before:
                        break
                self.assertGreater(before, 0, name)
            self.assertEqual(exact(meet(lambda: None)), self.expected[name], name)

    def test_it_calls_the_library_again(self):
        self.assert_meets(lambda: self.assertEqual(all_good_calls(), self.good))
        for name, meet in MEETINGS.items():
            depth = iter(range(30))

            def deeper():
                if next(depth, None) is not None:
                    self.assertEqual(exact(meet(deeper)), self.expected[name], name)

            deeper()

    def test_it_lets_another_thread_call(self):
        def hook():
            answers = []
            thread = threading.Thread(target=lambda: answers.append(all_good_calls()))
            thread.start()
            thread.join()
            self.assertEqual(answers, [self.good])

        self.assert_meets(hook)

    def test_it_replaces_what_was_given_already(self):
        rng = random.Random(41)
        for _ in range(scaled(60)):
            for name, fields in RECORDS.items():
                boxes = {key: rng.choice(([key, [{}]], {"fqn": [key], 7: {"kind": key}})) for key in fields}
                boxes |= {key: fields[key] for key in {*fields} & {"docstring", "fqn"}}
                boxes |= {"caller_symbol": {"fqn": ["x"], "kind": {7: "y"}}}

                def hook():
                    for box in boxes.values():
                        if not isinstance(box, (str, type(None))):
                            box.clear()
                            (box.append if isinstance(box, list) else box.setdefault)("".join(rng.choices("ab", k=40)))
                    gc.collect(0)

                answer = getattr(real, name)(Record(boxes, hook))
                self.assertEqual(exact(json.loads(real.tool_result_text(answer))), exact(answer), name)

    def test_places_and_rows_that_change_once_they_are_taken(self):
        def places():
            for _ in range(3):
                place = ["".join(["samples", ".py"]), 1]
                yield place
                place.clear()
                gc.collect()

        expected = real.code_lines(HERE, PLACES[:1])
        self.assertEqual([len(expected), real.code_lines(HERE, places())], [1, expected])
        rows = [[1], [2]]

        def hint(page, count):
            rows.clear()
            return page["items"], count

        with mock.patch.object(real, "add_pagination_hint", hint):
            self.assertEqual(real.build_paginated_response(rows, 9, 0), ([[1], [2]], 2))

    def test_the_error_of_a_call_outlives_finalizers_that_fail(self):
        unraisable = []
        with mock.patch.object(sys, "unraisablehook", lambda failure: unraisable.append(failure.exc_value)):
            for name, meet in FINALIZERS.items():
                error = Interrupted()
                hook = mock.Mock(side_effect=lambda: self.assertEqual(all_good_calls(), self.good))
                with contextlib.nullcontext() if name == "attributes" else self.assertRaises(TypeError):
                    meet(hook)
                self.assertGreater(hook.call_count, 0, name)
                with contextlib.nullcontext() if name == "attributes" else self.assertRaises(TypeError):
                    meet(mock.Mock(side_effect=error))
                self.assertIs(unraisable.pop(), error)
                unraisable.clear()

    def test_finalizers_that_the_collector_runs(self):
        run_python(COLLECTOR.format(rounds=scaled(400)))

    def test_it_does_not_come_back_before_the_process_ends(self):
        for name in [*MEETINGS, *FINALIZERS]:
            run_python(SHUTDOWN.format(name=name))


# The collector runs at every allocation; whenever it does, a finalizer empties and refills all that is being walked.
COLLECTOR = """
import gc, random
import hollin.mcp_responses as real
rng, shared, held, alive, runs = random.Random(42), [], [], True, 0

class Bomb:
    def __init__(self):
        self.me = self
    def __del__(self):
        global runs
        runs += 1
        for box in shared:
            if rng.random() < 0.3:
                box.clear()
            elif isinstance(box, list):
                box.extend(str(i) + "x" for i in range(rng.randint(0, 40)))
            else:
                box.update((str(rng.random()), [i]) for i in range(rng.randint(0, 40)))
        if alive:
            Bomb()

def tree(depth):
    if not depth:
        return rng.choice([1, "x", None, 2.5, 10**10])
    size, kind = rng.randint(0, 9), rng.randrange(4)
    if kind == 0:
        return tuple(tree(depth - 1) for _ in range(size))
    key = [None, str, int, float][kind]
    inner = [tree(depth - 1) for _ in range(size)]
    shared.append(inner if kind == 1 else dict(zip(map(key, range(size)), inner)))
    return shared[-1]

gc.set_threshold(1)
for i in range({rounds}):
    gc.disable()
    shared.clear()
    value = tree(rng.choice([1, 2, 2, 3]))
    held.append([([], {{}}) for _ in range(90)])  # there are no more used ones, which would do without an allocation
    gc.freeze()
    Bomb()
    gc.enable()
    try:
        if i % 6 == 0: real.build_paginated_response([value], 1, 0)
        elif i % 6 == 1: real.without_nulls({{"a": value, 1: value}})
        elif i % 6 == 2: real.tool_result_text(value)
        elif i % 6 == 3: real.build_wiki_read_response(page_id=value, title=value, content=value, citations=value)
        elif i % 6 == 4: real.outline_module([*map(str, range(9))])
        else: real.build_wiki_ask_response(mode=value, query=value, answer=value, sections=[{{"title": value}}] * 3,
                                           citations=[{{"a": value}}], token_budget=rng.choice([None, 0, 10**6]))
    finally:
        gc.disable()
alive = False
assert runs > {rounds} / 10, runs
"""

SHUTDOWN = """
import sys, threading, time
import test_host_code
inside = threading.Event()
def hook(sleep=time.sleep):
    inside.set()
    sleep(0.1)
class LastMoment:
    def __del__(self, sleep=time.sleep):
        sleep(0.2)
sys.modules["last"] = LastMoment()
meet = (test_host_code.MEETINGS | test_host_code.FINALIZERS)["{name}"]
threading.Thread(target=meet, args=[hook], daemon=True).start()
inside.wait()
"""

if __name__ == "__main__":
    unittest.main()
