"""docs/answers.md says what is so: its tables against the schemas, its examples against the library."""

import ast
import json
import re
import unittest
from pathlib import Path
from typing import Any

from hollin import mcp_responses

ROOT = Path(__file__).resolve().parents[2]
PAGE = (ROOT / "docs" / "answers.md").read_text("utf-8")
SCHEMAS = {path.stem: json.loads(path.read_text("utf-8")) for path in (ROOT / "schemas").glob("*.json")}
SHAPES = {name: schema for name, schema in SCHEMAS.items() if "properties" in schema}
SHAPES["section"] = SHAPES["wiki_ask"]["properties"]["sections"]["items"]

Row = tuple[str, str, bool, str]  # key, kind, whether it is always there, meaning


def kind(schema: dict[str, Any]) -> str:
    if "enum" in schema:
        return ", ".join(f"`{value}`" for value in schema["enum"])
    if "const" in schema:
        return f"`{json.dumps(schema['const'])}`"
    if schema["type"] == "array" and "items" in schema:
        return f"list of {schema['items']['type']}s"
    types = schema["type"] if isinstance(schema["type"], list) else [schema["type"]]
    return " or ".join(types).replace("array", "list")


def rows_of_schema(schema: dict[str, Any]) -> list[Row]:
    required = schema["required"]
    return [(key, kind(part), key in required, part["description"]) for key, part in schema["properties"].items()]


def rows_of_page(part: str) -> list[Row]:
    """Of the table "key | kind | there | what it is"; an optional key says when it is there."""
    lines = re.findall(r"^\| `(\w+)` \| (.+?) \| (.+?) \| (.+) \|$", part, re.M)
    return [(key, kind, there == "always", meaning) for key, kind, there, meaning in lines]


def examples() -> list[tuple[str, str, str]]:
    """Expression, language of the block below it, and what stands there."""
    return re.findall(r"^```python\n([^`]+?)\n```\n\n```(json|text)\n(.+?)\n```$", PAGE, re.M | re.S)


def result(expression: str, names: dict[str, Any]) -> str:
    try:
        answer = eval(expression, dict(names))
    except Exception as error:
        return f"{type(error).__name__}: {error}"
    return mcp_responses.tool_result_text(answer)


class AnswersPageTest(unittest.TestCase):
    maxDiff = None

    def test_tables(self):
        parts = dict(re.findall(r"^### (\w+)\n(.*?)(?=^##|\Z)", PAGE, re.M | re.S))
        described = {name: rows_of_page(part) for name, part in parts.items() if name in SHAPES}
        self.assertEqual(described, {name: rows_of_schema(schema) for name, schema in SHAPES.items()})

    def test_examples(self):
        names = dict(vars(mcp_responses))
        exec(re.search(r"^```python\n(from .+?)\n```$", PAGE, re.M | re.S)[1], names)
        called = set()
        for expression, language, shown in examples():
            # A long answer is broken into lines; the breaks and the blanks behind them are the page's own.
            expected = "".join(line.strip() for line in shown.splitlines()) if language == "json" else shown
            self.assertEqual(result(expression, names), expected, expression)
            called |= {node.id for node in ast.walk(ast.parse(expression)) if isinstance(node, ast.Name)}
        builders = {name for name in vars(mcp_responses) if name.startswith(("build_", "get_"))}
        self.assertEqual(builders - called, set(), "every builder has an example")
