"""fail_allocations.py interpreter|library FUNCTION: fails the first allocation of each call, the second, and so on,
each alone and with all that come after it, until none is left; writes how many calls have ended in MemoryError. Those
of the library fail by failing_new.cc, which has to be loaded."""

import ctypes
import sys

import samples

whose, name = sys.argv[1:]
call = getattr(samples.real, name)
if whose == "interpreter":
    import _testcapi

    fail_between, fail_no_more = _testcapi.set_nomemory, _testcapi.remove_mem_hooks
else:
    library = ctypes.CDLL(None)
    fail_between, fail_no_more = library.fail_between, library.fail_no_more


def outcome(arguments):
    try:
        return call(**arguments)
    except MemoryError:
        raise
    except Exception as error:
        if not error.args:  # 3.11.2 raises an error without a text when there is no memory for it
            raise MemoryError
        return repr(error)


def attempt(arguments, first, end):
    fail_between(first, end)
    try:
        return outcome(arguments)
    finally:
        fail_no_more()


failed = 0
for arguments in [samples.good_calls()[name], *samples.failing_calls(name)]:
    if "root" in arguments:
        arguments["root"] = str(arguments["root"])  # without memory, the interpreter finds no __fspath__
    expected = outcome(arguments)
    if str(expected).startswith("RecursionError"):
        continue  # after thousands of allocations
    last = 10**6  # how many allocations there are
    for length in (10**6, 1):
        for first in range(last + 1):
            try:
                answer = attempt(arguments, first, first + length)
            except MemoryError:
                failed += 1
            else:
                assert answer == expected, answer
                if length > 1:
                    last = first
                    break
            assert outcome(arguments) == expected
print(failed)
