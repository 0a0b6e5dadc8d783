"""The schemas accept the answers that the library builds, and no answer that differs in a key."""

import inspect
import itertools
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
from samples import CITATION, FUNCTIONS, SECTION, good_calls, real, record  # noqa: E402
from service import ASK, NEEDED, ServiceTest, conversation, make_tree  # noqa: E402

SCHEMAS = {path.stem: json.loads(path.read_text("utf-8")) for path in (ROOT / "schemas").glob("*.json")}
EMPTY = SCHEMAS["empty_answers"]["$defs"]
SECTIONS = SCHEMAS["wiki_ask"]["properties"]["sections"]["items"]
DIALECT = "https://json-schema.org/draft/2020-12/schema"

# The function that makes an answer of each schema: that of the first example after its heading.
DOCUMENT = (ROOT / "docs" / "answers.md").read_text("utf-8")
EXAMPLES = re.findall(r"^### (\w+)$(?=.*?^((?:build|get)_\w+)\()", DOCUMENT, re.M | re.S)
BUILDERS = {name: builder for name, builder in EXAMPLES if name in SCHEMAS and name != "empty_answers"}

# Arguments that replace those of a good call, for an answer with every key and for one without the optional keys.
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
    """An answer with every key, and one without the optional keys in which every value that may be null is null."""
    build, good = getattr(real, function), good_calls()[function]
    parameters = inspect.signature(build).parameters.values()
    bare = {one.name: unknown(good[one.name], one.annotation) for one in parameters if one.default is one.empty}
    most, least = ({name: one[name] for name in {*one} & {*good}} for one in (MOST, LEAST))
    return build(**good | most), build(**bare | least)


# As a client decodes them.
ANSWERS = {name: json.loads(real.tool_result_text(most_and_least(function))) for name, function in BUILDERS.items()}
EMPTY_ANSWERS = {tool: real.get_empty_response(tool) for tool in (*real.EMPTY_TOOL_RESPONSES, "other")}


def changes(most: dict[str, Any], least: dict[str, Any]) -> Iterator[tuple[str, dict[str, Any], bool]]:
    """Both answers and others that differ in one key, each with a label and whether it is valid."""
    yield "with every key", most, True
    yield "without the optional keys", least, True
    for key, value in most.items():
        others = {other: most[other] for other in most if other != key}
        yield f"without {key}", others, key not in least
        yield f"another key instead of {key}", others | {"further": []}, key == "rows"  # the key of rows is not fixed
        yield f"{key} is null", most | {key: None}, least.get(key, 0) is None
        yield f"{key} of another type", most | {key: {"other": 0}}, isinstance(value, dict)
    for answer, extra in itertools.product((most, least), (None, "x", 0, [], {})):
        yield f"with one more key: {extra}", answer | {"further": extra}, False


def run_validator(text: str) -> subprocess.CompletedProcess:
    """Runs an interpreter that can import jsonschema, which Debian has for its own interpreter only."""
    paths = [sys.executable, *(os.path.join(folder, "python3") for folder in os.get_exec_path())]
    for path in filter(os.path.exists, paths):
        done = subprocess.run([path, str(HERE / "validate.py")], input=text, capture_output=True, text=True)
        if "ImportError" not in done.stderr and "ModuleNotFoundError" not in done.stderr:
            return done
    raise AssertionError("no python3 on PATH can import jsonschema; Debian: apt-get install python3-jsonschema")


class ValidatingTest(unittest.TestCase):
    def assert_validity(self, cases: list[tuple[str, dict[str, Any], Any, bool]]) -> None:
        """Each case: a label, a schema, a value, and whether the value is valid."""
        text = json.dumps([(json.dumps(schema), value) for _, schema, value, _ in cases])
        done = run_validator(text)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        for (label, _, value, is_valid), error in zip(cases, json.loads(done.stdout), strict=True):
            self.assertEqual(error is None, is_valid, f"{label}: {value}: {error}")


class SchemaTest(ValidatingTest):
    def test_each_schema_has_answers(self):
        without_example = SCHEMAS.keys() - {*ANSWERS, "empty_answers"}
        self.assertEqual(without_example, set(), "docs/answers.md has no example of this schema")
        builders = {name for name in FUNCTIONS if name.startswith("build_")} - {"build_empty_paginated_response"}
        self.assertEqual(builders - {*BUILDERS.values()}, set(), "schemas/ has no schema of this answer")
        called = {*re.findall(r"\w+(?=\()", (ROOT / "tests" / "responses" / "answers_test.cc").read_text("utf-8"))}
        self.assertEqual(builders - called, set(), "tests/responses/answers_test.cc does not call it")
        self.assertEqual(list(EMPTY), list(EMPTY_ANSWERS))
        for name, schema in SCHEMAS.items():
            self.assertEqual((schema["$id"], schema["$schema"]), (f"{name}.json", DIALECT))

    def test_answers_and_changed_answers(self):
        pairs = [(name, SCHEMAS[name], *pair) for name, pair in ANSWERS.items()]
        pairs += [(tool, EMPTY[tool], answer, answer) for tool, answer in EMPTY_ANSWERS.items()]
        pairs.append(("section", SECTIONS, *(answer["sections"][0] for answer in ANSWERS["wiki_ask"])))
        cases = [(f"{name} {label}", schema, *case) for name, schema, *pair in pairs for label, *case in changes(*pair)]
        cases += [(tool, SCHEMAS["empty_answers"], answer, True) for tool, answer in EMPTY_ANSWERS.items()]
        self.assert_validity(cases)

    def test_keys_and_their_order(self):
        for name, (most, least) in ANSWERS.items():
            order = ["rows"] * (name == "paginated_page") + list(SCHEMAS[name]["properties"])
            self.assertEqual(most.keys() - order, set(), f"schemas/{name}.json has no such property")
            self.assertEqual(list(most), order[: len(most)], name)
            self.assertEqual(list(least), [key for key in order if key in least], name)
            # The documentation names keys that are not parameters, except the hint and the keys of an empty answer.
            build = getattr(real, BUILDERS[name])
            others = {*inspect.signature(build).parameters, "hint", *EMPTY["symbol"]["const"]}
            keys = [key for key in SCHEMAS[name]["properties"] if key not in others]
            named = dict.fromkeys(re.findall(r'"(\w+)"', build.__doc__))
            self.assertEqual([key for key in named if key in keys], keys, name)
        for tool, answer in EMPTY_ANSWERS.items():
            self.assertEqual(list(EMPTY[tool]["const"]), list(answer), tool)


def is_not_found(answer: dict[str, Any], tool: str) -> bool:
    return answer.get("found") is False and tool in ("symbol", "file", "wiki")


class ToolSchemaTest(ServiceTest, ValidatingTest):
    """The output schemas and the answers that a client receives."""

    def test_answers_of_tools(self):
        client, empty = self.start_with_tree(make_tree(self.addCleanup)), self.start()
        empty.initialize()
        schemas, empty_schemas = ({name: tool["outputSchema"] for name, tool in one.tools().items()}
                                  for one in (client, empty))
        for tool, schema in schemas.items():
            self.assertEqual(schema["type"], "object", tool)
            self.assertNotIn("$ref", json.dumps(schema), tool)
        cases = [(f"{tool} as {other}", schema, empty.answer(tool, **NEEDED.get(tool, {})), tool == other)
                 for tool in schemas for other, schema in empty_schemas.items()]
        calls = [(tool, arguments) for tool, arguments, text in conversation() if not text.startswith("error: ")]
        calls += [("files", {}), ("wiki", {"action": "list"}), ("wiki", ASK), ("wiki", ASK | {"token_budget": 0})]
        self.assertEqual({tool for tool, _ in calls}, {*schemas})
        for tool, parameters in ((name, tool["inputSchema"]["properties"]) for name, tool in client.tools().items()):
            action = parameters.get("action", {"enum": ()})
            called = {arguments.get("action", action.get("default")) for name, arguments in calls if name == tool}
            self.assertEqual({*action["enum"]} - called, set(), f"conversation.txt has no such action of {tool}")
        for tool, arguments in calls:
            answer = client.answer(tool, **arguments)
            for other, schema in schemas.items():
                is_valid = tool == other or is_not_found(answer, other)
                cases.append((f"{tool} {arguments} as {other}", schema, answer, is_valid))
        self.assert_validity(cases)
