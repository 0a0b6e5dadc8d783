"""The schemas against real answers: each admits what the library builds, and nothing that differs in a key."""

import functools
import inspect
import json
import os
import re
import subprocess
import sys
import unittest
from collections.abc import Iterator
from pathlib import Path
from types import SimpleNamespace
from typing import Any

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path.insert(0, str(HERE.parent / "mcp_responses"))
from samples import CITATION, SECTION, good_calls, real, record  # noqa: E402
from service import ASK, NEEDED, ServiceTest, conversation, make_tree  # noqa: E402

SCHEMAS = {path.stem: json.loads(path.read_text("utf-8")) for path in (ROOT / "schemas").glob("*.json")}
EMPTY = SCHEMAS["empty_answers"]["$defs"]
DIALECT = "https://json-schema.org/draft/2020-12/schema"

# The function that makes an answer of each schema.
BUILDERS = {"index_status": "build_index_status_response", "symbol_search_row": "build_symbol_search_result"}
BUILDERS |= {"symbol_details": "build_symbol_full_details", "symbol_not_found": "get_empty_response"}
BUILDERS |= {"file_outline_row": "build_file_symbol", "reference_row": "build_reference"}
BUILDERS |= {"paginated_page": "build_paginated_response", "wiki_list": "build_wiki_list_response"}
BUILDERS |= {f"wiki_{action}": f"build_wiki_{action}_response" for action in ("status", "read", "ask")}
BUILDERS |= {name: f"build_{name}" for name in ("api_endpoint", "component", "test_coverage")}

# Where a good call does not do: the most is as much as a schema admits, the least a page that is the last one.
MOST = {"sections": [SECTION | {"excerpt": "two words " * 300}], "token_budget": None, "tool_name": "symbol"}
MOST |= {"citations": [CITATION | {"line_start": line} for line in range(99)]}
LEAST = {"sections": [{}], "items_key": "rows", "total_count": 5, "tool_name": "symbol"}

STUBS = (ROOT / "hollin-stubs" / "mcp_responses.pyi").read_text("utf-8")
MAY_BE_UNKNOWN = re.findall(r"def (\w+)\(self\) -> .+ \| None", STUBS)  # the fields of records


def unknown(value: Any, annotation: str) -> Any:
    if isinstance(value, SimpleNamespace):
        return record(vars(value), **dict.fromkeys({*vars(value)} & {*MAY_BE_UNKNOWN}))
    return None if annotation.endswith("| None") else value


def most_and_least(function: str) -> tuple[Any, Any]:
    """The answer that has every key there is, and the one without all that may be absent, null wherever null may be."""
    build, good = getattr(real, function), good_calls()[function]
    parameters = inspect.signature(build).parameters.values()
    bare = {one.name: unknown(good[one.name], one.annotation) for one in parameters if one.default is one.empty}
    most, least = ({name: one[name] for name in {*one} & {*good}} for one in (MOST, LEAST))
    return build(**good | most), build(**bare | least)


# As a client reads them.
ANSWERS = {name: json.loads(real.tool_result_text(most_and_least(function))) for name, function in BUILDERS.items()}
EMPTY_ANSWERS = {tool: real.get_empty_response(tool) for tool in (*real.EMPTY_TOOL_RESPONSES, "other")}


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
        cases = [(name, SCHEMAS[name], answer, True) for name, pair in ANSWERS.items() for answer in pair]
        for tool, answer in EMPTY_ANSWERS.items():
            cases += [(tool, schema, answer, True) for schema in (EMPTY[tool], SCHEMAS["empty_answers"])]
        self.judge(cases)

    def test_keys_stand_in_the_order_of_the_schema(self):
        for name, (most, least) in ANSWERS.items():
            order = ["rows"] * (name == "paginated_page") + list(SCHEMAS[name]["properties"])
            self.assertEqual(list(most), order[: len(most)], name)
            self.assertEqual(list(least), [key for key in order if key in least], name)
        for tool, answer in EMPTY_ANSWERS.items():
            self.assertEqual(list(EMPTY[tool]["const"]), list(answer), tool)

    def test_functions_tell_their_keys_in_their_order(self):
        for name, function in BUILDERS.items():
            build = getattr(real, function)
            told = re.findall(r'"(\w+)"', build.__doc__)
            # Parameters name their keys; the hint, and what an empty answer has, are not the function's to tell.
            others = {*inspect.signature(build).parameters, "hint", *EMPTY["symbol"]["const"]}
            keys = [key for key in SCHEMAS[name]["properties"] if key not in others]
            self.assertEqual([key for key in dict.fromkeys(told) if key in keys], keys, function)

    def test_answers_with_one_key_changed(self):
        pairs = [(name, SCHEMAS[name], *pair) for name, pair in ANSWERS.items()]
        pairs += [(tool, EMPTY[tool], answer, answer) for tool, answer in EMPTY_ANSWERS.items()]
        cases = [(f"{name} {label}", schema, *case) for name, schema, *pair in pairs for label, *case in changes(*pair)]
        most, least = ANSWERS["wiki_ask"]
        for label, row, admitted in changes(most["sections"][0], least["sections"][0]):
            cases.append((f"section {label}", SCHEMAS["wiki_ask"], most | {"sections": [row]}, admitted))
        self.judge(cases)


def is_not_found(answer: dict[str, Any], tool: str) -> bool:
    return answer.get("found") is False and tool in ("symbol", "file", "wiki")


class ToolSchemaTest(ServiceTest, Judge):
    """What a client is told of a tool's answers, and the answers that it gets."""

    def test_before_there_is_an_index(self):
        client = self.start()
        client.initialize()
        schemas = client.output_schemas()
        for tool, schema in schemas.items():
            self.assertEqual(schema["type"], "object", tool)
            self.assertNotIn("$ref", json.dumps(schema), tool)
        answers = {tool: client.answer(tool, **NEEDED.get(tool, {})) for tool in schemas}
        self.judge([(tool, schema, answers[tool], True) for tool, schema in schemas.items()])

    def test_of_an_index(self):
        client = self.start_with_tree(make_tree(self.addCleanup))
        schemas = client.output_schemas()
        calls = [(tool, arguments) for tool, arguments, said in conversation() if not said.startswith("error: ")]
        calls += [("files", {}), ("wiki", {"action": "list"}), ("wiki", ASK), ("wiki", ASK | {"token_budget": 0})]
        self.assertEqual({tool for tool, _ in calls}, {*schemas})
        answers = [(tool, arguments, client.answer(tool, **arguments)) for tool, arguments in calls]
        self.judge([
            (f"{tool} {arguments} as {other}", schema, answer, tool == other or is_not_found(answer, other))
            for tool, arguments, answer in answers
            for other, schema in schemas.items()
        ])  # fmt: skip
