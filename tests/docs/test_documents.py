"""The documents point at what is there: links, files, tests and quoted code."""

import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DOCUMENTS = {path: path.read_text("utf-8") for folder in (ROOT, ROOT / "docs") for path in folder.glob("*.md")}
FOLDERS = "core|responses|mcp_responses|hollin-stubs|schemas|stand_in|tests|fuzz|benchmarks|examples|docs|cmake|scripts"
FENCED = r"^```.*?^```$"


def anchors(document: Path) -> set[str]:
    headings = re.findall(r"^#+ (.+)$", re.sub(FENCED, "", DOCUMENTS[document], flags=re.M | re.S), re.M)
    return {re.sub(r"[^\w -]", "", heading).lower().replace(" ", "-") for heading in headings}


class DocumentsTest(unittest.TestCase):
    def test_links(self):
        for document, text in DOCUMENTS.items():
            for link in re.findall(r"\]\((?!https?:)([^)]+)\)", text):
                path, _, anchor = link.partition("#")
                target = (document.parent / path).resolve() if path else document
                self.assertTrue(target.exists(), f"{document.name}: {link}")
                self.assertTrue(not anchor or anchor in anchors(target), f"{document.name}: {link}")

    def test_files(self):
        for document, text in DOCUMENTS.items():
            for path in re.findall(rf"`((?:{FOLDERS})/[\w./-]*)`", text):
                self.assertTrue((ROOT / path).exists(), f"{document.name}: {path}")

    def test_quoted_code(self):
        for document, text in DOCUMENTS.items():
            for path, code in re.findall(r"^<!-- (\S+) -->\n```\w+\n(.+?\n)```$", text, re.M | re.S):
                self.assertIn(code, (ROOT / path).read_text("utf-8"), f"{document.name} quotes {path}")

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
