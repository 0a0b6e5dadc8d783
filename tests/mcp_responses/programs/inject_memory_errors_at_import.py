"""inject_memory_errors_at_import.py COUNT: imports the extension while one of COUNT allocations fails, the first, the
second, and so on. Prints how many imports raised MemoryError."""

import sys

import _testcapi
from samples import new_module


def fails(number):
    try:
        _testcapi.set_nomemory(number, number + 1)
        try:
            module = new_module()
        finally:
            _testcapi.remove_mem_hooks()
    except MemoryError:
        return True
    except SystemError as error:  # the interpreter's own
        assert "replace of code object" in str(error), error
        return True
    assert module.first_sentence("One. Two.") == "One."
    return False


results = [fails(number) for number in range(int(sys.argv[1]))]
assert not any(results[-20:]), "COUNT is smaller than the number of allocations"
print(sum(results))
