"""The documents are correct: links, files, tests and quoted code exist, and docs/answers.md agrees with the schemas (its
tables) and with the library (its examples)."""

import ast
import json
import re
import unittest
from pathlib import Path
from typing import Any

from hollin import mcp_responses

ROOT = Path(__file__).resolve().parents[2]
DOCUMENTS = {path: path.read_text("utf-8") for folder in (ROOT, ROOT / "docs") for path in folder.glob("*.md")}
ANSWERS = DOCUMENTS[ROOT / "docs" / "answers.md"]
FOLDERS = "core|responses|mcp_responses|hollin-stubs|schemas|tests|fuzz|benchmarks|examples|docs|cmake|scripts"

SCHEMAS = {path.stem: json.loads(path.read_text("utf-8")) for path in (ROOT / "schemas").glob("*.json")}
SHAPES = {name: schema for name, schema in SCHEMAS.items() if "properties" in schema}
SHAPES["section"] = SHAPES["wiki_ask"]["properties"]["sections"]["items"]

Row = tuple[str, str, bool, str]  # key, type, whether it is always present, meaning


def anchors(document: Path) -> set[str]:
    headings = re.findall(r"^#+ (.+)$", re.sub(r"^```.*?^```$", "", DOCUMENTS[document], flags=re.M | re.S), re.M)
    return {re.sub(r"[^\w -]", "", heading).lower().replace(" ", "-") for heading in headings}


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
    """The rows of the table "key | type | present | meaning"."""
    lines = re.findall(r"^\| `(\w+)` \| (.+?) \| (.+?) \| (.+) \|$", part, re.M)
    return [(key, kind, present == "always", meaning) for key, kind, present, meaning in lines]


def joined(shown: str) -> str:
    """The text of an answer that is broken into indented lines in a document."""
    return "".join(line.strip() for line in shown.splitlines())


def result(expression: str, names: dict[str, Any]) -> str:
    try:
        return mcp_responses.tool_result_text(eval(expression, dict(names)))
    except Exception as error:
        return f"{type(error).__name__}: {error}"


class DocumentsTest(unittest.TestCase):
    maxDiff = None

    def test_links_files_and_quoted_code(self):
        for document, text in DOCUMENTS.items():
            for link in re.findall(r"\]\((?!https?:)([^)]+)\)", text):
                path, _, anchor = link.partition("#")
                target = (document.parent / path).resolve() if path else document
                self.assertTrue(target.exists(), f"{document.name}: {link}")
                self.assertTrue(not anchor or anchor in anchors(target), f"{document.name}: {link}")
            for path in re.findall(rf"`((?:{FOLDERS})/[\w./-]*)`", text):
                self.assertTrue((ROOT / path).exists(), f"{document.name}: {path}")
            for path, language, code in re.findall(r"^<!-- (\S+) -->\n```(\w+)\n(.+?\n)```$", text, re.M | re.S):
                quoted = joined(code) if language == "json" else code
                self.assertIn(quoted, (ROOT / path).read_text("utf-8"), f"{document.name} quotes {path}")

    def test_promises_name_tests(self):
        tests = "".join(path.read_text("utf-8") for path in (ROOT / "tests").rglob("*_test.cc"))
        rows = re.findall(r"^\|.*\| (`.*`) \|$", DOCUMENTS[ROOT / "SECURITY.md"], re.M)
        self.assertGreater(len(rows), 10)
        for name in re.findall(r"`([\w.]+)`", "\n".join(rows)):
            group, _, test = name.partition(".")
            if group.startswith("test_"):
                (path,) = ROOT.glob(f"tests/*/{group}.py")
                self.assertIn(f"    def {test}(self):", path.read_text("utf-8"), name)
            elif test:
                self.assertRegex(tests, rf"TEST(_P)?\({group}, {test}\)", name)
            else:
                self.assertTrue((ROOT / "fuzz" / f"{name}.cc").exists(), name)

    def test_tables_of_answers(self):
        parts = dict(re.findall(r"^### (\w+)\n(.*?)(?=^##|\Z)", ANSWERS, re.M | re.S))
        described = {name: rows_of_page(part) for name, part in parts.items() if name in SHAPES}
        self.assertEqual(described, {name: rows_of_schema(schema) for name, schema in SHAPES.items()})

    def test_examples_of_answers(self):
        names = dict(vars(mcp_responses))
        exec(re.search(r"^```python\n(from .+?)\n```$", ANSWERS, re.M | re.S)[1], names)
        called = set()
        examples = re.findall(r"^```python\n([^`]+?)\n```\n\n```(json|text)\n(.+?)\n```$", ANSWERS, re.M | re.S)
        for expression, language, shown in examples:
            expected = joined(shown) if language == "json" else shown
            self.assertEqual(result(expression, names), expected, expression)
            called |= {node.id for node in ast.walk(ast.parse(expression)) if isinstance(node, ast.Name)}
        builders = {name for name in vars(mcp_responses) if name.startswith(("build_", "get_"))}
        self.assertEqual(builders - called, set(), "every builder has an example")
