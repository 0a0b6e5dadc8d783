"""The example server with the official MCP client for TypeScript, which comes from npm. Skipped without Node.js or
npm's registry."""

import json
import os
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "mcp_responses"))
from service import ENVIRONMENT, conversation, make_tree  # noqa: E402

FILES = ("package.json", "package-lock.json", "client.mjs")
# Node.js cannot load the sanitizer of the interpreter.
WITHOUT_SANITIZER = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
# npm's error codes for wrong files in this folder. Other errors come from the environment.
OUR_FAULTS = ("EUSAGE", "EINTEGRITY", "EJSONPARSE")


def run_in(folder: Path, *command: str, text: str = "") -> subprocess.CompletedProcess:
    pipes = {"input": text, "capture_output": True, "encoding": "utf-8"}
    return subprocess.run(command, cwd=folder, env=WITHOUT_SANITIZER, timeout=300, **pipes)


class ClientTest(unittest.TestCase):
    def installed(self) -> Path:
        """The folder of the build with the client; the first run installs it."""
        if not shutil.which("npm") or int(run_in(HERE, "node", "-p", "parseInt(process.versions.node)").stdout) < 18:
            self.skipTest("there is no Node.js 18 with npm")
        folder = Path(ENVIRONMENT["PYTHONPATH"]) / "mcp_client"
        folder.mkdir(exist_ok=True)
        before = {name: (folder / name).read_bytes() for name in FILES if (folder / name).exists()}
        for name in FILES:
            shutil.copy(HERE / name, folder)
        is_complete = (folder / "node_modules/.package-lock.json").exists()  # npm writes it last
        if not is_complete or before["package-lock.json"] != (folder / "package-lock.json").read_bytes():
            shutil.rmtree(folder / "node_modules", ignore_errors=True)
            done = run_in(folder, "npm", "ci", "--ignore-scripts", "--no-audit", "--no-fund", "--fetch-retries=1")
            if done.returncode:
                reason = re.search(r"code (\w+)", done.stderr)
                self.assertNotIn(reason and reason[1], OUR_FAULTS, done.stderr)
                errors = re.findall(r"^npm ERR! (.+)$", done.stderr, re.M) or [done.stderr]
                self.skipTest(f"npm cannot install the client: {' '.join(errors)[:300]}")
        return folder

    def test_a_session(self):
        arguments = ["-P", "-m", "hollin.server", "--root", str(make_tree(self.addCleanup))]
        server = {"command": sys.executable, "args": arguments, "env": ENVIRONMENT}
        text = json.dumps({"server": server, "conversation": conversation()})
        done = run_in(self.installed(), "node", "client.mjs", text=text)
        self.assertEqual(done.returncode, 0, done.stderr)
