"""Failed allocations, of the interpreter and of C++: a call raises MemoryError or returns the right answer, and leaks
nothing. The next call works."""

import importlib.util
import os
import shutil
import subprocess
import sys
import unittest

from samples import FUNCTIONS
from script_helper import EMULATED, HERE, IS_SANITIZED, make_folder, run_program

needs_testcapi = unittest.skipUnless(importlib.util.find_spec("_testcapi"), "this interpreter lacks _testcapi")


class MemoryErrors(unittest.TestCase):
    def assert_handled(self, source, without=[], **environment):
        failed = {name: int(run_program("inject_memory_errors.py", source, name, **environment)) for name in FUNCTIONS}
        self.assertEqual([name for name, count in failed.items() if count <= 1], without)

    @needs_testcapi
    def test_allocations_of_the_interpreter(self):
        self.assert_handled("interpreter")

    @unittest.skipIf(IS_SANITIZED, "the sanitizer has an operator new of its own")
    @unittest.skipIf(EMULATED, "LD_PRELOAD would apply to the emulator")
    def test_allocations_of_the_extension(self):
        compiler = shutil.which(os.environ.get("CXX", "c++"))
        self.assertIsNotNone(compiler, "the compiler that built the extension is missing")
        library = make_folder(self.addCleanup) / "failing_allocator.so"
        source = HERE / "programs" / "failing_allocator.cc"
        subprocess.run([compiler, "-shared", "-fPIC", "-o", library, source], check=True)
        self.assert_handled("extension", ["first_sentence"], LD_PRELOAD=str(library))

    @unittest.skipIf(sys.version_info[:2] == (3, 13), "CPython 3.13 itself crashes, also for a module in Python")
    @needs_testcapi
    def test_allocations_of_an_import(self):
        self.assertGreater(int(run_program("inject_memory_errors_at_import.py", 3000)), 300)
