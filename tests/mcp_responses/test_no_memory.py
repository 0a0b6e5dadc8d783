"""Allocations fail, the interpreter's and those of C++: MemoryError or the right answer, and the next call works."""

import importlib.util
import os
import shutil
import subprocess
import unittest

from samples import FUNCTIONS
from workplace import EMULATED, HERE, make_folder, run_program

SANITIZED = "libasan" in os.environ.get("LD_PRELOAD", "")


class NoMemory(unittest.TestCase):
    def assert_survived(self, whose, **environment):
        for function in FUNCTIONS:
            failed = int(run_program("fail_allocations.py", whose, function, **environment))
            self.assertGreater(failed, 1, function)

    @unittest.skipUnless(importlib.util.find_spec("_testcapi"), "this interpreter has no _testcapi")
    def test_the_interpreters_allocations_fail(self):
        self.assert_survived("interpreter")

    @unittest.skipUnless(importlib.util.find_spec("_testcapi"), "this interpreter has no _testcapi")
    def test_an_import_fails_with_memory_error(self):
        self.assertGreater(int(run_program("import_without_memory.py", 3000)), 300)

    @unittest.skipIf(SANITIZED, "the sanitizer has an operator new of its own")
    @unittest.skipIf(EMULATED, "LD_PRELOAD would apply to the emulator")
    def test_the_librarys_allocations_fail(self):
        compiler = shutil.which(os.environ.get("CXX", "c++"))
        self.assertIsNotNone(compiler, "what built the extension is not there")
        library = make_folder(self.addCleanup) / "fail.so"
        source = HERE / "programs" / "failing_new.cc"
        subprocess.run([compiler, "-shared", "-fPIC", "-o", library, source], check=True)
        self.assert_survived("library", LD_PRELOAD=str(library))
