"""The C++ library as another project finds it: installed, moved elsewhere, by CMake and by pkg-config."""

import os
import unittest

from workplace import BUILD, ROOT, empty_folder, newest_release, run

CONSUMER = ROOT / "tests" / "consumer"
ANSWERS = (CONSUMER / "answers.txt").read_text(encoding="utf-8")


class LibraryTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = empty_folder("library")
        run("cmake", "--install", BUILD, "--prefix", cls.folder / "installed")
        cls.prefix = (cls.folder / "installed").rename(cls.folder / "moved")

    def compile(self, source, program):
        (found,) = self.prefix.glob("lib*/**/pkgconfig")
        flags = run("pkg-config", "--cflags", "--libs", "mcp_responses", PKG_CONFIG_LIBDIR=found).split()
        run(os.environ["CXX"], "-std=c++20", "-Werror", source, "-o", program, *flags)

    def test_found_by_cmake(self):
        build = self.folder / "build"
        said = run("cmake", "-S", CONSUMER, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}")
        self.assertIn(f"mcp_responses_VERSION={newest_release()}\n", said)
        run("cmake", "--build", build)
        self.assertEqual(run(build / "consumer"), ANSWERS)

    def test_found_by_pkg_config(self):
        (found,) = self.prefix.glob("lib*/**/pkgconfig")
        version = run("pkg-config", "--modversion", "mcp_responses", PKG_CONFIG_LIBDIR=found)
        self.assertEqual(version.strip(), newest_release())
        self.compile(CONSUMER / "main.cc", self.folder / "consumer")
        self.assertEqual(run(self.folder / "consumer"), ANSWERS)

    def test_public_headers_alone_are_there_and_find_what_they_include(self):
        headers = sorted((self.prefix / "include").rglob("*.h"))
        source = self.folder / "all.cc"
        includes = (f"#include <{header.relative_to(self.prefix / 'include')}>\n" for header in headers)
        source.write_text("".join(includes) + "int main() {}\n")
        self.compile(source, self.folder / "all")
        # What stands in detail/ is no interface; the public headers include one of them.
        public = {header.name for layer in ("core", "responses") for header in (ROOT / layer).glob("*.h")}
        self.assertEqual({header.name for header in headers}, public | {"handle.h"})
