"""Imports the extension while one allocation fails, the first, the second, and so on; prints how many failed."""

import importlib.util
import sys

import _testcapi

import hollin.mcp_responses as first


def attempt(number):
    spec = importlib.util.spec_from_file_location(first.__name__, first.__file__)
    module = importlib.util.module_from_spec(spec)
    try:
        _testcapi.set_nomemory(number, number + 1)
        try:
            spec.loader.exec_module(module)
        finally:
            _testcapi.remove_mem_hooks()
    except MemoryError:
        return True
    assert module.first_sentence("One. Two.") == "One."
    return False


outcomes = [attempt(number) for number in range(int(sys.argv[1]))]
assert not any(outcomes[-20:]), "some allocations were not reached"
print(sum(outcomes))
