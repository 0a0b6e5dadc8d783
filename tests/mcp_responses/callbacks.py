"""Calls of the extension that run Python code of the caller, each a function of that code, `hook`; and the changes of
containers that such code makes."""

import gc
import logging
from unittest import mock

from samples import HERE, RECORDS, real, with_good_arguments

FILES = [("samples.py", 1), ("missing.py", 1), ("test_text.py", 1)]
EXTRA = [{"path": "a.py"}, {"path": "b.py"}]
FQNS = ["shop.cart.Cart", "shop.cart.pay"]
real.logger.setLevel(logging.INFO)  # no handler is installed, so nothing is written


def class_with(*bases, **methods):
    return type("Custom", bases, methods)


def record_of(fields, hook):
    """A record that computes each attribute when it is read."""
    return class_with(__getattr__=lambda self, name: hook() or fields[name])()


def iterator(items, hook):
    items = iter(items)
    return class_with(__iter__=lambda self: hook() or self, __next__=lambda self: hook() or next(items))()


def places_that_are_emptied(hook):
    for path, line in FILES:
        place = ["".join([path, ""]), line]
        yield place
        place.clear()
        hook()


def root(hook):
    return real.code_lines(class_with(__fspath__=lambda self: hook() or str(HERE))(), FILES)


def log_handler(hook):
    handler = logging.Handler()
    handler.handle = lambda record: hook()  # without a lock, so that another thread that logs does not wait
    with mock.patch.object(real.logger, "handlers", [handler]):
        return real.code_lines(HERE, FILES)


def hint(hook):
    add = real.add_pagination_hint
    with mock.patch.object(real, "add_pagination_hint", lambda *page: hook() or add(*page)):
        return real.build_paginated_response([["row"], {}], 7, 0)


def reading(name):
    function = with_good_arguments(name)
    return lambda hook: function(record_of(RECORDS[name], hook))


CALLBACKS = {
    **{name: reading(name) for name in RECORDS},
    "fqns": lambda hook: real.outline_module(iterator(FQNS, hook)),
    "fqns of a generator": lambda hook: real.outline_module(hook() or fqn for fqn in FQNS),
    "places": lambda hook: real.code_lines(HERE, places_that_are_emptied(hook)),
    "extra": lambda hook: real._ask_citations([], class_with(__getitem__=lambda _, i: hook() or EXTRA[i])()),
    "root": root,
    "log handler": log_handler,
    "hint": hint,
}


def owning_record(hook):
    """A record that keeps no reference to its attributes. Their finalizer is Python code, which needs the GIL."""
    attribute = class_with(list, __del__=lambda self: hook())
    return class_with(__getattr__=lambda self, name: attribute([1]))()


def unsupported_elements(hook):
    """An iterable of an unsupported element. Each of its iterators runs the hook when it is freed."""

    def iterate(self):
        try:
            yield None
        finally:
            hook()

    return class_with(__iter__=iterate)()


# Calls that raise TypeError and release the last reference to an object whose finalizer is the hook.
FINALIZERS = {
    "unsupported fqns": lambda hook: real.outline_module(unsupported_elements(hook)),
    "unsupported places": lambda hook: real.code_lines(HERE, unsupported_elements(hook)),
    "unsupported attributes": lambda hook: real.build_symbol_search_result(owning_record(hook)),
    "attributes": lambda hook: real.tool_result_text([real.build_component(owning_record(hook)), hook]),
}


class Finalized:
    """Garbage whose finalizer calls the hook, and leaves new garbage of this kind if that returns true."""

    def __init__(self, hook):
        self.itself, self.hook = self, hook

    def __del__(self):
        if self.hook():
            Finalized(self.hook)


def collecting(hook, call):
    """The result of the call. At each of its allocations of a container the collector runs, and with it the hook, until
    that returns false. Garbage collection is disabled afterwards."""
    gc.disable()
    gc.collect()  # also empties the free lists, from which objects come without an allocation
    gc.freeze()
    gc.set_threshold(1)
    is_active = True
    Finalized(lambda: is_active and hook())
    gc.enable()
    try:
        return call()
    finally:
        gc.disable()
        is_active = False
        gc.set_threshold(700)


def shrink(container):
    for _ in range(len(container) // 2):
        container.pop() if isinstance(container, list) else container.popitem()


def grow(container):
    more = [[f"more {number}"] for number in range(2 * len(container) + 1)]
    container.extend(more) if isinstance(container, list) else container.update((*element, element) for element in more)


def replace(container):
    for key in range(len(container)) if isinstance(container, list) else [*container]:
        container[key] = ["replaced"]


def rotate(container):
    if isinstance(container, list):
        container.insert(0, container.pop())
    else:
        key = next(iter(container))
        container[key] = container.pop(key)


def empty(container):
    container.clear()


CHANGES = (empty, shrink, grow, replace, rotate)
