"""The schemas against real answers: each admits what the library builds, and nothing that differs in a key."""

import functools
import json
import os
import subprocess
import sys
import unittest
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import hollin.mcp_responses as library

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "mcp_responses"))
from samples import CITATION, COMPONENT, REFERENCE, SECTION, SYMBOL, good_calls, record  # noqa: E402
from service import ServiceTest, make_tree  # noqa: E402
from test_server import ANSWERS as CALLS  # noqa: E402
from test_server import LISTS  # noqa: E402

SCHEMAS = {path.stem: json.loads(path.read_text("utf-8")) for path in (HERE.parents[1] / "schemas").glob("*.json")}
EMPTY = SCHEMAS["empty_answers"]["$defs"]
DIALECT = "https://json-schema.org/draft/2020-12/schema"

BARE_SYMBOL = record(SYMBOL, **dict.fromkeys(("end_line", "signature", "docstring")))
BARE_COMPONENT = record(COMPONENT, **dict.fromkeys(("layer", "path_pattern")))
MANY = [CITATION | {"line_start": line} for line in range(99)]

# The function that makes an answer of each schema, and the arguments of the one that tells least: it has no key that
# may be absent, and null wherever null may be. The one that tells most is a good call's and has every key there is.
LEAST = {
    "index_status": ("build_index_status_response", ["ready", "healthy", None, 100]),
    "symbol_search_row": ("build_symbol_search_result", [BARE_SYMBOL]),
    "symbol_details": ("build_symbol_full_details", [BARE_SYMBOL]),
    "symbol_not_found": ("get_empty_response", ["symbol"]),
    "file_outline_row": ("build_file_symbol", [BARE_SYMBOL]),
    "reference_row": ("build_reference", [record(dict.fromkeys(REFERENCE))]),
    "api_endpoint": ("build_api_endpoint", [BARE_SYMBOL]),
    "component": ("build_component", [BARE_COMPONENT]),
    "test_coverage": ("build_test_coverage", ["t.py", "s.py"]),
    "paginated_page": ("build_paginated_response", [[1, "two", None], 3, 0], {"items_key": "rows"}),
    "wiki_status": ("build_wiki_status_response", [], {"built": False, "branch": "main"}),
    "wiki_list": ("build_wiki_list_response", [[], 0]),
    "wiki_read": ("build_wiki_read_response", [], {"page_id": "p", "title": "t", "content": "c"}),
    "wiki_ask": ("build_wiki_ask_response", [], {"mode": "m", "query": "q", "answer": None, "sections": [{}]}),
}
# Good calls are changed where a schema sets a limit, and where they tell less than there is.
SECTIONS = [SECTION | {"excerpt": "two words " * 300}]
CHANGED = {
    "symbol_not_found": {"tool_name": "symbol"},
    "wiki_ask": {"sections": SECTIONS, "citations": MANY, "token_budget": None},
}


def most_and_least(name: str, function: str, args: list[Any], named: dict[str, Any] = {}) -> tuple[Any, Any]:
    build = getattr(library, function)
    return build(**good_calls()[function] | CHANGED.get(name, {})), build(*args, **named)


ANSWERS = {name: most_and_least(name, *least) for name, least in LEAST.items()}
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
        pairs = {name: [*map(as_sent, pair)] for name, pair in ANSWERS.items()}
        cases = [
            (f"{name} {label}", SCHEMAS[name], answer, admitted)
            for name, pair in pairs.items()
            for label, answer, admitted in changes(*pair)
        ]
        for tool, answer in EMPTY_ANSWERS.items():
            cases += [(f"{tool} {label}", EMPTY[tool], *case) for label, *case in changes(answer, answer)]
        most, least = pairs["wiki_ask"]
        for label, row, admitted in changes(most["sections"][0], least["sections"][0]):
            cases.append((f"section {label}", SCHEMAS["wiki_ask"], most | {"sections": [row]}, admitted))
        self.judge(cases)


class ToolSchemaTest(ServiceTest, Judge):
    """What a client is told of a tool's answers, and the answers that it gets."""

    def test_before_there_is_an_index(self):
        client = self.start()
        client.initialize()
        schemas = client.tools()
        self.assertEqual([*schemas], [*library.EMPTY_TOOL_RESPONSES])
        for tool, schema in schemas.items():
            self.assertEqual(schema["type"], "object", tool)
            self.assertNotIn("$ref", json.dumps(schema), tool)
        self.judge([(tool, schema, client.answer(tool), True) for tool, schema in schemas.items()])

    def test_of_an_index(self):
        client = self.start_with_tree(make_tree(self.addCleanup))
        schemas = client.tools()
        calls = [(tool, arguments) for tool, arguments, _ in [*CALLS, *LISTS]]
        asked = {"action": "ask", "query": "How do I pay a cart?"}
        calls += [("wiki", asked), ("wiki", asked | {"token_budget": 0})]
        self.assertEqual({tool for tool, _ in calls}, {*schemas})
        answers = [(tool, arguments, client.answer(tool, **arguments)) for tool, arguments in calls]
        self.judge([
            (f"{tool} {arguments} as {other}", schema, answer, tool == other)
            for tool, arguments, answer in answers
            for other, schema in schemas.items()
        ])  # fmt: skip
