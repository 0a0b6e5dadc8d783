"""The index of the example service."""

import errno
import os
import unittest
from pathlib import Path
from unittest import mock

from hollin.index import Index
from service import built_index, make_tree, tree_in, write_tree
from script_helper import make_folder

CALLS = tree_in("references.txt")
NAMES = """
class Parse: pass
def parse_args(): pass
def parse(): pass
def all_parse_args(): pass
class ParserArgs:
    def run(self): pass
"""
RANKS = {
    "parse": "Parse parse ParserArgs parse_args all_parse_args ParserArgs.run test_m.parsed",
    "ARGS  parse ": "ParserArgs all_parse_args parse_args ParserArgs.run",
    "m.parse": "parse Parse ParserArgs ParserArgs.run parse_args test_m.parsed",
    "m.ParserArgs.run": "ParserArgs.run",
}


class IndexTest(unittest.TestCase):
    maxDiff = None

    def index_of(self, tree: dict[str, str]) -> Index:
        folder = make_folder(self.addCleanup)
        write_tree(folder, tree)
        return built_index(folder)

    def test_references(self):
        index, expected = self.index_of(CALLS), set()
        for path, text in CALLS.items():
            for number, line in enumerate(text.splitlines(), 1):
                expected |= {(path, number, fqn) for fqn in line.partition("  # ")[2].split()}
        found = {(each.file_path, each.line, fqn) for fqn, calls in index.references.items() for each in calls}
        self.assertEqual(sorted(found), sorted(expected))
        callers = {(each.caller_symbol or {}).get("fqn") for each in index.references["pkg.deep.module.run"]}
        self.assertEqual(callers, {"pkg.cart.pay", "pkg.cart.pay.inner", "pkg.deep.module.run"})
        self.assertEqual([line for _, line in index.unresolved["total"]], [15, 17, 17, 22, 25, 45, 46, 15])
        twice = index.names.by_fqn["pkg.deep.module.twice"].symbol
        self.assertEqual(twice.signature, "def twice()", "the first definition")

    def test_long_chains_of_base_classes(self):
        classes = "".join(f"class C{number}(C{number - 1}): pass\n" for number in range(1, 3000))
        index = self.index_of({"a.py": f"class C0: pass\n{classes}C2999.missing()\nC2999()\n"})
        self.assertEqual([each.line for each in index.references["a.C2999"]], [3002])

    def test_search_ranks_names(self):
        index = self.index_of({"m.py": NAMES, "test_m.py": "def parsed(): pass\n"})
        for query, names in RANKS.items():
            found = " ".join(hit.symbol.fqn.removeprefix("m.") for hit in index.search(query))
            self.assertEqual(found, names, query)

    def test_progress_is_proportional_to_the_size_of_files(self):
        folder = make_folder(self.addCleanup)
        write_tree(folder, {f"{name}.py": "a = 1\n" * lines for name, lines in zip("abcde", (6000, *[1000] * 4))})
        index = Index(folder)
        shown = [(index.progress.phase, index.progress.done, index.progress.percent) for _ in index.build()]
        percents = {done: percent for phase, done, percent in shown if phase == "indexing files"}
        for done, expected in enumerate((0, 57, 66, 76, 85)):
            self.assertAlmostEqual(percents[done], expected, delta=4)

    def test_unreadable_files_are_skipped_and_named(self):
        tree = make_tree(self.addCleanup)
        write_tree(tree, dict.fromkeys(("closed/a.py", "closed.py", "docs/closed.md", "listed_only/a.py"), "a = 1\n"))

        def refuse(owner, name, *refused):
            """The function of a user without the permissions of root."""
            function = getattr(owner, name)

            def call(path, *args, **named):
                if str(path).endswith(refused):
                    raise PermissionError(errno.EACCES, "Permission denied", str(path))
                return function(path, *args, **named)

            self.enterContext(mock.patch.object(owner, name, call))

        refuse(os, "scandir", "/closed")
        refuse(Path, "lstat", "/listed_only/a.py")
        refuse(Path, "open", "/closed.py", "/closed.md")
        index = built_index(tree)
        skipped = ["broken.py", "closed", "closed.py", "deep.py", "docs/closed.md", "listed_only/a.py"]
        self.assertEqual(sorted(index.tree.errors), skipped)
        self.assertEqual(sorted(index.sources), ["shop/__init__.py", "shop/cart.py", "tests/test_cart.py"])
