"""`./dev install FOLDER` for a service in a source checkout, which is first on the path."""

import sys
import sysconfig
import unittest

from helpers import ROOT, contents, empty_folder, make_environment, run, write_service

USE = "from hollin import mcp_responses as m; print(m.__file__, m.tool_result_text([0.5]))"


class InstallTest(unittest.TestCase):
    def install(self, *arguments):
        return run(ROOT / "dev", "install", *arguments, PYTHON=sys.executable)

    def test_into_a_checkout(self):
        folder = empty_folder("install with spaces")
        write_service(folder / "src")
        before = contents(folder / "src")
        self.install(folder / "src")
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

    def test_errors(self):
        empty = empty_folder("install nowhere")
        cases = {
            (): "dev: install needs one argument, the folder that contains the package hollin\n",
            (empty,): f"dev: {empty} does not contain the package hollin: {empty}/hollin/__init__.py does not exist\n",
        }
        for arguments, message in cases.items():
            with self.assertRaises(AssertionError) as failure:
                self.install(*arguments)
            self.assertIn(message, str(failure.exception))
        self.assertEqual(contents(empty), {})
