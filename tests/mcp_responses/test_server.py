"""The example service as its users meet it: an MCP server behind two pipes, and the demo on a terminal."""

import io
import json
import os
import re
import signal
import subprocess
import sys
import threading
import unittest
from unittest import mock

from hollin import budget_chart
from hollin.index import Index
from hollin.mcp_responses import EMPTY_TOOL_RESPONSES, tool_result_text
from hollin.mcp_responses import _encoded_size as size_of
from hollin.server import Server, build_index
from hollin.tools import TOOLS
from service import ASK, ENVIRONMENT, NEEDED, ServiceTest, conversation, make_long_tree, make_tree
from workplace import make_folder

PAGE = {"offset": 0, "limit": 20}
LISTS = [("search", {"query": "a"}, "symbols"), ("files", {}, "files"), ("architecture", {}, "components")]
LISTS += [("symbol", {"fqn": "shop.cart.Cart.total", "action": "references"}, "references")]
LISTS += [("tests", {}, "tests"), ("wiki", {"action": "list"}, "pages")]
WRONG_MESSAGES = [  # a line, and the id and the code of the error that it gets
    (b"{", None, -32700),
    (b'{"a":"\xff"}', None, -32700),
    (b"[" * 100000, None, -32700),
    (b'[{"jsonrpc":"2.0","id":1,"method":"ping"}]', None, -32600),
    (b'{"jsonrpc":"1.0","id":1,"method":"ping"}', 1, -32600),
    (b'{"jsonrpc":"2.0","id":"\\ud800","method":"resources/list"}', "\ud800", -32601),
    (b'{"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"git"}}', 1, -32602),
]


class EmptyServerTest(ServiceTest):
    def test_before_a_tree_is_given(self):
        for asked, agreed in {"2025-06-18": "2025-06-18", "2025-11-25": "2025-11-25", "": "2025-11-25"}.items():
            client = self.start()
            self.assertEqual(client.request("tools/list")["error"]["code"], -32600, "nothing comes before initialize")
            self.assertEqual(client.initialize(asked)["protocolVersion"], agreed, asked)
        self.assertEqual([*client.tools()], [*EMPTY_TOOL_RESPONSES])
        for tool, empty in EMPTY_TOOL_RESPONSES.items():
            self.assertEqual(client.call(tool, **NEEDED.get(tool, {})), tool_result_text(empty), tool)
            self.assertIn("nonsense: is not an argument", client.call(tool, nonsense=1))

    def test_while_a_tree_is_indexed(self):
        folder = str(make_long_tree(self.addCleanup))
        client = self.start("--root", folder)
        client.initialize()
        tools = client.tools()
        shown = [client.answer("status")]
        while shown[-1]["status"] == "indexing":
            said = client.call("search", query="f")
            self.assertTrue(said.startswith(("error: The index is being built: ", '{"symbols":[{')), said)
            self.assertEqual(client.call("search", query=7), "error: query: must be text")
            shown.append(client.answer("status"))
        grown = [answer["progress"] for answer in shown]
        self.assertEqual(grown, sorted(grown))
        self.assertGreater(len({*grown}), 3)
        self.assertEqual((shown[0]["phase"], shown[-1]["files_indexed"]), ("indexing files", 300))
        self.assertEqual(tools, client.tools(), "none comes, none goes")
        self.start("--root", folder).initialize()  # and is left while it indexes

    def test_an_index_that_cannot_be_made(self):
        index, out = Index(make_tree(self.addCleanup)), io.BytesIO()
        with mock.patch.object(index, "_add_coverage", lambda _: 1 / 0), self.assertLogs("hollin.server", "ERROR"):
            build_index(index, threading.Event())
        server = Server(out, index)
        for message in (
            {"id": 1, "method": "initialize", "params": {"protocolVersion": ""}},
            {"id": 2, "method": "tools/call", "params": {"name": "status"}},
            {"id": 3, "method": "tools/call", "params": {"name": "files"}},
        ):
            server.take(json.dumps({"jsonrpc": "2.0"} | message).encode())
        _, status, files = (json.loads(line)["result"] for line in out.getvalue().splitlines())
        self.assertEqual(status["structuredContent"]["status"], "error")
        self.assertEqual(files["isError"], True)
        self.assertIn("could not be made (ZeroDivisionError: division by zero)", files["content"][0]["text"])


class ReadyServerTest(ServiceTest):
    def setUp(self):
        self.folder = make_tree(self.addCleanup)
        self.client = self.start_with_tree(self.folder)

    def test_a_conversation(self):
        tools = ["status", "search", "symbol", "file", "files", "architecture", "tests", "wiki"]
        self.assertEqual([*self.client.tools()], tools)
        for tool, arguments, expected in conversation():
            said = re.sub(r'\d{4}-\d\d-\d\dT[^"]+', "<time>", self.client.call(tool, **arguments))
            self.assertEqual(said, expected, (tool, arguments))

    def test_each_row_is_listed_once(self):
        for tool, arguments, key in LISTS:
            whole = self.client.answer(tool, **arguments)[key]
            self.assertGreater(len(whole), 1, tool)
            for limit in range(1, len(whole) + 1):
                rows, more = [], True
                while more:
                    page = self.client.answer(tool, **arguments, offset=len(rows), limit=limit)
                    rows, more = rows + page[key], page["has_more"]
                    self.assertIn(page.get("hint"), (None, f"More rows follow: call again with offset={len(rows)}."))
                self.assertEqual((rows, page["total_count"]), (whole, len(whole)), (tool, limit))

    def test_ask_fits_its_budget(self):
        whole, smallest = (len(self.client.call("wiki", **ASK, **few).encode()) for few in ({}, {"token_budget": 0}))
        self.assertGreater(whole, 2 * smallest)
        for budget in [*range(0, whole // 4 + 200, 23), 10**9]:
            size = len(self.client.call("wiki", **ASK, token_budget=budget).encode())
            self.assertLessEqual(size, max(4 * budget, smallest), budget)
        self.assertEqual(size, whole)

    def test_pages_grow_stale(self):
        guide = self.folder / "docs/guide.md"
        made = guide.stat().st_mtime_ns
        for time_stamp, stale in ((made + 1, ["docs/guide.md"]), (made, [])):
            os.utime(guide, ns=(made, time_stamp))
            self.assertEqual(self.client.answer("wiki", action="status")["stale_pages"], stale)
            (section,) = self.client.answer("wiki", action="ask", query="lines")["sections"]
            self.assertEqual(section["stale"], bool(stale))

    def test_wrong_messages(self):
        for line, number, code in WRONG_MESSAGES:
            self.client.send(line)
            error = self.client.hear()
            self.assertEqual((error.get("id"), error["error"]["code"]), (number, code), line[:100])
            self.assertEqual("id" in error, number is not None, "it is left out where it cannot be read")
            self.client.send(b'{"jsonrpc":"2.0","method":"tools/call","params":[]}\n\r')  # neither has an answer
            self.assertEqual(self.client.request("ping"), {"jsonrpc": "2.0", "id": "r", "result": {}}, line[:100])


def as_nobody(work):
    """What `work` gives in a process that may not read everything, which root may."""
    reading, writing = os.pipe()
    child = os.fork()
    if child == 0:
        if os.geteuid() == 0:
            os.setgroups([])
            os.setgid(65534)
            os.setuid(65534)
        try:
            os.write(writing, json.dumps(work()).encode())
        finally:
            os._exit(0)
    os.close(writing)
    with open(reading, encoding="utf-8") as told:
        answer = told.read()
    os.waitpid(child, 0)
    return json.loads(answer)


class IndexTest(unittest.TestCase):
    def test_what_cannot_be_read_is_left_out_and_named(self):
        tree = make_tree(self.addCleanup)
        closed = {"closed": tree / "closed", "closed.py": tree / "closed.py", "docs/closed.md": tree / "docs/closed.md"}
        (tree / "closed").mkdir()
        for path in (tree / "closed.py", tree / "docs/closed.md", tree / "closed/a.py"):
            path.write_text("a = 1\n")
        (tree / "hole.py").symlink_to(tree / "closed/a.py")
        (tree / "searched_only").mkdir()
        (tree / "searched_only/a.py").write_text("a = 1\n")
        for path in closed.values():
            self.addCleanup(path.chmod, 0o700)
            path.chmod(0)
        (tree / "searched_only").chmod(0o444)  # its names can be listed, and nothing more
        tree.chmod(0o755)

        def indexed():
            index = Index(tree)
            for _ in index.build():
                pass
            return sorted(index.skipped), sorted(index.files)

        skipped, files = as_nobody(indexed)
        self.assertEqual(skipped, sorted(["broken.py", "deep.py", "searched_only/a.py", *closed]))
        self.assertEqual(files, ["shop/__init__.py", "shop/cart.py", "tests/test_cart.py"])


    def test_the_parts_of_an_answer_over_its_budgets(self):
        index = Index(make_tree(self.addCleanup))
        for _ in index.build():
            pass

        def ask(**budget):
            return TOOLS["wiki"].handler(index, **PAGE, **ASK, **budget)

        measured = budget_chart.measured(ask, size_of)
        sizes = [sum(map(sum, each["parts"].values())) for each in measured]
        self.assertEqual(sizes, [size_of(ask(token_budget=each["budget"])) for each in measured])
        self.assertEqual(sizes[-1], size_of(ask()))
        self.assertTrue(all(part >= 0 for each in measured for parts in each["parts"].values() for part in parts))
        self.assertTrue(all(size <= 4 * each["budget"] for each, size in zip(measured, sizes)))


class DemoTest(unittest.TestCase):
    def run_demo(self, *options: str) -> tuple[int, str, str]:
        command = [sys.executable, "-P", "-m", "hollin.demo", *options]
        done = subprocess.run(command, capture_output=True, env=ENVIRONMENT, timeout=120)
        return done.returncode, done.stdout.decode("ascii"), done.stderr.decode("ascii")

    def test_walks_through_every_answer(self):
        status, screen, log = self.run_demo("--root", str(make_tree(self.addCleanup)), "--query", "cart")
        self.assertEqual((status, log), (0, ""))
        self.assertLessEqual(max(map(len, screen.splitlines())), 92)
        for phrase in (
            '"phase":"indexing files","phase_detail":"2/5"',
            'search {"query": "cart", "offset": 0, "limit": 4}',
            '"code":"pay(Cart().total())","caller":"tests.test_cart.test_pay"',
            '"api":{"endpoints":[{"fqn":"shop.cart.pay"',
            '"token_budget": 400',
            '{"found":false,"message":"Repository not initialized"}= 54 bytes, 14 tokens',
        ):
            self.assertIn(phrase, screen.replace("\n    ", ""))

    def test_ends_without_a_word_when_it_is_interrupted(self):
        command = [sys.executable, "-P", "-m", "hollin.demo", "--root", str(make_long_tree(self.addCleanup))]
        pipes = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        with subprocess.Popen(command, env=ENVIRONMENT | {"PYTHONUNBUFFERED": "1"}, **pipes) as demo:
            self.assertIn(b"Indexing", demo.stdout.readline())
            demo.send_signal(signal.SIGINT)
            log = demo.communicate(timeout=60)[1]
        self.assertEqual((demo.returncode, log), (-signal.SIGINT, b""))

    def test_says_what_is_wrong(self):
        empty = str(make_folder(self.addCleanup))
        cases = {"is not a folder": ["--root", empty + "/none"], "holds no Python file": ["--root", empty]}
        cases["none is not a folder"] = ["--chart", empty + "/none/chart.svg"]
        for why, options in {**cases, "query: must have 1 to 1000 characters": ["--query", ""]}.items():
            status, screen, log = self.run_demo(*options)
            self.assertEqual((status, screen, log.count("\n")), (2, "", 1), log)
            self.assertIn(why, log)
