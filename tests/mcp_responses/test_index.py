"""The index of the example service."""

import errno
import os
import re
import unittest
from pathlib import Path
from unittest import mock

from hollin.index import Index
from service import built_index, make_tree, write_tree
from script_helper import make_folder

# A use of a symbol has the fqn of the symbol as a comment. A use without a comment is not resolved.
CALLS = {
    "pkg/__init__.py": "from .cart import *\nfrom .cart import Cart as Basket\nfrom . import cycle_a, absent as y\n",
    "pkg/cart.py": """
from elsewhere import imported
class Base:
    def add(self): pass
    def total(self): pass
class Cart(Base):  # pkg.cart.Base
    factory = dict()
    def total(self):
        self.add()  # pkg.cart.Base.add
        self.total()  # pkg.cart.Cart.total
        self.factory()
        self.lines.add()
        self()
        total()
        super().total()
        print(imported(), self.missing())
        return [self.total() for self in ()], lambda self: self.total()
    @classmethod
    def make(cls, other):
        def inner(): cls.make()  # pkg.cart.Cart.make
        inner()  # pkg.cart.Cart.make.inner
        other.total()
        return cls()  # pkg.cart.Cart
    @staticmethod
    def help(self): self.total()
    class Line:
        def add(this): this.add()  # pkg.cart.Cart.Line.add
    line = Line()  # pkg.cart.Cart.Line
    def lines(self): return Line()
    @make.inner
    def made(self): pass
    LIMIT: int = 3
    low = LIMIT  # pkg.cart.Cart.LIMIT
    def is_low(self): return self.LIMIT > MOST  # pkg.cart.Cart.LIMIT pkg.cart.MOST
MOST, LEAST = range(2)
def unknown(MOST): return MOST
Basket = Cart
Basket.factory()
Basket.help()  # pkg.cart.Cart.help
Box, Bag = Cart
Box.help()
for Basis in Base, Cart: Basis.help()
def pay(cart, Cart):
    Cart()
    cart.total()
    imported.total(), imported().total()
    later()  # pkg.cart.later
    pay.inner()
    from pkg.deep.module import run as go
    go()  # pkg.deep.module.run
    def inner(): go()  # pkg.deep.module.run
def later(Base=Base()): pass  # pkg.cart.Base
""",
    "pkg/deep/module.py": """
from ..cart import Cart, pay as paid
from .. import cart as carts, cycle_a
import pkg.cart, pkg.deep.module as me
def run(pay):
    paid()  # pkg.cart.pay
    pay()
    carts.Cart()  # pkg.cart.Cart
    carts.Cart.make()  # pkg.cart.Cart.make
    pkg.cart.Cart.add()  # pkg.cart.Base.add
    me.run()  # pkg.deep.module.run
    me.Cart.Line()  # pkg.cart.Cart.Line
    cycle_a.missing()
    cycle_a.Loop.missing()
    Cart().total()  # pkg.cart.Cart
def twice(): pass
def twice(again): pass
twice()  # pkg.deep.module.twice
class Changed(Cart): pass  # pkg.cart.Cart
Changed = replaced(Changed)
Changed()
def changing():
    global changing
    changing = None
changing()
try:
    from elsewhere import later
except ImportError:
    from pkg.cart import later
later()  # pkg.cart.later
def local(value):
    with Cart() as carts:  # pkg.cart.Cart
        carts.Cart()
    try:
        for cycle_a in value: cycle_a.Loop()
    except ValueError as twice:
        twice()
    match value:
        case [pkg, *me]: pkg.cart.Cart(), me.run()
        case {**paid}: paid()
    lambda Cart: Cart()
    Cart()  # pkg.cart.Cart
""",
    "main.py": """
import pkg, namespace.module, pkg.cart as cart
@cart.pay  # pkg.cart.pay
def paid(): return cart.LEAST, cart.Cart.LIMIT()  # pkg.cart.LEAST pkg.cart.Cart.LIMIT
pkg.Basket()  # pkg.cart.Cart
pkg.pay()  # pkg.cart.pay
pkg.Base.total()  # pkg.cart.Base.total
pkg.imported(), pkg.y()
pkg.deep.module.run.anything()
namespace.module.f()  # namespace.module.f
from pkg import *
later()  # pkg.cart.later
""",
    "namespace/module.py": "def f(): pass\n",
    "scripts/run.py": "import helper\nhelper.go()  # scripts.helper.go\n",
    "scripts/helper.py": "def go(): pass\ndef json(): pass\n",
    "tools/use.py": "import helper\nhelper.go()  # scripts.helper.go\nimport twice, json\ntwice.f()\n"
    "json.f()  # tools.json.f\n",
    "other/use.py": "import json\njson.f()\n",
    "tools/json.py": "def f(): pass\n",
    "one/twice.py": "def f(): pass\n",
    "two/twice.py": "def f(): pass\n",
    "apps/shop/lib/__init__.py": "from .core import sell\n",
    "apps/shop/lib/core.py": "def sell(): pass\n",
    "apps/shop/main.py": "import lib\nlib.sell()  # lib.core.sell\nimport apps.shop.lib.core as core\n"
    "core.sell()  # lib.core.sell\n",
    "pkg/cycle_a.py": "from .cycle_b import *\nfrom .cycle_b import missing\nclass Loop(Loop.Inner): pass\n",
    "pkg/cycle_b.py": "from .cycle_a import *\nfrom .cycle_a import missing\n",
}
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
