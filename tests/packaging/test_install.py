"""`./dev install FOLDER` for a service in a source checkout, which is first on the path; and the errors of ./dev."""

import shutil
import sys
import sysconfig
import unittest

from helpers import ROOT, contents, empty_folder, make_environment, newest_release, run, write_service

USE = "from hollin import mcp_responses as m; print(m.__file__, m.tool_result_text([0.5]))"


def dev(*arguments, python=sys.executable):
    return run(ROOT / "dev", *arguments, PYTHON=python)


class InstallTest(unittest.TestCase):
    def test_into_a_checkout(self):
        folder = empty_folder("install with spaces")
        write_service(folder / "src")
        before = contents(folder / "src")
        printed = dev("install", folder / "src").splitlines()
        added = {name: content for name, content in contents(folder / "src").items() if name not in before}
        module = f"hollin/mcp_responses{sysconfig.get_config_var('EXT_SUFFIX')}"
        self.assertTrue(added.pop(module).startswith(b"\x7fELF"))
        expected = {f"hollin/mcp_responses_schemas/{path.name}": path for path in (ROOT / "schemas").glob("*.json")}
        expected["hollin/mcp_responses.pyi"] = ROOT / "hollin-stubs" / "mcp_responses.pyi"
        self.assertEqual(added, {name: path.read_bytes() for name, path in expected.items()})
        # An editable installation puts the folder on the path by such a file.
        python = make_environment(folder / "environment", "--without-pip")
        (packages,) = folder.glob("environment/lib/*/site-packages")
        (packages / "service.pth").write_text(f"{folder / 'src'}\n")
        self.assertEqual(run(python, "-I", "-c", USE), f"{folder / 'src' / module} [0.5]\n")
        self.assert_printed(printed, folder / "src", [module, *expected])

    def assert_printed(self, printed, folder, installed):
        version = sysconfig.get_python_version()
        about = rf"^mcp_responses {newest_release()} for Python {version}\.\S+ is in {folder}/hollin: "
        self.assertRegex(printed[0], about)
        command = printed[1].removeprefix("Try it: ")
        self.assertEqual(run("sh", "-c", command.replace("'from ", "'print(1); from ")), "1\n")
        if not shutil.which("git"):
            self.skipTest("git is not installed: the lines for .gitignore are not tested")
        run("git", "init", folder)
        (folder / ".gitignore").write_text("\n".join(printed[3:]))
        ignored = run("git", "-C", folder, "check-ignore", *installed)
        self.assertEqual(ignored.splitlines(), installed)


class ErrorsTest(unittest.TestCase):
    def assert_error(self, message, *arguments, **options):
        with self.assertRaises(AssertionError, msg=message) as failure:
            dev(*arguments, **options)
        self.assertIn(f"\ndev: {message}", str(failure.exception))

    def test_arguments(self):
        empty = empty_folder("install nowhere")
        cases = {
            ("install",): "install needs one argument, the folder that contains the package hollin\n",
            ("install", empty): f"{empty} does not contain the package hollin: {empty}/hollin/__init__.py does not exist",
            ("demo", "--foo"): "demo has no option --foo\nusage: ./dev demo [--root FOLDER] [--query WORD] [--chart ",
            ("check", "foo"): "check has no stage 'foo'\n",
        }
        for arguments, message in cases.items():
            self.assert_error(message, *arguments)
        self.assertEqual(contents(empty), {})

    def test_interpreters(self):
        """An interpreter that imports this file when it starts pretends to be another one."""
        folder = empty_folder("other interpreters")
        script = folder / "python3"
        script.write_text(f'#!/bin/sh\nPYTHONPATH="{folder}" exec "{sys.executable}" "$@"\n')
        script.chmod(0o755)
        cases = {
            "import sys; sys.version_info = (3, 10, 9)": "is Python 3.10, but",
            "import sys; sys.version_info = (3, 16, 0)": "is Python 3.16, but",
            "import sysconfig; sysconfig.get_config_vars()['Py_GIL_DISABLED'] = 1": "is a free-threaded build, ",
        }
        for changes, message in cases.items():
            (folder / "sitecustomize.py").write_text(changes)
            self.assert_error(f"{sys.executable} {message}", "test", python=script)
            configure = ("cmake", "-S", ROOT, "-B", folder / "build", "-G", "Ninja", f"-DPython_EXECUTABLE={script}")
            with self.assertRaises(AssertionError, msg=changes) as failure:
                run(*configure)
            text = " ".join(str(failure.exception).split())
            self.assertIn(f"{sys.executable} {message}", text)
