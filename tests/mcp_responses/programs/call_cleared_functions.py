"""Calls every function while the collector clears the garbage that they are part of.

The collector first clears the module object, then one function after the other. The module's namespace and each
function's own dict contain an object whose weak reference has a callback. It runs when the object is freed, that is,
while its container is cleared. The callback finds the functions in a tuple, which the collector has passed already:
tuples are not cleared.
"""

import gc
import importlib
import sys
import weakref

import samples

MARK = "functions of a module that is garbage"
good = samples.good_calls()
expected = {name: f"{name}() is used after its module was cleared" for name in good}
failures, moments = [], []


def outcome_text(call):
    try:
        return repr(call())
    except BaseException as error:
        return f"{type(error).__name__}: {error}"


def call_all():
    (functions,) = [one for one in gc.get_objects() if type(one) is tuple and one and one[0] is MARK]
    moments.append(len(moments))
    for function in functions[1:]:
        name = function.__name__
        error = f"RuntimeError: {expected[name]}"
        for label, call in (
            ("good call", lambda: function(**good[name])),
            ("call without arguments", function),
            ("globals", lambda: function.__globals__),
        ):
            found = outcome_text(call)
            if found != error:
                failures.append((moments[-1], name, label, found))
        # These need no module.
        for attribute in ("__name__", "__qualname__", "__defaults__", "__kwdefaults__"):
            if getattr(function, attribute) != getattr(getattr(samples.real, name), attribute):
                failures.append((moments[-1], name, attribute))
        outcome_text(lambda: (function.__doc__, function.__module__, repr(function), function.__reduce__()))


def watched():
    """An object that the collector does not track, and whose weak reference calls all functions when it is freed."""
    watched = compile("0", "", "eval")
    references.append(weakref.ref(watched, lambda _: call_all()))
    return watched


references = []
del sys.modules["hollin.mcp_responses"]
module = importlib.import_module("hollin.mcp_responses")
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
del sys.modules["hollin.mcp_responses"], sys.modules["hollin"].mcp_responses, module, function, functions, marked
gc.collect()
assert not failures, failures[:5]
assert len(moments) == 1 + len(good), len(moments)
