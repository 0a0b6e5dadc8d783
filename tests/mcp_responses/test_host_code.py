"""The service's own code, run in the middle of a call: it raises, changes what is walked, calls back, or never ends."""

import gc
import json
import random
import sys
import threading
import unittest
from unittest import mock

from differential import exact, real
from meetings import FINALIZERS, MEETINGS, PLACES, RECORDS, record_of
from samples import HERE, good_calls, run_python, scaled


def all_good_calls():
    return {name: exact(getattr(real, name)(**good)) for name, good in good_calls().items()}


class InTheMiddle(unittest.TestCase):
    def setUp(self):
        self.expected = {name: exact(meet(lambda: None)) for name, meet in MEETINGS.items()}
        self.good = all_good_calls()

    def test_what_it_raises_arrives_as_it_is(self):
        for name, meet in MEETINGS.items():
            for error in (ValueError("x"), AttributeError("y"), MemoryError(), KeyboardInterrupt(), SystemExit(3)):
                for before in range(100):
                    hook = mock.Mock(side_effect=[None] * before + [error])
                    try:
                        meet(hook)
                    except BaseException as raised:
                        self.assertIs(raised, error, name)
                    else:
                        self.assertLessEqual(hook.call_count, before, f"{name} swallows {error!r}")
                        break
                self.assertGreater(before, 0, name)
            self.assertEqual(exact(meet(lambda: None)), self.expected[name], name)

    def test_it_calls_the_library_again_itself_or_in_another_thread(self):
        def call_again():
            self.assertEqual(all_good_calls(), self.good)

        def let_another_thread_call():
            answers = []
            thread = threading.Thread(target=lambda: answers.append(all_good_calls()))
            thread.start()
            thread.join()
            self.assertEqual(answers, [self.good])

        for hook in (call_again, let_another_thread_call):
            for name, meet in MEETINGS.items():
                hooks = iter([hook])
                self.assertEqual(exact(meet(lambda: next(hooks, int)() and None)), self.expected[name], name)
                self.assertIsNone(next(hooks, None), name)

    def test_it_comes_to_the_same_call_again(self):
        for name, meet in MEETINGS.items():
            depth = iter(range(30))

            def deeper():
                if next(depth, None) is not None:
                    self.assertEqual(exact(meet(deeper)), self.expected[name], name)

            deeper()

    def test_it_replaces_what_was_given_already(self):
        rng = random.Random(41)
        for _ in range(scaled(60)):
            for name, fields in RECORDS.items():
                boxes = {key: rng.choice(([key, [{}]], {"fqn": [key], 7: {"kind": key}})) for key in fields}
                boxes["caller_symbol"] = {"fqn": ["x"], "kind": {7: "y"}}

                def hook():
                    for box in boxes.values():
                        box.clear()
                        (box.append if isinstance(box, list) else box.setdefault)("".join(rng.choices("ab", k=40)))
                    gc.collect(0)

                texts = {key: fields[key] for key in {*fields} & {"docstring", "fqn"}}
                answer = getattr(real, name)(record_of(boxes | texts, hook))
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
        hint = mock.Mock(side_effect=lambda page, count: rows.clear() or (page["items"], count))
        with mock.patch.object(real, "add_pagination_hint", hint):
            self.assertEqual(real.build_paginated_response(rows, 9, 0), ([[1], [2]], 2))

    def test_the_error_of_a_call_outlives_finalizers_that_fail(self):
        def calling():
            self.assertEqual(all_good_calls(), self.good)
            raise failure

        failure, unraisable = KeyboardInterrupt(), []
        with mock.patch.object(sys, "unraisablehook", lambda failed: unraisable.append(failed.exc_value)):
            for name, meet in FINALIZERS.items():
                self.assertRaises(TypeError, meet, calling)
                self.assertEqual({*map(id, unraisable)}, {id(failure)}, name)
                unraisable.clear()

    def test_finalizers_that_the_collector_runs(self):
        gc.disable()
        self.addCleanup(gc.enable)
        self.assertEqual((all_good_calls(), gc.isenabled()), (self.good, False))
        run_python(COLLECTOR.format(rounds=scaled(6)))

    def test_it_does_not_come_back_before_the_process_ends(self):
        for name in [*MEETINGS, *FINALIZERS]:
            run_python(SHUTDOWN.format(name=name))


# The collector runs at every allocation; whenever it does, a finalizer empties and refills all that is being walked.
COLLECTOR = """
import gc, random
from generators import mapping, tree
from hostile import SLOTS, parts
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

gc.set_threshold(1)
for slot in SLOTS * {rounds}:
    gc.disable()
    value = [[tree(rng) for _ in range(5)], mapping(rng), [mapping(rng)] * 2]
    shared[:] = [part for part in parts(value) if type(part) in (list, dict)]
    held.append([([], {{}}) for _ in range(90)])  # no freed ones are left, which would do without an allocation
    gc.freeze()
    Bomb()
    gc.enable()
    slot.call(value)
alive = False
assert runs > len(SLOTS) * {rounds} / 10, runs
"""

# The interpreter ends while a thread waits in the hook: it takes a while, and the hook tries to go on meanwhile.
SHUTDOWN = """
import sys, threading, time
import meetings
inside = threading.Event()
def hook(sleep=time.sleep):
    inside.set()
    sleep(0.1)
class LastMoment:
    def __del__(self, sleep=time.sleep):
        sleep(0.2)
sys.modules["last"] = LastMoment()
meet = (meetings.MEETINGS | meetings.FINALIZERS)["{name}"]
threading.Thread(target=meet, args=[hook], daemon=True).start()
inside.wait()
"""
