"""A small tree of Python sources, a client of the example server, and a conversation about the tree."""

import json
import os
import re
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from pathlib import Path

import hollin
from hollin.arguments import checked
from hollin.catalogue import TOOLS
from hollin.index import Index
from hollin.mcp_responses import tool_result_text
from script_helper import HERE, make_folder

# A locale that cannot encode most answers: the protocol is UTF-8 in every environment.
ENVIRONMENT = os.environ | {"PYTHONPATH": str(Path(hollin.__file__).parent.parent), "PYTHONIOENCODING": "ascii"}
ENVIRONMENT |= {"LC_ALL": "C", "PYTHONCOERCECLOCALE": "0", "PYTHONUTF8": "0"}


def tree_in(file: str) -> dict[str, str]:
    """The text of each file of a tree, by path."""
    return dict(re.findall(r"^=== (.+)\n((?:(?!=== ).*\n)*)", (HERE / file).read_text("utf-8"), re.M))


TREE = tree_in("tree.txt")
TREE["docs/guide.md"] += "To pay a cart, call “pay”.\n" * 60
TREE["deep.py"] = "x = " + "-" * 100000 + "1"

# The required arguments of the tools.
NEEDED = {"search": {"query": "a"}, "symbol": {"fqn": "a"}, "file": {"path": "a"}, "wiki": {"action": "list"}}
ASK = {"action": "ask", "query": "How do I pay a cart?"}


def write_tree(folder: Path, tree: dict[str, str]) -> None:
    for path, text in tree.items():
        (folder / path).parent.mkdir(parents=True, exist_ok=True)
        (folder / path).write_text(text, encoding="utf-8")


def make_tree(add_cleanup) -> Path:
    folder = make_folder(add_cleanup)
    write_tree(folder, TREE)
    os.mkfifo(folder / "pipe.py")
    (folder / "link.py").symlink_to(__file__)
    Path(os.fsdecode(os.fsencode(folder) + b"/\xff.py")).touch()
    return folder


def make_long_tree(add_cleanup) -> Path:
    """A tree that takes a second or more to index."""
    folder = make_folder(add_cleanup)
    for number in range(300):
        (folder / f"m{number}.py").write_text("def f(a, b):\n    return f(a, f(b, a))\n" * 15)
    return folder


def built_index(folder: Path) -> Index:
    index = Index(folder)
    for _ in index.build():
        pass
    return index


def answer(index: Index, tool: str, **arguments) -> dict:
    return TOOLS[tool].answer(index, checked(arguments, TOOLS[tool].arguments))


def calls_in(text: str) -> list[tuple[str, dict, str]]:
    """Tools with arguments, and the text below each call, whose lines are joined."""
    calls = re.findall(r"^(\w+) (.+)\n((?:    .+\n)*)", text, re.M)
    return [(tool, json.loads(given), re.sub(r"^    |\n", "", lines, flags=re.M)) for tool, given, lines in calls]


def conversation(file: str = "conversation.txt") -> list[tuple[str, dict, str]]:
    """Tools with arguments and answers; the answer of an error begins with "error: "."""
    return calls_in((HERE / file).read_text("utf-8"))


class Client:
    def __init__(self, *arguments: str) -> None:
        command = [sys.executable, "-P", *arguments]
        self.log = tempfile.TemporaryFile()
        pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "stderr": self.log}
        self.process = subprocess.Popen(command, env=ENVIRONMENT, **pipes)
        self.guard = threading.Timer(300, self.process.kill)
        self.guard.start()

    def send(self, line: bytes) -> None:
        self.process.stdin.write(line + b"\n")
        self.process.stdin.flush()

    def receive(self) -> dict:
        return json.loads(self.process.stdout.readline().decode("utf-8"))

    def request(self, method: str, **params) -> dict:
        self.send(json.dumps({"jsonrpc": "2.0", "id": "r", "method": method, "params": params}).encode())
        while "id" not in (message := self.receive()):
            pass
        return message

    def initialize(self, version: str = "2025-11-25") -> dict:
        result = self.request("initialize", protocolVersion=version, capabilities={}, clientInfo={"name": "test"})
        self.send(b'{"jsonrpc":"2.0","method":"notifications/initialized"}')
        return result["result"]

    def tools(self) -> dict[str, dict]:
        return {tool["name"]: tool for tool in self.request("tools/list")["result"]["tools"]}

    def call(self, tool: str, **arguments) -> str:
        """The text of an answer, which is also its structured content; or "error: " and the text of the error."""
        result = self.request("tools/call", name=tool, arguments=arguments)["result"]
        (content,) = result["content"]
        if result.get("isError"):
            assert "structuredContent" not in result, result
            return "error: " + content["text"]
        assert tool_result_text(result["structuredContent"]) == content["text"], result
        return content["text"]

    def answer(self, tool: str, **arguments) -> dict:
        return json.loads(self.call(tool, **arguments))

    def close(self) -> None:
        """Ends the server. Requires that it has written nothing more to its output and no traceback to its log."""
        rest = self.process.communicate()[0]
        self.guard.cancel()
        self.log.seek(0)
        with self.log:
            log = self.log.read().decode()
        assert (self.process.returncode, rest, "Traceback" in log) == (0, b"", False), (rest, log)


class ServiceTest(unittest.TestCase):
    def start(self, *options: str) -> Client:
        client = Client("-m", "hollin.server", *options)
        self.addCleanup(client.close)
        return client

    def start_with_tree(self, folder: Path) -> Client:
        """A client of a server whose index is ready."""
        client = self.start("--root", str(folder))
        client.initialize()
        while client.answer("status")["status"] != "ready":
            time.sleep(0.05)
        return client
