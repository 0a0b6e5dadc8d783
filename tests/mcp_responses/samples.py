"""The extension (`real`), the same contract in plain Python (`plain`), and valid arguments for their functions."""

import functools
import importlib.util
import inspect
import re
import sys
from pathlib import Path
from types import SimpleNamespace
from typing import Any, NamedTuple

HERE = Path(__file__).resolve().parent
sys.path[:0] = (str(HERE.parents[1] / folder) for folder in ("benchmarks", "mcp_responses"))

import embed_namespace  # noqa: E402, F401
import plain_python as plain  # noqa: E402

import hollin.mcp_responses as real  # noqa: E402

SYMBOL = {
    "fqn": "shop.cart.Cart.total",
    "name": "total",
    "kind": "method",
    "start_line": 12,
    "end_line": 20,
    "signature": "def total(self) -> int",
    "docstring": "Sum of the lines. Taxes are not – “included”.",
    "is_export": True,
    "docstring_truncated": False,
}
PAY = {"fqn": "shop.pay", "kind": "function"}
REFERENCE = {"file_path": "a.py", "line": 41, "caller_symbol": PAY, "usage_type": "call"}
COMPONENT = {"name": "shop", "layer": "api", "path_pattern": "shop/**", "file_count": 3, "symbol_count": 0}
CITATION = {"path": "a.py", "line_start": 1, "line_end": 2, "why": ["é", {"deep": (1.5, None)}]}
SECTION = {"page_id": "p", "title": "Été", "heading": "h", "similarity": 0.5, "stale": 1, "excerpt": "漢 words " * 90}
SECTION |= {"citations": [CITATION], "unread": 0}
ROW = {"fqn": "shop.cart", "line": 12, "lost": None, 7: ("x", {2.5: [True]})}

FUNCTIONS = [name for name, thing in vars(plain).items() if inspect.isfunction(thing) and hasattr(real, name)]
FUNCTIONS.remove("add_pagination_hint")  # of the service


def record(fields, **changed):
    return SimpleNamespace(**(fields | changed))


def new_module():
    """Another module object of the extension, which is not in sys.modules."""
    spec = importlib.util.spec_from_file_location(real.__name__, real.__file__)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def good_calls():
    """New arguments for a call of each function, by name and in order."""
    # By name; any other argument has the first type that its parameter declares.
    values = {"result": [ROW, CITATION], "docstring": SYMBOL["docstring"], "text": "two words " * 4, "chars": 20}
    values |= {"root": HERE, "places": [("samples.py", 1), ("missing.py", 1)], "fqns": ["shop.cart.Cart", "shop.pay"]}
    values |= {"symbol": record(SYMBOL), "reference": record(REFERENCE), "component": record(COMPONENT)}
    values |= {"module": "shop", "items_key": "rows", "status": "ready", "health": "healthy", "tokens": {"in": 7}}
    values |= {"sections": [SECTION, SECTION], "citations": [CITATION | {"path": "b.py"}], "token_budget": 500}

    def argument(name, annotation):
        kind = re.match(r"\w+(\[str\])?", annotation)[0]
        by_type = {"str": name, "int": len(name), "float": 0.5, "bool": True, "list[str]": [name], "list": [ROW]}
        return values.get(name) or by_type.get(kind) or ROW

    signatures = {function: inspect.signature(getattr(plain, function)).parameters for function in FUNCTIONS}
    return {
        function: {name: argument(name, parameter.annotation) for name, parameter in parameters.items()}
        for function, parameters in signatures.items()
    }


def failing_calls(name):
    """Arguments for calls most of which fail: each of a wrong type, each missing, and one too many."""
    good, circle = good_calls()[name], {}
    circle["k"] = [circle]
    for argument in good:
        for wrong in (object(), 2**63, circle, [circle], [{"excerpt": "\ud800"}], "a\0", "\udfff" * 50, [("\0", 1)]):
            yield good | {argument: wrong}
        yield {other: value for other, value in good.items() if other != argument}
    yield good | {"unknown": 1}
    yield {"".join(list(argument)): value for argument, value in good.items()} | {"é": 1}


class Attributes(dict):
    def __missing__(self, name):
        raise AssertionError(f"a record of samples.py has no attribute {name}")


# The functions that read a record, their first parameter. Each with the attributes of a record.
RECORDS = {
    name: Attributes(vars(first))
    for name, (first, *_) in ((name, good.values()) for name, good in good_calls().items())
    if isinstance(first, SimpleNamespace)
}


def with_good_arguments(name, library=real):
    """A function that reads a record, with good arguments for its other parameters."""
    _, *others = good_calls()[name].items()
    return functools.partial(getattr(library, name), **dict(others))


def parts(value):
    """The value and everything in it, at every depth, each object once. Also keys, and names of attributes."""
    found, waiting = {}, [value]
    while waiting:
        part = waiting.pop()
        if id(part) in found:
            continue
        found[id(part)] = part
        contents = vars(part) if isinstance(part, SimpleNamespace) else part
        if isinstance(contents, (dict, list, tuple)):
            waiting += contents
        if isinstance(contents, dict):
            waiting += contents.values()
    return found.values()


def contents(value):
    """The parts of a value by attribute, key or index."""
    if isinstance(value, SimpleNamespace):
        return vars(value)
    return value if isinstance(value, dict) else dict(enumerate(value)) if isinstance(value, list) else {}


def paths_in(value):
    """The paths of the value itself, (), and of its parts at every depth: ("sections",), ("sections", 0) ..."""
    yield ()
    for step, part in contents(value).items():
        yield from ((step, *path) for path in paths_in(part))


def replaced(value, path, other):
    """A copy of the value with another part at this path."""
    if not path:
        return other
    step, *rest = path
    copied = contents(value) | {step: replaced(contents(value)[step], rest, other)}
    if isinstance(value, SimpleNamespace):
        return record(copied)
    return [*copied.values()] if isinstance(value, list) else copied


class Place(NamedTuple):
    """A position in the arguments of a function whose value is passed through to the answer, and may be of any type."""

    function: str
    arguments: dict[str, Any]
    path: tuple[Any, ...]

    @property
    def where(self):
        """As an error message names it: sections[0]['title'], symbol.kind."""
        (name, *steps), text = self.path, self.path[0]
        is_record = isinstance(self.arguments[name], SimpleNamespace)
        for step in steps:
            text, is_record = f"{text}.{step}" if is_record else f"{text}[{step!r}]", False
        return text

    def __repr__(self):
        return f"{self.where} of {self.function}"

    def call(self, value, library=real):
        """The function's answer with this value at the place."""
        return getattr(library, self.function)(**replaced(self.arguments, self.path, value))

    def passes_through(self):
        """True if the answer of plain Python contains the value of the place. An encoder reads every value."""
        try:
            return self.path == ("result",) or any(part is UNUSABLE for part in parts(self.call(UNUSABLE, plain)))
        except (TypeError, AttributeError):
            return False


# The json module encodes it, and every other operation fails.
UNUSABLE = type("Unusable", (float,), dict.fromkeys(("__hash__", "__add__", "__mul__", "__ge__", "__gt__")))(0.5)


def places_of(function, good):
    """The places of a function. Positions inside a place are not listed."""
    if "token_budget" in good:
        good["token_budget"] = 10**9  # everything is measured and kept
    found = []
    for path in paths_in(good):
        place = Place(function, good, path)
        if path and not any(path[: len(outer.path)] == outer.path for outer in found) and place.passes_through():
            found.append(place)
    return found


PLACES = [place for function, good in good_calls().items() for place in places_of(function, good)]
