"""Calls in the middle of which the service's own code runs. Each is a function of that code, which is called `hook`."""

import logging
from unittest import mock

from samples import HERE, RECORDS, real

FILES = [("samples.py", 1), ("missing.py", 1), ("test_text.py", 1)]
FQNS = ["shop.cart.Cart", "shop.cart.pay"]
real.logger.setLevel(logging.INFO)  # which goes to no handler but the ones that are put there


def made(*bases, **methods):
    return type("Made", bases, methods)


def record_of(fields, hook):
    """Has no attributes but those that it is asked for."""
    return made(__getattr__=lambda self, name: hook() or fields[name])()


def iterator(items, hook):
    items = iter(items)
    return made(__iter__=lambda self: hook() or self, __next__=lambda self: hook() or next(items))()


def root(hook):
    return real.code_lines(made(__fspath__=lambda self: hook() or str(HERE))(), FILES)


def name_of_an_argument(hook):
    name = made(str, __hash__=str.__hash__, __eq__=lambda self, other: hook() or str.__eq__(self, other))("text")
    return real._cut(**{name: "abc", "chars": 2})


def log_handler(hook):
    handler = logging.Handler()
    handler.lock = None  # or another thread that logs would have to wait
    handler.emit = lambda record: hook()
    with mock.patch.object(real.logger, "handlers", [handler]):
        return real.code_lines(HERE, FILES)


def hint(hook):
    add = real.add_pagination_hint
    with mock.patch.object(real, "add_pagination_hint", lambda *page: hook() or add(*page)):
        return real.build_paginated_response([["row"], {}], 7, 0)


CALLBACKS = {
    **{name: lambda hook, name=name: getattr(real, name)(record_of(RECORDS[name], hook)) for name in RECORDS},
    "fqns": lambda hook: real.outline_module(iterator(FQNS, hook)),
    "fqns of a generator": lambda hook: real.outline_module(hook() or fqn for fqn in FQNS),
    "places": lambda hook: real.code_lines(HERE, iterator(FILES, hook)),
    "root": root,
    "log handler": log_handler,
    "hint": hint,
    "name of an argument": name_of_an_argument,
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


# Calls that fail with a TypeError and drop the last reference to something with a finalizer, which is the hook.
FINALIZERS = {
    "refused fqns": lambda hook: real.outline_module(refused(hook)),
    "refused places": lambda hook: real.code_lines(HERE, refused(hook)),
    "refused attributes": lambda hook: real.build_symbol_search_result(giving_away(hook)),
    "attributes": lambda hook: real.tool_result_text([real.build_component(giving_away(hook)), hook]),
}
