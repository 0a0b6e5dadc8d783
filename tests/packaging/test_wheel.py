"""The wheel: built from an sdist by the recipes of docs/, installed beside a service, used and uninstalled."""

import platform
import re
import shlex
import shutil
import sys
import sysconfig
import unittest
import zipfile
from email import message_from_bytes
from pathlib import Path

from helpers import BUILD, ROOT, contents, empty_folder, make_environment, newest_release, run, write_service

USE = """
import importlib.metadata
from hollin import mcp_responses as m
print(m.tool_result_text(m.build_empty_paginated_response("naïve")), importlib.metadata.version("mcp_responses"))
"""
ANSWER = '{"naïve":[],"total_count":0,"truncated":false,"has_more":false,"offset":0}'
RECIPES = ROOT / "docs" / "recipes"
NOT_SOURCES = shutil.ignore_patterns("build", "dist", ".*", "__pycache__", "*.egg-info")


SETUPTOOLS_OF_DEBIAN_12 = [*Path("/usr/share/python-wheels").glob("setuptools-66.*")]


@unittest.skipIf(SETUPTOOLS_OF_DEBIAN_12 and sys.version_info >= (3, 12), "Debian 12's setuptools needs CPython 3.11")
class WheelTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = empty_folder("wheel")
        shutil.copytree(ROOT, cls.folder / "sources", ignore=NOT_SOURCES)
        cls.tools = make_environment(cls.folder / "tools")
        run(cls.tools, "-m", "pip", "install", "setuptools", "wheel")  # the first is only in environments of 3.11
        make_sdist = "import os, sys, setuptools.build_meta as b; os.chdir(sys.argv[1]); b.build_sdist(sys.argv[2])"
        run(cls.tools, "-c", make_sdist, cls.folder / "sources", cls.folder)
        (sdist,) = cls.folder.glob("*.tar.gz")
        cls.service = cls.folder / "service"
        shutil.copytree(Path(__file__).with_name("service"), cls.service)
        write_service(cls.service / "src")
        cls.build_image(sdist)
        (cls.wheel,) = cls.folder.glob("dist/mcp_responses-*.whl")

    @classmethod
    def build_image(cls, sdist):
        """Runs the command of the Dockerfile that builds and installs the wheels, with other paths."""
        (command,) = re.findall(r"^RUN (/build/.+?[^\\])\n", (RECIPES / "Dockerfile").read_text(), re.M | re.S)
        paths = {
            "/build/mcp_responses/docs/recipes/build-wheels.sh": RECIPES / "build-wheels.sh",
            "/build/mcp_responses": sdist,
            "/build": cls.folder,
            "/opt": cls.folder,
            "python3": sys.executable,
        }
        command = re.sub("|".join(paths), lambda path: shlex.quote(str(paths[path[0]])), command)
        run("sh", "-c", command, PYTHON=sys.executable)

    def test_image_and_ci_job_use_the_wheels(self):
        self.assertEqual(run(self.folder / "venv" / "bin" / "python", "-c", USE), f"{ANSWER} {newest_release()}\n")
        printed = run(RECIPES / "ci.sh", ROOT, self.service, self.folder / "dist", PYTHON=sys.executable)
        self.assertRegex(printed, r"/venv/lib/python3\.\d+/site-packages/hollin/mcp_responses\.\S+\.so\n$")

    def test_build_is_reproducible(self):
        """Built from the sources instead of the sdist, in another folder, with another umask."""
        sources, again = self.folder / "sources", self.folder / "again"
        for file in (sources / "hollin-stubs").iterdir():
            file.chmod(0o600)
        setup = ("sh", "-c", 'umask 077 && cd "$0" && exec "$@"', sources, self.tools, "setup.py")
        run(*setup, "build_py")
        (built,) = sources.glob("build/lib*")
        run("cmake", "--install", BUILD, "--component", "wheel", "--strip", "--prefix", built)
        run(*setup, "bdist_wheel", "--skip-build", "--dist-dir", again)
        self.assertEqual((again / self.wheel.name).read_bytes(), self.wheel.read_bytes())

    def test_editable_installation_fails_before_the_build(self):
        with self.assertRaises(AssertionError) as failure:
            run(self.tools, "-m", "pip", "install", "--no-build-isolation", "-e", self.folder / "sources")
        self.assertIn("\n      error: a compiled module cannot be edited in place: run", str(failure.exception))
        self.assertNotIn("Traceback", str(failure.exception))
        self.assertNotIn("cmake", str(failure.exception).lower())

    def test_contains_the_extension_its_types_and_its_schemas_only(self):
        python = "cp%d%d" % sys.version_info[:2]
        name = f"mcp_responses-{newest_release()}-{python}-{python}-linux_{platform.machine()}.whl"
        self.assertEqual(self.wheel.name, name)
        with zipfile.ZipFile(self.wheel) as wheel:
            (metadata,) = (name for name in wheel.namelist() if name.endswith(".dist-info/METADATA"))
            self.assertEqual(message_from_bytes(wheel.read(metadata))["Version"], newest_release())
            about = metadata.removesuffix("METADATA")
            self.assertEqual(
                {name for name in wheel.namelist() if not name.startswith(about)},
                {f"hollin/mcp_responses{sysconfig.get_config_var('EXT_SUFFIX')}"}
                | {f"hollin-stubs/{name}" for name in ("__init__.pyi", "mcp_responses.pyi", "py.typed")}
                | {f"hollin/mcp_responses_schemas/{path.name}" for path in (ROOT / "schemas").glob("*.json")},
            )
            self.assertEqual(wheel.read("hollin-stubs/py.typed"), b"partial\n")

    def test_installation_beside_a_service(self):
        clean = make_environment(self.folder / "clean", "--without-pip")
        (packages,) = self.folder.glob("clean/lib/*/site-packages")
        write_service(packages)
        before = contents(packages)
        run(self.tools, "-m", "pip", "--python", clean, "install", self.wheel)
        self.assertEqual(before, {name: text for name, text in contents(packages).items() if name in before})
        self.assertEqual(run(clean, "-I", "-X", "utf8", "-c", USE), f"{ANSWER} {newest_release()}\n")
        run_page = Path(__file__).with_name("run_page.py")
        for page in ("in_a_service.md", "faq.md"):
            self.assertRegex(run(clean, "-I", "-X", "utf8", run_page, ROOT / "docs" / page), r"^([5-9]|1\d) blocks$")
        run(self.tools, "-m", "pip", "--python", clean, "uninstall", "--yes", "mcp_responses")
        self.assertEqual(contents(packages), before)
