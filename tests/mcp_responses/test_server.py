"""The example service through its MCP server."""

import importlib.metadata
import io
import json
import math
import os
import re
import shutil
import threading
import unittest
from unittest import mock

from hollin.index import Index
from hollin.mcp_responses import EMPTY_TOOL_RESPONSES, tool_result_text
from hollin.server import Server, build_index
from service import (ASK, NEEDED, TREE, Client, ServiceTest, answer, built_index, conversation, make_long_tree,
                     make_tree, write_tree)
from script_helper import HERE

LISTS = [("search", {"query": "a"}, "symbols"), ("files", {}, "files"), ("architecture", {}, "components")]
LISTS += [("symbol", {"fqn": "shop.cart.pay", "action": "references"}, "references")]
LISTS += [("tests", {}, "tests"), ("wiki", {"action": "list"}, "pages"), ("file", {"path": "shop/cart.py"}, "symbols")]
WRONG_MESSAGES = [  # a line, and the id and the code of its error
    (b"{", None, -32700),
    (b'{"a":"\xff"}', None, -32700),
    (b'{"a":NaN}', None, -32700),
    (b"[" * 100000, None, -32700),
    (b"[]", None, -32600),
    (b'[{"jsonrpc":"2.0","id":1,"method":"ping"}]', None, -32600),
    (b'{"jsonrpc":"1.0","id":1,"method":"ping"}', 1, -32600),
    (b'{"jsonrpc":"2.0","id":1.5,"method":"ping"}', None, -32600),
    (b'{"jsonrpc":"2.0","id":"\\ud800","method":"resources/list"}', "\ud800", -32601),
    (b'{"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"git"}}', 1, -32602),
]


class StartTest(ServiceTest):
    def test_versions_of_the_protocol(self):
        known = ["2024-11-05", "2025-03-26", "2025-06-18", "2025-11-25"]
        for requested, agreed in {**dict(zip(known, known)), "2024-10-07": "2025-11-25", "": "2025-11-25"}.items():
            client = self.start()
            self.assertEqual(client.request("tools/list")["error"]["code"], -32600, "a request before initialize")
            result = client.initialize(requested)
            self.assertEqual(result["protocolVersion"], agreed, requested)
            self.assertEqual(result["serverInfo"]["version"], importlib.metadata.version("mcp_responses"))
            client.send(b'[{"jsonrpc":"2.0","id":1,"method":"ping"},{"jsonrpc":"2.0","method":"a"},3]')
            answer = client.receive()
            if agreed < "2025-06-18":
                self.assertEqual(answer[0], {"jsonrpc": "2.0", "id": 1, "result": {}}, requested)
                self.assertEqual([each.get("error", {}).get("code") for each in answer], [None, -32600], requested)
            else:
                self.assertEqual(answer["error"]["code"], -32600, requested)

    def test_without_a_tree(self):
        client = self.start()
        client.initialize()
        for tool in client.tools():
            self.assertEqual(client.call(tool, **NEEDED.get(tool, {})), tool_result_text(EMPTY_TOOL_RESPONSES[tool]))
            self.assertIn("nonsense: is not an argument", client.call(tool, nonsense=1))

    def test_a_tool_waits_for_the_index(self):
        for start_seconds, expected in ((0, "The index is being built (0 % done). Call status"), (300, "m299.f")):
            index, out, stop = Index(make_long_tree(self.addCleanup)), io.BytesIO(), threading.Event()
            server = Server(out, index, start_seconds)
            building = threading.Thread(target=build_index, args=(index, stop))
            self.assertIn('"status":"indexing"', self.tool_text(server, out, "status"))
            if start_seconds:
                building.start()
                self.addCleanup(building.join)
            self.assertIn(expected, self.tool_text(server, out, "search", query="m299 f"))

    def test_a_client_that_leaves_while_a_tree_is_indexed(self):
        self.start("--root", str(make_long_tree(self.addCleanup))).initialize()

    def test_an_index_that_cannot_be_built(self):
        index, out = Index(make_tree(self.addCleanup)), io.BytesIO()
        with mock.patch.object(index, "_add_coverage", lambda _: 1 / 0), self.assertLogs("hollin.server", "ERROR"):
            build_index(index, threading.Event())
        server = Server(out, index)
        self.assertEqual(json.loads(self.tool_text(server, out, "status"))["status"], "error")
        reason = "could not be built (ZeroDivisionError: division by zero)"
        self.assertIn(reason, self.tool_text(server, out, "files"))

    def tool_text(self, server: Server, out: io.BytesIO, tool: str, **arguments) -> str:
        for method, params in (
            ("initialize", {"protocolVersion": ""}),
            ("tools/call", {"name": tool, "arguments": arguments}),
        ):
            server.receive(json.dumps({"jsonrpc": "2.0", "id": 1, "method": method, "params": params}).encode())
        return json.loads(out.getvalue().splitlines()[-1])["result"]["content"][0]["text"]


class ReadyServerTest(ServiceTest):
    maxDiff = None

    def setUp(self):
        self.folder = make_tree(self.addCleanup)
        self.client = self.start_with_tree(self.folder)

    def test_a_conversation(self):
        self.assertEqual({tool for tool, *_ in conversation()}, {*self.client.tools()})
        for tool, arguments, expected in conversation():
            text = re.sub(r'\d{4}-\d\d-\d\dT[^"]+', "<time>", self.client.call(tool, **arguments))
            self.assertEqual(re.sub(r'(?<=broken.py: )[^"]+', "<error>", text), expected, (tool, arguments))

    def test_the_list_of_tools_is_short(self):
        text = json.dumps(self.client.request("tools/list"), ensure_ascii=False, separators=(",", ":"))
        self.assertLess(len(text.encode()), 12_000, "shorten catalogue.py: a model pays for it")

    def test_each_description_has_an_example_that_works(self):
        for name, tool in self.client.tools().items():
            example = json.loads(re.search(r" Example: (\{.*\})$", tool["description"])[1])
            self.assertNotRegex(self.client.call(name, **example), '^error|"found":false|"total_count":0', name)

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
                    self.assertEqual(page["truncated"], more, (tool, limit))
                self.assertEqual((rows, page["total_count"]), (whole, len(whole)), (tool, limit))

    def test_wrong_messages(self):
        for line, number, code in WRONG_MESSAGES:
            self.client.send(line)
            error = self.client.receive()
            self.assertEqual((error.get("id"), error["error"]["code"]), (number, code), line[:100])
            self.assertEqual("id" in error, number is not None, "an id that cannot be read is left out")
            self.client.send(b'{"jsonrpc":"2.0","method":"tools/call","params":[]}\n\r')  # neither gets an answer
            self.assertEqual(self.client.request("ping"), {"jsonrpc": "2.0", "id": "r", "result": {}}, line[:100])


class SmallServerTest(unittest.TestCase):
    def test_a_conversation(self):
        client = Client(str(HERE.parents[1] / "examples" / "small_server.py"))
        self.addCleanup(client.close)
        self.assertEqual(client.initialize()["serverInfo"]["name"], "small")
        self.assertEqual({name: tool["inputSchema"]["required"] for name, tool in client.tools().items()},
                         {"search": ["query"], "symbol": ["fqn"], "file": ["path"]})
        for tool, arguments, expected in conversation("small_conversation.txt"):
            self.assertEqual(client.call(tool, **arguments), expected, (tool, arguments))
        self.assertEqual(client.request("resources/list")["error"]["code"], -32601)
        self.assertEqual(client.request("ping")["result"], {})


class ChangedFilesTest(unittest.TestCase):
    def setUp(self):
        self.folder = make_tree(self.addCleanup)
        self.index = built_index(self.folder)
        self.index.look_seconds = math.inf

    def answer(self, tool: str, **arguments) -> dict:
        return answer(self.index, tool, **arguments)

    def test_an_answer_is_that_of_a_new_index(self):
        calls = [(tool, arguments) for tool, arguments, _ in LISTS if tool != "architecture"]
        calls += [("symbol", {"fqn": "shop.cart.Cart.total"}), ("architecture", {"action": "endpoints"})]
        calls += [("wiki", ASK), ("wiki", {"action": "read", "page_id": "docs/guide.md"})]
        for tool, arguments in calls:
            before, updated = self.answer(tool, **arguments), self.index.updated
            for path in ("shop/cart.py", "tests/test_cart.py", "docs/guide.md", "shop/__init__.py"):
                text = (self.folder / path).read_text("utf-8")
                text = re.sub(r"import (\w+), (\w+)", r"import \2, \1", text)
                text += "\ndef added():\n    pay(1)\n" if path.endswith("cart.py") else ""
                (self.folder / path).write_text("\n" + text, encoding="utf-8")
            after = self.answer(tool, **arguments)
            self.assertEqual(after, answer(built_index(self.folder), tool, **arguments), tool)
            if (tool, arguments) != LISTS[5][:2]:  # the list of wiki pages does not contain lines
                self.assertNotEqual(after, before, tool)
            self.assertNotEqual(self.index.updated, updated, tool)

    def test_new_deleted_and_moved_files(self):
        self.index.look_seconds = 0
        guide = (self.folder / "docs/guide.md").read_text("utf-8")
        for change in (
            lambda: write_tree(self.folder, {"shop/paying.py": "def pay_later(): pass\n", "docs/a.md": guide}),
            lambda: write_tree(self.folder, {"new/deep/a.py": "import shop.paying as p\ndef a(): p.pay_later()\n"}),
            lambda: write_tree(self.folder, {"new/deep/__init__.py": "A = 1\n", "shop/cart.py": "class Other: pass\n"}),
            lambda: (self.folder / "shop/paying.py").rename(self.folder / "shop/later.py"),
            lambda: shutil.rmtree(self.folder / "new"),
            lambda: (self.folder / "docs/a.md").unlink(),
        ):
            change()
            new = built_index(self.folder)
            for tool, arguments in ((tool, arguments) for tool, arguments, _ in LISTS):
                self.assertEqual(self.answer(tool, **arguments), answer(new, tool, **arguments), (tool, arguments))
            self.assertEqual(self.index.references, new.references)

    def test_a_file_that_is_deleted_or_replaced_for_some_time_is_not_in_the_answers(self):
        cart = self.folder / "shop/cart.py"
        (self.folder / "copy").write_text(TREE["shop/cart.py"])
        for change, skipped in (
            (lambda: None, False),
            (lambda: cart.symlink_to(self.folder / "copy"), False),
            (lambda: os.mkfifo(cart), False),
            (lambda: cart.write_text("def (:"), True),
        ):
            cart.unlink()
            change()
            self.assertEqual(self.answer("search", query="Cart.total")["symbols"], [])
            self.assertEqual(self.answer("file", path="shop/cart.py")["found"], False)
            self.assertEqual("shop/cart.py" in self.index.tree.errors, skipped)
            cart.unlink(missing_ok=True)
            cart.write_text(TREE["shop/cart.py"])
            self.assertEqual(self.answer("symbol", fqn="shop.cart.pay")["found"], True, "it is back")
            self.assertNotIn("shop/cart.py", self.index.tree.errors)

    def test_a_file_that_changes_all_the_time(self):
        with mock.patch.object(self.index, "refresh", return_value=True):
            self.assertEqual(self.answer("files")["total_count"], 3)

    def test_stale_pages_until_an_answer_cites_them(self):
        guide = self.folder / "docs/guide.md"
        made = guide.stat().st_mtime_ns
        for time_stamp, stale in ((made + 1, ["docs/guide.md"]), (made, [])):
            os.utime(guide, ns=(made, time_stamp))
            self.assertEqual(self.answer("wiki", action="status")["stale_pages"], stale)
        os.utime(guide, ns=(made, made + 1))
        self.answer("wiki", action="ask", query="lines")
        self.assertEqual(self.answer("wiki", action="status")["stale_pages"], [])
