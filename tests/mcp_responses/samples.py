"""The extension (`real`), the same contract in plain Python (`plain`), and valid arguments for their functions."""

import functools
import importlib.util
import inspect
import re
import sys
from pathlib import Path
from types import SimpleNamespace
from typing import Any, Callable, NamedTuple

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "benchmarks"))

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


# The functions that read a record, each with the attributes of a record.
RECORDS = {
    name: vars(first)
    for name, (first, *_) in ((name, good.values()) for name, good in good_calls().items())
    if isinstance(first, SimpleNamespace)
}


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


class Place(NamedTuple):
    """A position in the arguments of a call whose value is passed through to the answer, and may be of any type."""

    function: str
    where: str  # its path in an error message
    call: Callable[[Any], Any]  # the call, with this value at that position


# The json module encodes it, and every other operation fails.
UNUSABLE = type("Unusable", (float,), dict.fromkeys(("__hash__", "__add__", "__mul__", "__ge__", "__gt__")))(0.5)


def call_with(function, good, name, library, other):
    return getattr(library, function)(**good | {name: other})


def passes_through(call):
    try:
        return any(part is UNUSABLE for part in parts(call(plain, UNUSABLE)))
    except (TypeError, AttributeError):
        return False


def inside(value):
    """The contents of a value: the subscript, the part, and a function that copies the value with another part."""
    if isinstance(value, SimpleNamespace):
        for name, part in vars(value).items():
            yield f".{name}", part, lambda other, name=name: record(vars(value), **{name: other})
    elif isinstance(value, dict):
        for key, part in value.items():
            yield f"[{key!r}]", part, lambda other, key=key: value | {key: other}
    elif isinstance(value, list):
        for i, part in enumerate(value):
            yield f"[{i}]", part, lambda other, i=i: [*value[:i], other, *value[i + 1 :]]


def places_in(function, where, value, call):
    """The places at this value and inside it. `call(library, other)` makes the call with another value instead."""
    if where == "result" or passes_through(call):
        yield Place(function, where, functools.partial(call, real))
        return
    for step, part, with_part in inside(value):
        deeper = lambda library, other, with_part=with_part: call(library, with_part(other))  # noqa: E731
        yield from places_in(function, where + step, part, deeper)


def all_places():
    for function, good in good_calls().items():
        if "token_budget" in good:
            good["token_budget"] = 10**9  # everything is measured and kept
        for name, value in good.items():
            call = functools.partial(call_with, function, good, name)
            yield from places_in(function, name, value, call)


PLACES = [*all_places()]
