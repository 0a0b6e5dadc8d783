"""The schemas against real answers: each admits what the library builds, and nothing that differs in a key."""

import functools
import json
import os
import subprocess
import sys
import time
import unittest
from collections.abc import Iterator
from pathlib import Path
from types import SimpleNamespace
from typing import Any

import hollin.mcp_responses as library

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "mcp_responses"))
from service import Client, make_tree  # noqa: E402
from test_server import ANSWERS as CALLS  # noqa: E402
from test_server import LISTS  # noqa: E402

SCHEMAS = {path.stem: json.loads(path.read_text("utf-8")) for path in (HERE.parents[1] / "schemas").glob("*.json")}
EMPTY = SCHEMAS["empty_answers"]["$defs"]
DIALECT = "https://json-schema.org/draft/2020-12/schema"

FULL = SimpleNamespace(
    fqn="shop.Cart.total", name="total", kind="method", start_line=12, end_line=20, signature="def total(self)",
    docstring="Sum. " + "More. " * 99, is_export=True, docstring_truncated=False,
    file_path="shop.py", line=41, caller_symbol={"fqn": "shop.pay", "kind": "function"}, usage_type="call",
    layer="api", path_pattern="shop/**", file_count=3, symbol_count=9,
)  # fmt: skip
UNKNOWN = "end_line signature docstring file_path line caller_symbol usage_type layer path_pattern".split()
BARE = SimpleNamespace(**vars(FULL) | dict.fromkeys(UNKNOWN))
CITATION = {"path": "shop.py", "line_start": 1, "line_end": None, "quote": ["é"]}
SECTION = {"page_id": "p", "title": "t", "heading": "h", "similarity": 0.5, "stale": 1, "excerpt": "two words " * 300}
MANY = [CITATION | {"line_start": line} for line in range(99)]
OPTIONAL = {"model": "m", "tokens": {"in": 7}, "note": "n", "decisions": {"calls": 1}, "code": {}, "memories": {}}
STATUS = {"pages": 3, "files_covered": 2, "total_sources": 3, "coverage_pct": 66.7, "last_built": "now", "model": "m"}


def page(total: int) -> dict[str, Any]:
    return library.build_paginated_response([1, "two", None], total, 0, items_key="rows")


# The answer that tells most and the one that tells least, of each builder: the first has every key there is, the
# second no key that may be absent, and null wherever null may be.
ANSWERS = {
    "index_status": (
        library.build_index_status_response("indexing", "degraded", "main", 40, 12, 99, "now", 1, "edges", "12/30"),
        library.build_index_status_response("ready", "healthy", None, 100),
    ),
    "symbol_search_row": (
        library.build_symbol_search_result(FULL, "shop.py"),
        library.build_symbol_search_result(BARE),
    ),
    "symbol_details": (library.build_symbol_full_details(FULL, "shop.py"), library.build_symbol_full_details(BARE)),
    "symbol_not_found": (library.get_empty_response("symbol"),) * 2,
    "file_outline_row": (library.build_file_symbol(FULL, "shop"), library.build_file_symbol(BARE)),
    "reference_row": (library.build_reference(FULL, "pay()"), library.build_reference(BARE)),
    "api_endpoint": (library.build_api_endpoint(FULL, "shop.py", "shop"), library.build_api_endpoint(BARE)),
    "component": (library.build_component(FULL), library.build_component(BARE)),
    "test_coverage": (
        library.build_test_coverage("t.py", "s.py", ["Cart"]),
        library.build_test_coverage("t.py", "s.py"),
    ),
    "paginated_page": (page(57), page(3)),
    "wiki_status": (
        library.build_wiki_status_response(built=True, branch="main", **STATUS, stale_pages=["p"], enabled=True),
        library.build_wiki_status_response(built=False, branch="main"),
    ),
    "wiki_list": (
        library.build_wiki_list_response([{"page_id": "p"}], 9, 3, True),
        library.build_wiki_list_response([], 0),
    ),
    "wiki_read": (
        library.build_wiki_read_response(
            page_id="p", title="t", content="c", citations=[CITATION], source_files=["shop.py"], related_pages=["q"]
        ),
        library.build_wiki_read_response(page_id="p", title="t", content="c"),
    ),
    "wiki_ask": (
        library.build_wiki_ask_response(
            mode="m", query="q", answer="a", sections=[SECTION], citations=MANY, **OPTIONAL
        ),
        library.build_wiki_ask_response(mode="m", query="q", answer=None, sections=[{}]),
    ),
}  # fmt: skip
EMPTY_ANSWERS = {tool: library.get_empty_response(tool) for tool in (*library.EMPTY_TOOL_RESPONSES, "other")}


def as_sent(answer: dict[str, Any]) -> dict[str, Any]:
    """The answer as a client reads it."""
    return json.loads(library.tool_result_text(answer))


def changes(most: dict[str, Any], least: dict[str, Any]) -> Iterator[tuple[str, dict[str, Any], bool]]:
    """Answers that differ in one key, and whether they are answers still."""
    for key, value in most.items():
        others = {other: most[other] for other in most if other != key}
        yield f"without {key}", others, key not in least
        yield f"another key for {key}", others | {"further": []}, key == "rows"  # rows have any name
        yield f"{key} is null", most | {key: None}, least.get(key, 0) is None
        yield f"{key} is of another kind", most | {key: {"other": 0}}, isinstance(value, dict)
    for extra in (None, "x", 0, [], {}):
        yield f"with a key more: {extra}", most | {"further": extra}, False
        yield f"with a key more, few others: {extra}", least | {"further": extra}, False


@functools.cache
def validator() -> str:
    """An interpreter that can import jsonschema, which Debian has for its own interpreter only."""
    paths = [sys.executable, *(os.path.join(folder, "python3") for folder in os.get_exec_path())]
    for path in filter(os.path.exists, paths):
        done = subprocess.run([path, "-c", "from jsonschema import Draft202012Validator"], capture_output=True)
        if done.returncode == 0:
            return path
    raise AssertionError("no python3 on PATH can import jsonschema; Debian: apt-get install python3-jsonschema")


class Judge(unittest.TestCase):
    def judge(self, cases: list[tuple[str, dict[str, Any], Any, bool]]) -> None:
        """Each case: what it is called, a schema, a value, and whether the schema admits it."""
        asked = json.dumps([(json.dumps(schema), value) for _, schema, value, _ in cases])
        done = subprocess.run([validator(), str(HERE / "validate.py")], input=asked, capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        for (label, _, value, admitted), error in zip(cases, json.loads(done.stdout), strict=True):
            self.assertEqual(error is None, admitted, f"{label}: {value}: {error}")


class SchemaTest(Judge):
    def test_every_schema_is_held_against_answers(self):
        self.assertEqual(set(SCHEMAS), {*ANSWERS, "empty_answers"})
        self.assertEqual(list(EMPTY), list(EMPTY_ANSWERS))
        for name, schema in SCHEMAS.items():
            self.assertEqual((schema["$id"], schema["$schema"]), (f"{name}.json", DIALECT))

    def test_answers(self):
        cases = [(name, SCHEMAS[name], as_sent(answer), True) for name, pair in ANSWERS.items() for answer in pair]
        for tool, answer in EMPTY_ANSWERS.items():
            cases += [(tool, schema, as_sent(answer), True) for schema in (EMPTY[tool], SCHEMAS["empty_answers"])]
        self.judge(cases)

    def test_keys_stand_in_the_order_of_the_schema(self):
        for name, (most, least) in ANSWERS.items():
            order = list(SCHEMAS[name]["properties"])
            if name == "paginated_page":
                order.insert(0, "rows")
            self.assertEqual(list(most), order[: len(most)], name)
            self.assertEqual(list(least), [key for key in order if key in least], name)
        for tool, answer in EMPTY_ANSWERS.items():
            self.assertEqual(list(EMPTY[tool]["const"]), list(answer), tool)

    def test_answers_with_one_key_changed(self):
        cases = []
        for name, pair in ANSWERS.items():
            for label, answer, admitted in changes(*map(as_sent, pair)):
                cases.append((f"{name} {label}", SCHEMAS[name], answer, admitted))
        for tool, answer in EMPTY_ANSWERS.items():
            cases += [(f"{tool} {label}", EMPTY[tool], *case) for label, *case in changes(answer, answer)]
        self.judge(cases)

    def test_section_rows_with_one_key_changed(self):
        most, least = map(as_sent, ANSWERS["wiki_ask"])
        cases = [
            (f"section {label}", SCHEMAS["wiki_ask"], most | {"sections": [row]}, admitted)
            for label, row, admitted in changes(most["sections"][0], least["sections"][0])
        ]
        self.judge(cases)


class ToolSchemaTest(Judge):
    """What a client is told of a tool's answers, and the answers that it gets."""

    def tools(self, client: Client) -> dict[str, dict[str, Any]]:
        listed = client.request("tools/list")["result"]["tools"]
        return {tool["name"]: tool["outputSchema"] for tool in listed}

    def structured(self, client: Client, tool: str, arguments: dict[str, Any]) -> Any:
        return client.request("tools/call", name=tool, arguments=arguments)["result"]["structuredContent"]

    def start(self, *options: str) -> Client:
        client = Client(*options)
        self.addCleanup(client.close)
        client.initialize()
        return client

    def test_before_there_is_an_index(self):
        client = self.start()
        schemas = self.tools(client)
        self.assertEqual(list(schemas), list(library.EMPTY_TOOL_RESPONSES))
        self.judge([(tool, schema, self.structured(client, tool, {}), True) for tool, schema in schemas.items()])

    def test_of_an_index(self):
        client = self.start("--root", str(make_tree(self.addCleanup)))
        while client.answer("status")["status"] != "ready":
            time.sleep(0.05)
        schemas = self.tools(client)
        calls = [(tool, arguments) for tool, arguments, _ in [*CALLS, *LISTS]]
        asked = {"action": "ask", "query": "How do I pay a cart?"}
        calls += [("wiki", asked), ("wiki", asked | {"token_budget": 0})]
        self.assertEqual({tool for tool, _ in calls}, set(schemas))
        answers = [(tool, arguments, self.structured(client, tool, arguments)) for tool, arguments in calls]
        self.judge([
            (f"{tool} {arguments} as {other}", schema, answer, tool == other)
            for tool, arguments, answer in answers
            for other, schema in schemas.items()
        ])  # fmt: skip

    def test_schemas_say_that_an_answer_is_an_object(self):
        for tool, schema in self.tools(self.start()).items():
            self.assertEqual(schema["type"], "object", tool)
            self.assertNotIn("$ref", json.dumps(schema), tool)


if __name__ == "__main__":
    unittest.main()
