"""A small tree of Python sources, the example service as its clients start it, and what they say to each other."""

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
from hollin.mcp_responses import tool_result_text
from workplace import HERE, make_folder

# A locale that cannot write most of what is answered: the protocol is UTF-8 whatever the surroundings.
ENVIRONMENT = os.environ | {"PYTHONPATH": str(Path(hollin.__file__).parent.parent), "PYTHONIOENCODING": "ascii"}
ENVIRONMENT |= {"LC_ALL": "C", "PYTHONCOERCECLOCALE": "0", "PYTHONUTF8": "0"}
CART = '''
class Cart(dict):
    """Lines to pay. Taxes are not included."""

    def total(self, *, rate: float = 0.5) -> float:
        return sum(self.values()) * rate  # naïve


@app.post("/cart")
async def pay(cart):
    "Pay once \\ud800"
    return cart.total()
'''
GUIDE = "# Carts\n\nA cart holds lines: naïve, 漢字, 😀.\n\n## Paying\n\n" + "To pay a cart, call “pay”.\n" * 60
TREE = {
    ".git/HEAD": "ref: refs/heads/trunk\n",
    "shop/__init__.py": '"""A shop.\n\nCarts are paid here."""\n',
    "shop/cart.py": CART,
    "tests/test_cart.py": "from shop.cart import Cart, pay\nimport shop\n\ndef test_pay():\n    pay(Cart().total())\n",
    "docs/guide.md": GUIDE,
    "docs/notes.rst": "Notes\n=====\n\nLast line.\n",
    "broken.py": "def (:\n",
    "deep.py": "x = " + "-" * 100000 + "1",
}
# The arguments that a tool cannot do without.
NEEDED = {"search": {"query": "a"}, "symbol": {"fqn": "a"}, "file": {"path": "a"}, "wiki": {"action": "list"}}
ASK = {"action": "ask", "query": "How do I pay a cart?"}


def make_tree(add_cleanup) -> Path:
    folder = make_folder(add_cleanup)
    for path, text in TREE.items():
        (folder / path).parent.mkdir(parents=True, exist_ok=True)
        (folder / path).write_text(text, encoding="utf-8")
    os.mkfifo(folder / "pipe.py")
    (folder / "link.py").symlink_to(__file__)
    Path(os.fsdecode(os.fsencode(folder) + b"/\xff.py")).touch()
    return folder


def make_long_tree(add_cleanup) -> Path:
    """One that takes a while to index."""
    folder = make_folder(add_cleanup)
    for number in range(300):
        (folder / f"m{number}.py").write_text("def f(a, b):\n    return f(a, f(b, a))\n" * 100)
    return folder


def conversation() -> list[tuple[str, dict, str]]:
    """Tool, arguments and answer, or "error: " and why there is none."""
    text = (HERE / "conversation.txt").read_text("utf-8")
    said = re.findall(r"^(\w+) (.+)\n((?:    .+\n)+)", text, re.M)
    return [(tool, json.loads(given), re.sub(r"^    |\n", "", lines, flags=re.M)) for tool, given, lines in said]


class Client:
    def __init__(self, *options: str) -> None:
        command = [sys.executable, "-P", "-m", "hollin.server", *options]
        self.log = tempfile.TemporaryFile()
        pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE, "stderr": self.log}
        self.process = subprocess.Popen(command, env=ENVIRONMENT, **pipes)
        self.guard = threading.Timer(300, self.process.kill)
        self.guard.start()

    def send(self, line: bytes) -> None:
        self.process.stdin.write(line + b"\n")
        self.process.stdin.flush()

    def hear(self) -> dict:
        return json.loads(self.process.stdout.readline().decode("utf-8"))

    def request(self, method: str, **params) -> dict:
        """The answer; a notification may come before it at any time."""
        self.send(json.dumps({"jsonrpc": "2.0", "id": "r", "method": method, "params": params}).encode())
        while "id" not in (message := self.hear()):
            pass
        return message

    def initialize(self, version: str = "2025-11-25") -> dict:
        result = self.request("initialize", protocolVersion=version, capabilities={}, clientInfo={"name": "test"})
        self.send(b'{"jsonrpc":"2.0","method":"notifications/initialized"}')
        return result["result"]

    def tools(self) -> dict[str, dict]:
        """The schema of each tool's answers."""
        return {tool["name"]: tool["outputSchema"] for tool in self.request("tools/list")["result"]["tools"]}

    def call(self, tool: str, **arguments) -> str:
        """An answer, which comes twice, as text and as an object; or "error: " and what is wrong, as text alone."""
        result = self.request("tools/call", name=tool, arguments=arguments)["result"]
        (content,) = result["content"]
        if result["isError"]:
            assert "structuredContent" not in result, result
            return "error: " + content["text"]
        assert tool_result_text(result["structuredContent"]) == content["text"], result
        return content["text"]

    def answer(self, tool: str, **arguments) -> dict:
        return json.loads(self.call(tool, **arguments))

    def close(self) -> None:
        """Ends the server, which leaves nothing more on its output and no traceback in its log."""
        rest = self.process.communicate()[0]
        self.guard.cancel()
        self.log.seek(0)
        with self.log:
            log = self.log.read().decode()
        assert (self.process.returncode, rest, "Traceback" in log) == (0, b"", False), (rest, log)


class ServiceTest(unittest.TestCase):
    def start(self, *options: str) -> Client:
        client = Client(*options)
        self.addCleanup(client.close)
        return client

    def start_with_tree(self, folder: Path) -> Client:
        """A server that has read the tree."""
        client = self.start("--root", str(folder))
        client.initialize()
        while client.answer("status")["status"] != "ready":
            time.sleep(0.05)
        return client
