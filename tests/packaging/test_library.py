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

    def test_every_header_finds_what_it_includes(self):
        headers = sorted((self.prefix / "include").rglob("*.h"))
        source = self.folder / "all.cc"
        includes = (f"#include <{header.relative_to(self.prefix / 'include')}>\n" for header in headers)
        source.write_text("".join(includes) + "int main() {}\n")
        self.compile(source, self.folder / "all")
        self.assertEqual(len(headers), len([*ROOT.glob("core/*.h"), *ROOT.glob("responses/*.h")]))
