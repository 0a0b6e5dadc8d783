"""Times a case on both sides: the best call of many short rounds, in which the sides take turns."""

from __future__ import annotations

import sys
import time
import timeit
from types import ModuleType
from typing import Any

import cases
import others
import payloads
import plain_python as plain

from hollin import mcp_responses as ours

ROUND = 0.002  # seconds: so short that both sides meet the same machine


class Side:
    """The best processor time of a call, over all rounds so far. timeit turns the garbage collector off meanwhile."""

    def __init__(self, case: cases.Case, namespace: dict[str, Any]) -> None:
        self.case = case
        self.namespace = namespace
        self.best = float("inf")
        self.calls = 1  # a round
        if not case.made_anew:
            self.timer = timeit.Timer(case.statement, timer=time.process_time, globals=namespace)

    def round(self) -> float:
        taken = self.over_new_objects() if self.case.made_anew else self.timer.timeit(self.calls)
        self.best = min(self.best, taken / self.calls)
        return taken

    def over_new_objects(self) -> float:
        """Each call has an object of its own, made before the time is taken."""
        make = self.namespace[self.case.made_anew]
        timer = timeit.Timer(f"for anew in made: {self.case.statement}", timer=time.process_time, globals=self.namespace)
        self.namespace["made"] = [make() for _ in range(self.calls)]
        return timer.timeit(1)

    def settle(self) -> None:
        """Find how many calls make a round."""
        while self.round() < ROUND / 2:
            self.calls = min(10 * self.calls, max(2 * self.calls, int(ROUND / self.best)))


class Result:
    """What a case took: ours, plain Python's, and that of other encoders by name."""

    def __init__(self, case: cases.Case) -> None:
        self.case = case
        namespaces = [_namespace(api) | _first_object(case) for api in (ours, plain)]
        answers = [eval(case.statement, namespace) for namespace in namespaces]
        # Unlike ==, the representations tell 1 from 1.0 and see the order of keys.
        if repr(answers[0]) != repr(answers[1]):
            sys.exit(f"{case}: the two sides do not answer alike")
        self.ours, self.plain = (Side(case, namespace) for namespace in namespaces)
        self.others = {}
        for name, encode in others.ENCODERS.items() if case.is_text else ():
            namespace = vars(payloads) | _first_object(case) | {"tool_result_text": encode}
            if others.answer_of(case.statement, namespace) == answers[1]:
                self.others[name] = Side(case, namespace)

    @property
    def ratio(self) -> float:
        return self.plain.best / self.ours.best

    @property
    def is_enough(self) -> bool:
        return self.ratio >= self.case.at_least

    def take_turns(self, seconds: float) -> None:
        sides = [self.ours, self.plain, *self.others.values()]
        for side in sides:
            side.settle()
        end = time.perf_counter() + seconds
        while time.perf_counter() < end:
            for side in sides:
                side.round()


def _namespace(api: ModuleType) -> dict[str, Any]:
    handlers = {handler.__name__: handler for handler in cases.WHOLE_ANSWERS}
    return vars(payloads) | vars(api) | handlers | {"api": api}


def _first_object(case: cases.Case) -> dict[str, Any]:
    return {"anew": getattr(payloads, case.made_anew)()} if case.made_anew else {}


def measure(case: cases.Case, seconds: float, tries: int) -> Result:
    """A ratio that misses its floor is measured on, so often at most: other work on the machine is no regression."""
    result = Result(case)
    for _ in range(tries):
        result.take_turns(seconds)
        if result.is_enough:
            break
    return result
