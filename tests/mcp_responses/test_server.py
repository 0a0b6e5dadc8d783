"""The example service as its clients meet it: an MCP server behind two pipes."""

import json
import os
import re

from hollin.mcp_responses import EMPTY_TOOL_RESPONSES, tool_result_text
from samples import make_folder
from service import TEST_CALL, ServiceTest, make_tree

PAY = ('"fqn":"shop.cart.pay","name":"pay","kind":"function","file":"shop/cart.py","line":10,'
       '"signature":"async def pay(cart)"')
TOTAL = '"signature":"def total(self, *, rate: float=0.5) -> float"'
LAST = '"truncated":false,"has_more":false,"offset":0'

ANSWERS = [
    ("status", {},
     '{"status":"ready","health":"degraded","branch":"trunk","progress":100,"files_indexed":3,"symbols_indexed":4,'
     '"last_updated":"<time>","errors_count":2}'),
    ("search", {"query": "CART pay"},
     f'{{"symbols":[{{{PAY},"summary":"Pay once ?"}},{{"fqn":"tests.test_cart.test_pay","name":"test_pay",'
     '"kind":"function","file":"tests/test_cart.py","line":4,"signature":"def test_pay()"}],"total_count":2,'
     f"{LAST}}}"),
    ("symbol", {"fqn": "shop.cart.Cart.total"},
     '{"found":true,"fqn":"shop.cart.Cart.total","name":"total","kind":"method","file":"shop/cart.py","start_line":5,'
     f'"end_line":6,{TOTAL},"is_export":true,"docstring":null,"docstring_truncated":false}}'),
    ("symbol", {"fqn": "shop.cart.pay", "action": "references"},
     f'{{"references":[{{{TEST_CALL},"caller_kind":"function","usage_type":"call"}}],"total_count":1,{LAST}}}'),
    ("symbol", {"fqn": "shop"}, '{"found":false,"message":"No symbol is called shop"}'),
    ("file", {"path": "shop/cart.py"},
     '{"file":"shop/cart.py","module":"shop.cart","symbols":[{"name":"Cart","kind":"class","line":2,"end_line":6,'
     '"signature":"class Cart(dict)","summary":"Lines to pay."},{"name":"Cart.total","kind":"method","line":5,'
     f'"end_line":6,{TOTAL}}},{{"name":"pay","kind":"function","line":10,"end_line":12,'
     '"signature":"async def pay(cart)","summary":"Pay once ?"}]}'),
    ("architecture", {"offset": 0, "limit": 1},
     '{"components":[{"name":"shop","layer":"api","path_pattern":"shop/**/*.py","file_count":2,"symbol_count":3}],'
     '"total_count":2,"truncated":true,"has_more":true,"offset":0,"hint":"More rows follow: call again with offset=1.",'
     f'"api":{{"endpoints":[{{{PAY},"component":"shop"}}],"total_count":1,{LAST}}}}}'),
    ("tests", {},
     '{"tests":[{"test_file":"tests/test_cart.py","source_file":"shop/cart.py","symbols_imported":["Cart","pay"]},'
     f'{{"test_file":"tests/test_cart.py","source_file":"shop/__init__.py"}}],"total_count":2,{LAST}}}'),
    ("wiki", {"action": "status"},
     '{"built":true,"branch":"trunk","enabled":true,"configured":false,"pages":3,"files_covered":1,"total_sources":3,'
     '"coverage_pct":33.3,"last_built":"<time>","model":null,"stale_pages":[]}'),
    ("wiki", {"action": "read", "page_id": "shop/__init__.py"},
     '{"page_id":"shop/__init__.py","title":"shop","content":"A shop.\\n\\nCarts are paid here.","citations":[{"path":'
     '"shop/__init__.py","line_start":1,"line_end":3}],"source_files":["shop/__init__.py"],"related_pages":[]}'),
    ("wiki", {"action": "read", "page_id": "docs/notes.rst"},
     '{"page_id":"docs/notes.rst","title":"docs/notes.rst","content":"Notes\\n=====\\n\\nLast line.\\n","citations":'
     '[{"path":"docs/notes.rst","line_start":1,"line_end":4}],"source_files":["docs/notes.rst"],'
     '"related_pages":["docs/guide.md"]}'),
]

LISTS = [
    ("search", {"query": "a"}, "symbols"),
    ("symbol", {"fqn": "shop.cart.Cart.total", "action": "references"}, "references"),
    ("files", {}, "files"),
    ("architecture", {}, "components"),
    ("tests", {}, "tests"),
    ("wiki", {"action": "list"}, "pages"),
]

WRONG_ARGUMENTS = [
    ("search", {}, "query: is missing"),
    ("search", {"query": 7}, "query: must be text"),
    ("search", {"query": ""}, "query: must have 1 to 1000 characters"),
    ("search", {"query": "\ud800"}, "query: holds half of a surrogate pair, which is no character"),
    ("search", {"query": "a", "limit": 0}, "limit: must be from 1 to 100"),
    ("files", {"offset": 10**30}, "offset: must be from 0 to 1000000000"),
    ("files", {"offset": True}, "offset: must be a whole number"),
    ("files", {"limit": None}, "limit: must be a whole number"),
    ("files", {"page": 1}, "page: is not an argument here; these are: offset, limit"),
    ("file", {"path": "/etc/passwd"}, "path: is not a file of the index; the tool files lists them"),
    ("symbol", {"fqn": "a", "action": "callers"}, "action: must be one of detail, references"),
    ("wiki", {"action": "read"}, "page_id: is missing; the action read needs it"),
    ("wiki", {"action": "read", "page_id": "no"}, "page_id: is not a page of the wiki; the action list lists them"),
    ("wiki", {"action": "ask", "query": "a", "token_budget": 0.5}, "token_budget: must be a whole number"),
]

CALL = b'{"jsonrpc":"2.0","id":1,"method":'
WRONG_MESSAGES = [  # a line, and the id and the code of the error that it gets; None where no answer is due
    (b"{", (None, -32700)),
    (b'{"a":"\xff"}', (None, -32700)),
    (b"[" * 100000, (None, -32700)),
    (CALL + b'"ping","params":{"x":NaN}}', (None, -32700)),
    (b"[" + CALL + b'"ping"}]', (None, -32600)),
    (b'{"jsonrpc":"1.0","id":1,"method":"ping"}', (1, -32600)),
    (b'{"jsonrpc":"2.0","id":null,"method":"ping"}', (None, -32600)),
    (b'{"jsonrpc":"2.0","id":true,"method":"ping"}', (None, -32600)),
    (b'{"jsonrpc":"2.0","id":1}', (1, -32600)),
    (b'{"jsonrpc":"2.0","id":"\\ud800","method":"resources/list"}', ("\ud800", -32601)),
    (CALL + b'"ping","params":[]}', (1, -32602)),
    (CALL + b'"initialize","params":{}}', (1, -32602)),
    (CALL + b'"tools/list","params":{"cursor":"x"}}', (1, -32602)),
    (CALL + b'"tools/call"}', (1, -32602)),
    (CALL + b'"tools/call","params":{"name":"git"}}', (1, -32602)),
    (CALL + b'"tools/call","params":{"name":"files","arguments":[]}}', (1, -32602)),
    (b'{"jsonrpc":"2.0","method":"tools/call","params":[]}', None),
    (b'{"jsonrpc":"2.0","id":1,"result":{}}', None),
    (b"\r", None),
]


class EmptyServerTest(ServiceTest):
    def test_versions(self):
        cases = {"2025-06-18": "2025-06-18", "2025-11-25": "2025-11-25", "2024-11-05": "2025-11-25", "": "2025-11-25"}
        for asked, agreed in cases.items():
            self.assertEqual(self.start().initialize(asked)["protocolVersion"], agreed, asked)

    def test_before_a_tree_is_given(self):
        client = self.start()
        self.assertEqual(client.request("tools/list")["error"]["code"], -32600, "nothing comes before initialize")
        self.assertEqual(client.request("ping")["result"], {})
        client.initialize()
        self.assertEqual([*client.tools()], [*EMPTY_TOOL_RESPONSES])
        for tool, empty in EMPTY_TOOL_RESPONSES.items():
            self.assertEqual(client.call(tool, nonsense=1), (tool_result_text(empty), False), tool)

    def test_while_a_tree_is_indexed(self):
        folder = make_folder(self.addCleanup)
        for number in range(300):
            (folder / f"m{number}.py").write_text("def f(a, b):\n    return f(a, f(b, a))\n" * 100)
        client = self.start("--root", str(folder))
        client.initialize()
        self.assertEqual([*client.tools()], [*EMPTY_TOOL_RESPONSES])
        self.assertEqual(client.answer("status"), EMPTY_TOOL_RESPONSES["status"])
        self.assertEqual(client.hear(), {"jsonrpc": "2.0", "method": "notifications/tools/list_changed"})
        self.assertEqual(client.answer("status")["files_indexed"], 300)
        self.start("--root", str(folder)).initialize()  # and is left while it indexes


class ReadyServerTest(ServiceTest):
    def setUp(self):
        self.folder = make_tree(self.addCleanup)
        self.client = self.start_with_tree(self.folder)

    def test_answers(self):
        tools = ["status", "search", "symbol", "file", "files", "architecture", "tests", "wiki"]
        self.assertEqual([*self.client.tools()], tools)
        for tool, arguments, expected in ANSWERS:
            text, is_error = self.client.call(tool, **arguments)
            self.assertEqual(re.sub(r'\d{4}-\d\d-\d\dT[^"]+', "<time>", text), expected, (tool, arguments))
            self.assertFalse(is_error)

    def test_each_row_is_listed_once(self):
        for tool, arguments, key in LISTS:
            whole = self.client.answer(tool, **arguments)[key]
            self.assertGreater(len(whole), 1, tool)
            for limit in range(1, len(whole) + 1):
                rows, more = [], True
                while more:
                    page = self.client.answer(tool, **arguments, offset=len(rows), limit=limit)
                    self.assertEqual((page["total_count"], page["offset"]), (len(whole), len(rows)))
                    rows, more = rows + page[key], page["has_more"]
                    self.assertIn(page.get("hint"), (None, f"More rows follow: call again with offset={len(rows)}."))
                self.assertEqual(rows, whole, (tool, limit))

    def test_ask_fits_its_budget(self):
        question = {"action": "ask", "query": "How do I pay a cart?"}
        whole, smallest = (
            len(self.client.call("wiki", **question, **more)[0].encode()) for more in ({}, {"token_budget": 0})
        )
        self.assertGreater(whole, 2 * smallest)
        for budget in [*range(0, whole // 4 + 200, 23), 10**9]:
            text, _ = self.client.call("wiki", **question, token_budget=budget)
            self.assertLessEqual(len(text.encode()), max(4 * budget, smallest), budget)
            self.assertEqual(tool_result_text(json.loads(text)), text)
        self.assertEqual(len(text.encode()), whole)

    def test_pages_grow_stale(self):
        guide = self.folder / "docs/guide.md"
        made = guide.stat().st_mtime_ns
        for time_stamp, stale in ((made + 1, ["docs/guide.md"]), (made, [])):
            os.utime(guide, ns=(made, time_stamp))
            self.assertEqual(self.client.answer("wiki", action="status")["stale_pages"], stale)
            (section,) = self.client.answer("wiki", action="ask", query="lines")["sections"]
            self.assertEqual(section["stale"], bool(stale))

    def test_wrong_arguments(self):
        for tool, arguments, why in WRONG_ARGUMENTS:
            self.assertEqual(self.client.call(tool, **arguments), (why, True))

    def test_wrong_messages(self):
        for line, expected in WRONG_MESSAGES:
            self.client.send(line)
            if expected:
                answer = self.client.receive()
                self.assertEqual((answer["id"], answer["error"]["code"]), expected, line[:100])
            self.assertEqual(self.client.request("ping"), {"jsonrpc": "2.0", "id": "r", "result": {}}, line[:100])
