"""Places among the arguments of all functions that may hold anything, and what to put there."""

import json
from types import SimpleNamespace
from typing import Any, Callable, NamedTuple

from differential import real
from samples import CITATION, COMPONENT, REFERENCE, SECTION, SYMBOL, good_calls, record

# Arguments that cannot be anything: what they must be, and the kinds that are taken. The service's code is asked for
# what is in some others.
TYPED = {
    **dict.fromkeys(("text", "items_key", "tool_name"), ("str", {"str"})),
    **dict.fromkeys(("total_count", "total", "offset"), ("int", {"int", "bool", "float"})),
    **dict.fromkeys(("sections", "extra"), ("list", set())),  # of dicts
    **dict.fromkeys(("items", "build_wiki_list_response.pages"), ("list", {"list"})),
    "chars": ("int", {"int", "bool"}),
    "docstring": ("str or None", {"str", "None"}),
    "module": ("str", {"str", "None"}),
    "row": ("dict", {"dict"}),
    "token_budget": ("int or None", {"int", "bool", "None"}),
    "build_wiki_ask_response.citations": ("list or None", {"None"}),
}
RECORDS = {
    "symbol": ("build_symbol_full_details", SYMBOL),
    "reference": ("build_reference", REFERENCE),
    "component": ("build_component", COMPONENT),
}
HOST_READ = {"root", "places", "fqns", *RECORDS}


def citing(value):
    return [CITATION, {"path": "b.py", "why": value}]


# How an argument that is looked into holds a value that is not.
HOLDING = {
    "row": ("['k']", lambda value: {"k": value}),
    "items": ("[1]", lambda value: [0, value]),
    "build_wiki_list_response.pages": ("[1]", lambda value: [0, value]),
    "sections": ("[1]['page_id']", lambda value: [SECTION, SECTION | {"page_id": value}]),
    "_ask_citations.sections": ("[0]['citations'][1]['why']", lambda value: [{"citations": citing(value)}]),
    "citations": ("[1]['why']", citing),
    "extra": ("[1]['why']", citing),
}


class Slot(NamedTuple):
    function: str
    where: str
    call: Callable[[Any], Any]


def slot(function, name, where, make):
    good = good_calls()[function]
    if "token_budget" in good:
        good["token_budget"] = 10**9  # everything is measured, and nothing dropped
    return Slot(function, name + where, lambda value: getattr(real, function)(**good | {name: make(value)}))


def slots():
    for function, good in good_calls().items():
        for name in good:
            where, make = HOLDING.get(f"{function}.{name}") or HOLDING.get(name) or ("", lambda value: value)
            if where or name not in {*TYPED} | HOST_READ:
                yield slot(function, name, where, make)
    for name, (function, fields) in RECORDS.items():
        for field in {*fields} - {"caller_symbol"}:
            yield slot(function, name, f".{field}", lambda value, b=fields, field=field: record(b, **{field: value}))
    yield slot("build_file_symbol", "symbol", ".start_line", lambda value: record(SYMBOL, start_line=value))
    called = ".caller_symbol['fqn']"
    yield slot("build_reference", "reference", called, lambda value: record(REFERENCE, caller_symbol={"fqn": value}))


SLOTS = [*slots()]


def rebuilt(value, make, make_key=lambda key: key):
    """A copy, made from the inside out."""
    if isinstance(value, dict):
        value = {make_key(key): rebuilt(member, make, make_key) for key, member in value.items()}
    elif isinstance(value, (list, tuple)):
        value = type(value)(rebuilt(element, make, make_key) for element in value)
    elif isinstance(value, SimpleNamespace):
        value = record({name: rebuilt(member, make, make_key) for name, member in vars(value).items()})
    return make(value)


def merged(value):
    """As lists and with keys as their texts: of two with one text, the first has the place, the last the value."""

    def text(key):
        return str.__str__(key) if isinstance(key, str) else json.dumps(key)

    return rebuilt(value, lambda part: [*part] if isinstance(part, tuple) else part, text)


def host_code_was_run(*args, **named):
    raise AssertionError("host code was run")


def overriding_everything(base):
    kept = {"__new__", "__init__", "__class__", "__init_subclass__", "__subclasshook__", "__doc__"}
    overridden = dict.fromkeys({*dir(base)} - kept, host_code_was_run)
    return type(base.__name__, (base,), overridden | {"__hash__": base.__hash__})


OVERRIDING = {base: overriding_everything(base) for base in (str, int, float, list, tuple, dict)}


def disguised(value, keys_too):
    """The same content, every part of it an instance of a subclass that overrides all it can."""

    def make(part):
        return OVERRIDING[type(part)](part) if type(part) in OVERRIDING else part

    return rebuilt(value, make, make if keys_too else str)


def parts(value):
    """The value and all that it holds, keys and a record's attributes too."""
    yield value
    value = vars(value) if isinstance(value, SimpleNamespace) else value
    for part in value.items() if isinstance(value, dict) else value if isinstance(value, (list, tuple)) else ():
        yield from parts(part)


def nested(kind, levels):
    value = kind()
    for _ in range(levels - 1):
        value = {"k": value} if kind is dict else kind((value,))
    return value
