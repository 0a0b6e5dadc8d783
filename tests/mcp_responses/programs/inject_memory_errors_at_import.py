"""inject_memory_errors_at_import.py COUNT: imports the extension while one of COUNT allocations fails, the first, the
second, and so on. Prints how many imports raised MemoryError."""

import importlib.util
import sys

import _testcapi
from samples import real

# Made before allocations fail: some versions of importlib crash when they look for a file without memory.
spec = importlib.util.spec_from_file_location(real.__name__, real.__file__)


def fails(number):
    try:
        _testcapi.set_nomemory(number, number + 1)
        try:
            module = importlib.util.module_from_spec(spec)
            spec.loader.exec_module(module)
        finally:
            _testcapi.remove_mem_hooks()
    except MemoryError:
        return True
    except SystemError as error:  # of the interpreter, about a function of its own
        assert "with an exception set" in str(error) or "without setting an exception" in str(error), error
        return True
    assert module.first_sentence("One. Two.") == "One."
    return False


results = [fails(number) for number in range(int(sys.argv[1]))]
assert not any(results[-20:]), "COUNT is smaller than the number of allocations"
print(sum(results))
