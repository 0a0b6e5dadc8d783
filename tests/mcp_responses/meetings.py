"""Calls in the middle of which the service's own code runs."""

import logging
from unittest import mock

from differential import real
from samples import COMPONENT, HERE, REFERENCE, SYMBOL

RECORDS = {
    **dict.fromkeys(("build_symbol_search_result", "build_symbol_full_details", "build_file_symbol"), SYMBOL),
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


def named(hook):
    name = Name("text")
    name.hook = hook
    return real._cut(**{name: "abc", "chars": 2})


def logged(place, hook):
    """The hook stands at one place of the logging of the missing file."""
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


class Fresh:
    """Gives away the only reference to each of its attributes."""

    def __init__(self, hook):
        self.hook = hook

    def __getattr__(self, name):
        value = Dropped([1])
        value.hook = self.hook
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


# Calls that fail with a TypeError and drop the last reference to something with a finalizer.
FINALIZERS = {
    "refused fqns": lambda hook: real.outline_module(Closing(hook)),
    "refused places": lambda hook: real.code_lines(HERE, Closing(hook)),
    "refused attributes": lambda hook: real.build_symbol_search_result(Fresh(hook)),
    "attributes": lambda hook: real.tool_result_text({real.build_component(Fresh(hook))["name"][0]: hook}),
}
