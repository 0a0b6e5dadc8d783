"""Calls every function while the collector clears the garbage that they are part of.

The collector clears one function after the other. The dict of each contains an object whose weak reference has a
callback. It runs when the object is freed, that is, while the function is cleared. The callback finds the functions in
a tuple, which the collector has passed already: tuples are not cleared.
"""

import gc
import weakref

import samples
from comparison import exact, outcome

MARK = "functions of a module that is garbage"
good = samples.good_calls()
NEEDS_NAMESPACE = {"build_paginated_response": "add_pagination_hint", "code_lines": "logger"}
failures, moments = [], []


def call_all():
    (functions,) = [one for one in gc.get_objects() if type(one) is tuple and one and one[0] is MARK]
    moments.append(len(moments))
    for name, function in zip(good, functions[1:], strict=True):
        allowed = [("returned", exact(getattr(samples.real, name)(**good[name])))]
        if name in NEEDS_NAMESPACE:
            allowed.append((RuntimeError, f"{name}() is used after its module was cleared"))
            allowed.append((NameError, f"name '{NEEDS_NAMESPACE[name]}' is not defined"))
        found = outcome(lambda: exact(function(**good[name])))
        if found not in allowed:
            failures.append((moments[-1], name, found))


def watched():
    """An object that the collector does not track, and whose weak reference calls all functions when it is freed."""
    watched = compile("0", "", "eval")
    references.append(weakref.ref(watched, lambda _: call_all()))
    return watched


references = []
module = samples.new_module()
functions = [getattr(module, name) for name in good]
for function in functions:
    function.last = watched()
gc.collect()
gc.freeze()
# The frozen objects come after this tuple when they return, so that the collector passes the tuple first.
marked = MARK, *functions
for function in functions:
    function.marked = marked  # after `last`, so that the tuple is freed after the callbacks have run
gc.collect()
gc.unfreeze()
del module, function, functions, marked
gc.collect()
assert not failures, failures[:5]
assert len(moments) == len(good), len(moments)
