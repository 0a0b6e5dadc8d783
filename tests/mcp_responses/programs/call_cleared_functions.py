"""Calls every function while the collector clears the garbage that they are part of.

The collector first clears the module object, then one function after the other. The module's namespace and each
function's own dict contain an object whose weak reference has a callback. It runs when the object is freed, that is,
while its container is cleared. The callback finds the functions in a tuple, which the collector has passed already:
tuples are not cleared.
"""

import gc
import weakref

import samples
from comparison import outcome

MARK = "functions of a module that is garbage"
good = samples.good_calls()
failures, moments = [], []


def call_all():
    (functions,) = [one for one in gc.get_objects() if type(one) is tuple and one and one[0] is MARK]
    moments.append(len(moments))
    for function in functions[1:]:
        name = function.__name__
        expected = RuntimeError, f"{name}() is used after its module was cleared"
        for label, call in (
            ("good call", lambda: function(**good[name])),
            ("call without arguments", function),
            ("globals", lambda: function.__globals__),
        ):
            found = outcome(call)
            if found != expected:
                failures.append((moments[-1], name, label, found))
        # These need no module.
        for attribute in ("__name__", "__qualname__", "__defaults__", "__kwdefaults__"):
            if getattr(function, attribute) != getattr(getattr(samples.real, name), attribute):
                failures.append((moments[-1], name, attribute))
        outcome(lambda: (function.__doc__, function.__module__, repr(function), function.__reduce__()))


def watched():
    """An object that the collector does not track, and whose weak reference calls all functions when it is freed."""
    watched = compile("0", "", "eval")
    references.append(weakref.ref(watched, lambda _: call_all()))
    return watched


references = []
module = samples.new_module()
functions = [getattr(module, name) for name in good]
module.last = watched()
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
assert len(moments) == 1 + len(good), len(moments)
