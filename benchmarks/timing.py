"""Times a case with both implementations: the best of many short rounds, which alternate."""

from __future__ import annotations

import time
import timeit
from types import ModuleType
from typing import Any

import cases
import others
import payloads
import plain_python as plain

from hollin import mcp_responses as ours

ROUND = 0.002  # seconds; short, so that a disturbance of the machine affects all implementations


class Side:
    """One implementation. timeit disables garbage collection during a round."""

    def __init__(self, case: cases.Case, namespace: dict[str, Any]) -> None:
        self.case = case
        self.namespace = namespace
        self.best = float("inf")  # processor time of a call in seconds, in the best round so far
        self.calls = 1  # in a round
        if not case.factory:
            self.timer = timeit.Timer(case.statement, timer=time.process_time, globals=namespace)

    def round(self) -> float:
        taken = self.time_new_objects() if self.case.factory else self.timer.timeit(self.calls)
        self.best = min(self.best, taken / self.calls)
        return taken

    def time_new_objects(self) -> float:
        """Each call has its own object, which is created before the measurement."""
        create = self.namespace[self.case.factory]
        statement = f"for new in created: {self.case.statement}"
        timer = timeit.Timer(statement, timer=time.process_time, globals=self.namespace)
        self.namespace["created"] = [create() for _ in range(self.calls)]
        return timer.timeit(1)

    def settle(self) -> None:
        """Adjust the number of calls to the duration of a round."""
        while self.round() < ROUND / 2:
            self.calls = min(10 * self.calls, max(2 * self.calls, int(ROUND / self.best)))


class Result:
    """The times of a case: ours, plain Python's, and those of other encoders by name.

    Raises ValueError if our answer differs from plain Python's.
    """

    def __init__(self, case: cases.Case) -> None:
        self.case = case
        namespaces = [_namespace(case, api) for api in (ours, plain)]
        answers = [eval(case.statement, namespace) for namespace in namespaces]
        # Unlike ==, repr distinguishes 1 from 1.0 and shows the order of keys.
        if repr(answers[0]) != repr(answers[1]):
            raise ValueError(f"{case}: the answers differ")
        self.ours, self.plain = (Side(case, namespace) for namespace in namespaces)
        self.others = {}
        for name, encode in others.ENCODERS.items() if case.is_text else ():
            namespace = _namespace(case, plain) | {"tool_result_text": encode}
            if others.answer_of(case.statement, namespace) == answers[1]:
                self.others[name] = Side(case, namespace)

    @property
    def ratio(self) -> float:
        return self.plain.best / self.ours.best

    @property
    def is_enough(self) -> bool:
        return self.ratio >= self.case.at_least

    def alternate(self, seconds: float) -> None:
        sides = [self.ours, self.plain, *self.others.values()]
        for side in sides:
            side.settle()
        end = time.perf_counter() + seconds
        while time.perf_counter() < end:
            for side in sides:
                side.round()


def _namespace(case: cases.Case, api: ModuleType) -> dict[str, Any]:
    handlers = {handler.__name__: handler for handler in cases.WHOLE_ANSWERS}
    new = {"new": getattr(payloads, case.factory)()} if case.factory else {}
    return vars(payloads) | vars(api) | handlers | {"api": api} | new


def measure(case: cases.Case, seconds: float, tries: int) -> Result:
    """Continue a measurement that misses its minimum, at most `tries` times: other load on the machine is not a
    regression.
    """
    result = Result(case)
    for _ in range(tries):
        result.alternate(seconds)
        if result.is_enough:
            break
    return result
