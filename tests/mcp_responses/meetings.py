"""Calls in the middle of which the service's own code runs."""

import logging
from unittest import mock

from differential import real
from samples import COMPONENT, HERE, REFERENCE, SYMBOL

RECORDS = dict.fromkeys(("build_symbol_search_result", "build_symbol_full_details", "build_file_symbol"), SYMBOL)
RECORDS |= {"build_api_endpoint": SYMBOL, "build_reference": REFERENCE, "build_component": COMPONENT}
PLACES = [("samples.py", 1), ("missing.py", 1), ("test_text.py", 1)]
real.logger.setLevel(logging.INFO)  # which goes to no handler but the ones that are put there
FQNS = ["shop.cart.Cart", "shop.cart.pay"]


def made(*bases, **methods):
    return type("Made", bases, methods)


def record_of(fields, hook):
    """Has no attributes but those that it is asked for."""
    return made(__getattr__=lambda self, name: hook() or fields[name])()


def root(hook):
    return made(__fspath__=lambda self: hook() or str(HERE))()


def iterator(items, hook):
    items = iter(items)
    return made(__iter__=lambda self: hook() or self, __next__=lambda self: hook() or next(items))()


def named(hook):
    name = made(str, __hash__=str.__hash__, __eq__=lambda self, other: hook() or str.__eq__(self, other))("text")
    return real._cut(**{name: "abc", "chars": 2})


def logged(place, hook):
    """The hook stands at one place of the logging of the missing file."""
    handler = logging.Handler()
    handler.lock = None  # or another thread that logs would have to wait
    handler.emit = handler.filter = lambda record: True
    setattr(handler, place, lambda record: hook() or True)
    with mock.patch.object(real.logger, "handlers", [handler]):
        return real.code_lines(HERE, PLACES)


def hinted(hook):
    add = real.add_pagination_hint
    with mock.patch.object(real, "add_pagination_hint", lambda *page: hook() or add(*page)):
        return real.build_paginated_response([["row"], {}], 7, 0)


MEETINGS = {
    **{
        name: lambda hook, name=name, fields=fields: getattr(real, name)(record_of(fields, hook))
        for name, fields in RECORDS.items()
    },
    "fqns": lambda hook: real.outline_module(iterator(FQNS, hook)),
    "fqns of a generator": lambda hook: real.outline_module(hook() or fqn for fqn in FQNS),
    "places": lambda hook: real.code_lines(HERE, iterator(PLACES, hook)),
    "root": lambda hook: real.code_lines(root(hook), PLACES),
    "a log handler": lambda hook: logged("emit", hook),
    "a log filter": lambda hook: logged("filter", hook),
    "the hint": hinted,
    "a name of an argument": named,
}


def giving_away(hook):
    """A record that holds no reference to its attributes, which have a finalizer."""
    dropped = made(list, __del__=lambda self: hook())
    return made(__getattr__=lambda self, name: dropped([1]))()


def refused(hook):
    """Each iterator of it yields what is refused everywhere, and runs a finalizer when it is given up."""

    def iterate(self):
        try:
            yield None
        finally:
            hook()

    return made(__iter__=iterate)()


# Calls that fail with a TypeError and drop the last reference to something with a finalizer.
FINALIZERS = {
    "refused fqns": lambda hook: real.outline_module(refused(hook)),
    "refused places": lambda hook: real.code_lines(HERE, refused(hook)),
    "refused attributes": lambda hook: real.build_symbol_search_result(giving_away(hook)),
    "attributes": lambda hook: real.tool_result_text([real.build_component(giving_away(hook)), hook]),
}
