"""The C++ library in another project: installed and moved elsewhere, or as part of its sources; and both examples."""

import os
import re
import shlex
import shutil
import sys
import unittest

from helpers import BUILD, ROOT, empty_folder, newest_release, run

CONSUMER = ROOT / "tests" / "consumer"
ANSWERS = (CONSUMER / "answers.txt").read_text(encoding="utf-8")


def installed(prefix):
    """The files below a prefix, without those that CMake names after the build type."""
    files = {str(path.relative_to(prefix)) for path in prefix.rglob("*") if path.is_file()}
    return {file for file in files if not file.endswith(("-release.cmake", "-debug.cmake"))}


class LibraryTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = empty_folder("library")
        run("cmake", "--install", BUILD, "--prefix", cls.folder / "installed")
        cls.prefix = (cls.folder / "installed").rename(cls.folder / "moved")

    def build_consumer(self, build, found_by, *options):
        """Returns the output of the configuration."""
        output = run("cmake", "-S", CONSUMER, "-B", build, f"-DFOUND_BY={found_by}", *options)
        run("cmake", "--build", build, "--target", "consumer")
        self.assertEqual(run(build / "consumer"), ANSWERS, found_by)
        return output

    def pkg_config(self, *options):
        (found,) = self.prefix.glob("lib*/**/pkgconfig")
        # Split as a shell does: pkg-config escapes spaces and non-ASCII bytes with backslashes.
        return shlex.split(run("pkg-config", *options, "mcp_responses", PKG_CONFIG_LIBDIR=found))

    def test_found_by_cmake(self):
        output = self.build_consumer(self.folder / "build", "find_package", f"-DCMAKE_PREFIX_PATH={self.prefix}")
        self.assertIn(f"mcp_responses_VERSION={newest_release()}\n", output)

    def test_added_as_sources(self):
        public = installed(self.prefix)
        cases = {"add_subdirectory": ([], set()), "FetchContent": (["-DMCP_RESPONSES_INSTALL=ON"], public)}
        build = self.folder / "from_sources"  # shared, so that the library is compiled once
        for found_by, (options, library) in cases.items():
            self.build_consumer(build, found_by, f"-DSOURCES={ROOT}", "-DCMAKE_BUILD_TYPE=Debug", *options)
            self.assertEqual([*build.rglob("*.so")], [], f"{found_by} builds no extension")
            run("cmake", "--install", build, "--prefix", self.folder / found_by)
            self.assertEqual(installed(self.folder / found_by), library | {"bin/consumer"}, found_by)

    def test_found_by_pkg_config(self):
        """With the warnings that a user is likely to enable, as errors, and with each compiler on this machine."""
        self.assertEqual(self.pkg_config("--modversion"), [newest_release()])
        warnings = ("-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Werror")
        program, flags = self.folder / "consumer", self.pkg_config("--cflags", "--libs")
        every_header = self.folder / "every_header.cc"
        every_header.write_text("#include <mcp_responses/mcp_responses.h>\nint main() {}\n")
        for compiler in filter(shutil.which, ("clang++", os.environ["CXX"])):
            for source in (every_header, CONSUMER / "main.cc"):
                run(compiler, "-std=c++20", *warnings, source, "-o", program, *flags)
            self.assertEqual(run(program), ANSWERS, compiler)

    def test_examples(self):
        answer = (ROOT / "examples" / "answer.txt").read_text(encoding="utf-8")
        self.assertEqual(run(sys.executable, ROOT / "examples" / "answer.py", PYTHONPATH=BUILD), answer)
        self.assertEqual(run(BUILD / "examples" / "answer"), answer)

    def test_public_headers(self):
        """Each is installed, and included by mcp_responses.h."""
        installed_headers = {header.name for header in (self.prefix / "include" / "mcp_responses").glob("*.h")}
        public = {header.name for layer in ("core", "responses") for header in (ROOT / layer).glob("*.h")}
        self.assertEqual(installed_headers, public)
        included = re.findall(r'^#include "(.+)"$', (ROOT / "responses" / "mcp_responses.h").read_text("utf-8"), re.M)
        self.assertEqual({*included, "mcp_responses.h"}, public)
