"""inject_memory_errors.py interpreter|extension FUNCTION: fails one allocation of a call after the other, each alone
and together with all later ones. Each call must raise MemoryError or return the right answer, and leave no trace:
reference counts, blocks and C++ objects are those of before. Prints how many calls raised MemoryError.

It does so for a module that is in use, and for the first call of a newly imported one. The interpreter's free lists
are empty at the beginning of each call; objects from them would need no allocation. Allocations of the extension fail
by failing_allocator.cc, which has to be preloaded.
"""

import ctypes
import gc
import itertools
import sys

import samples

source, name = sys.argv[1:]
clear_type_cache = getattr(sys, "_clear_internal_caches", None) or sys._clear_type_cache  # the former since 3.13
ALL_LATER = 10**6
if source == "interpreter":
    import _testcapi

    fail_between, fail_no_more = _testcapi.set_nomemory, _testcapi.remove_mem_hooks
    live_objects = int
else:
    library = ctypes.CDLL(None)
    fail_between, fail_no_more = library.fail_between, library.fail_no_more
    live_objects = library.live_object_count


def result_of(function, arguments):
    """The answer, or the repr of the error. Raises only MemoryError."""
    try:
        return function(**arguments)
    except MemoryError:
        raise
    except Exception as error:
        # If memory for the text or the frame of a function runs out, some versions raise these errors instead.
        if not error.args or "without setting an exception" in str(error) or "without exception set" in str(error):
            raise MemoryError
        return repr(error)


def failing_call(function, arguments, first, length):
    """The result of the call; "MemoryError" if it raises that."""
    gc.collect()  # a full collection empties the free lists
    fail_between(first, first + length)
    try:
        return result_of(function, arguments)
    except MemoryError:
        return "MemoryError"
    finally:
        fail_no_more()


def reference_counts(held):
    clear_type_cache()  # it holds references to names of attributes
    return [*map(sys.getrefcount, held)]


def sweep(label, expected, held, call, length):
    """Fails each allocation in turn, until the call succeeds. Returns the number of calls that failed."""
    before = reference_counts(held)
    failed = 0
    for first in itertools.count():
        result = call(first, length)
        is_error = isinstance(result, str) and result == "MemoryError"
        assert is_error or result == expected, (label, first, length, result)
        succeeded, failed = not is_error, failed + is_error
        del result
        after = reference_counts(held)
        changed = [(str(part)[:50], new - old) for part, old, new in zip(held, before, after) if old != new]
        assert not changed, (label, first, length, changed)
        # A call can survive one failed allocation, such as that of a cache of the interpreter.
        if succeeded and (length == ALL_LATER or first >= last[label]):
            last[label] = first
            return failed


last = {}


def check(label, expected, held, call):
    """Returns the number of calls that failed in one round. Blocks may be allocated once, but not in each round."""
    counts = []
    for _ in range(4):
        failed = sum(sweep(label, expected, held, call, length) for length in (ALL_LATER, 1))
        gc.collect()
        counts.append((sys.getallocatedblocks(), live_objects()))
    (blocks, objects), (blocks_after, objects_after) = counts[-2:]
    assert blocks <= blocks_after <= blocks + 2 and objects == objects_after, (label, counts)
    return failed


def first_call(arguments):
    def call(first, length):
        module = samples.new_module()
        result = failing_call(getattr(module, name), arguments, first, length)
        del module
        gc.collect()
        return result

    return call


good, function = samples.good_calls()[name], getattr(samples.real, name)
calls = [good, *samples.failing_calls(name)]
if name in ("tool_result_text", "_encoded_size"):
    # Longer than the buffer that is kept between calls, and wider and wider.
    calls[1:1] = [{"result": [{"a": letter * 400_000} for letter in 'a"é漢😀']}]
total = 0
for number, arguments in enumerate(calls):
    if "root" in arguments:
        arguments["root"] = str(arguments["root"])  # without memory, the interpreter does not find __fspath__
    expected = result_of(function, arguments)
    if isinstance(expected, str) and expected.startswith("RecursionError"):
        continue  # after thousands of allocations
    # Their reference counts must not change: everything in the arguments, and the keys of the answer.
    held = samples.parts([*arguments.values(), *(expected if isinstance(expected, dict) else ())])
    held = [part for part in held if type(part) not in (int, bool, type(None))]
    # In each call the interpreter itself binds the arguments, as it does for a call in a program.
    gc.freeze()
    total += check(number, expected, held, lambda *which: failing_call(function, arguments, *which))
    if number < 2:
        total += check(f"first call {number}", expected, held, first_call(arguments))
print(total)
