"""Allocations fail, the interpreter's and those of C++: MemoryError or the right answer, and the next call works."""

import importlib.util
import os
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

from samples import good_calls, make_folder, run_python

SANITIZED = "libasan" in os.environ.get("LD_PRELOAD", "")


class NoMemory(unittest.TestCase):
    def assert_survived(self, code, **environment):
        for name in good_calls():
            failed = int(run_python(code.format(name=name), **environment))
            self.assertGreater(failed, 1, name)

    @unittest.skipUnless(importlib.util.find_spec("_testcapi"), "this interpreter has no _testcapi")
    def test_the_interpreters_allocations_fail(self):
        self.assert_survived(NO_MEMORY)

    @unittest.skipUnless(importlib.util.find_spec("_testcapi"), "this interpreter has no _testcapi")
    def test_an_import_fails_with_memory_error(self):
        program = Path(__file__).parent / "programs" / "import_without_memory.py"
        done = subprocess.run([sys.executable, program, "3000"], capture_output=True, text=True, timeout=300)
        self.assertEqual(done.stderr, "")
        self.assertGreater(int(done.stdout), 300)

    @unittest.skipIf(SANITIZED, "the sanitizer has an operator new of its own")
    def test_the_librarys_allocations_fail(self):
        compiler = shutil.which(os.environ.get("CXX", "c++"))
        self.assertIsNotNone(compiler, "what built the extension is not there")
        folder = make_folder(self.addCleanup)
        (folder / "fail.cc").write_text(FAILING_NEW)
        subprocess.run([compiler, "-shared", "-fPIC", "-o", folder / "fail.so", folder / "fail.cc"], check=True)
        self.assert_survived(NO_NEW, LD_PRELOAD=str(folder / "fail.so"))


# Fails the first allocation, the second, and so on, each alone and with all that come after it, until none is left.
FAILING = """
import samples, {module}
import hollin.mcp_responses as real
call = real.{{name}}
def outcome(arguments):
    try:
        return call(**arguments)
    except MemoryError:
        raise
    except Exception as error:
        if not error.args:  # 3.11.2 raises an error without a text when there is no memory for it
            raise MemoryError
        return repr(error)
def attempt(arguments, number, end):
    {start}
    try:
        return outcome(arguments)
    finally:
        {stop}
failed = 0
for arguments in [samples.good_calls()["{{name}}"], *samples.failing_calls("{{name}}")]:
    if "root" in arguments:
        arguments["root"] = str(arguments["root"])  # without memory, the interpreter finds no __fspath__
    expected = outcome(arguments)
    if str(expected).startswith("RecursionError"):
        continue  # after thousands of allocations
    for length in (10**6, 1):
        for number in range(10**6):
            try:
                answer = attempt(arguments, number, number + length)
            except MemoryError:
                failed += 1
            else:
                assert answer == expected, answer
                if {are_all_done}:
                    break
            assert outcome(arguments) == expected
        last = number
print(failed)
"""
NO_MEMORY = FAILING.format(
    module="_testcapi",
    start="_testcapi.set_nomemory(number, end)",
    stop="_testcapi.remove_mem_hooks()",
    are_all_done="length > 1 or number >= last",
)
NO_NEW = FAILING.format(
    module="ctypes\nshim = ctypes.CDLL(None)",
    start="shim.fail_between(number, end)",
    stop="shim.fail_between(0, 0)",
    are_all_done="shim.asked() <= number",
)

# Fails those of C++, and the growth of an encoded text, which the library reallocates.
FAILING_NEW = """
#include <dlfcn.h>
#include <cstdlib>
#include <cstring>
#include <new>

static int first, end, count, counted;

extern "C" void fail_between(int from, int to) {
  counted = count;
  first = from, end = to, count = 0;
}
extern "C" int asked() { return counted; }
static bool fails() { return count++ >= first && count <= end; }

void* operator new(std::size_t size) {
  void* memory = fails() ? nullptr : std::malloc(size);
  return memory == nullptr ? throw std::bad_alloc() : memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

extern "C" void* realloc(void* memory, std::size_t size) {
  static const auto next = reinterpret_cast<void* (*)(void*, std::size_t)>(dlsym(RTLD_NEXT, "realloc"));
  Dl_info caller{};
  const bool is_librarys = end > 0 && dladdr(__builtin_return_address(0), &caller) != 0 &&
                           std::strstr(caller.dli_fname, "mcp_responses.cpython") != nullptr;
  return is_librarys && fails() ? nullptr : next(memory, size);
}
"""
