"""The demo of the example service, and the chart of its budgets."""

import random
import re
import signal
import subprocess
import sys
import unittest
import xml.etree.ElementTree

from hollin import demo
from hollin.catalogue import TOOLS
from hollin.mcp_responses import _encoded_size, tool_result_text
from random_input import tree
from service import ASK, ENVIRONMENT, answer, built_index, make_long_tree, make_tree
from script_helper import HERE, make_folder

CHART = HERE.parents[1] / "benchmarks" / "budget_chart.py"
sys.path.insert(0, str(CHART.parent))
import budget_chart  # noqa: E402


def run_python(*command: str, **environment: str) -> tuple[int, str, str]:
    options = {"capture_output": True, "env": ENVIRONMENT | environment, "timeout": 120}
    done = subprocess.run([sys.executable, "-P", *command], **options)
    return done.returncode, done.stdout.decode("ascii"), done.stderr.decode("ascii")


def without_white_space(text: str) -> str:
    return re.sub(r"\s+", "", text)


class DemoTest(unittest.TestCase):
    def test_shows_every_answer(self):
        root = make_tree(self.addCleanup)
        (root / "twice.py").write_text("def f(): pass\ndef f(): pass\n")
        for width, environment in ((80, {"COLUMNS": ""}), (120, {"COLUMNS": "120"})):
            status, screen, log = run_python("-m", "hollin.demo", "--root", str(root), "--query", "cart", **environment)
            self.assertEqual((status, log), (0, ""))
            self.assertLessEqual(max(map(len, screen.splitlines())), width)
            for phrase in (
                'search {"query": "cart", "offset": 4, "limit": 4}',
                '"code":"pay(Cart().total())","caller":"tests.test_cart.test_pay"',
                '{"endpoints":[{"fqn":"shop.cart.pay"',
                '"query": "How does cart work?"',
            ):
                self.assertIn(without_white_space(phrase), without_white_space(screen), width)
            called = re.findall(r"^(\w+) \{", screen, re.M)
            self.assertEqual({*called}, {*TOOLS}, "each tool is called")
            self.assertEqual(called.count("search"), 2, "the first and the last page")
            search = run_python("-m", "hollin.demo", "--root", str(root), "--query", "twice")[1]
            self.assertEqual(search.count("search {"), 1, "one page")

    def test_lines_end_between_members(self):
        generator = random.Random(5)
        for _ in range(300):
            rows = [{"name": tree(generator), 'a "key": ': ["a" * 9, 1.5, {}, []], "": 'x "b":1,{' * 20}]
            text = "".join(char if char.isprintable() else "·" for char in tool_result_text({"rows": rows * 2}))
            for columns in (44, 76):
                lines = demo.broken(text, columns)
                self.assertEqual(without_white_space("".join(lines)), without_white_space(text))
                self.assertLessEqual(max(map(len, lines)), columns)
                self.assertEqual(sum(line.startswith("    {") for line in lines), 2)
                self.assertEqual(sum('"a \\"key\\": ":' in line for line in lines), 2)

    def test_ends_silently_when_it_is_interrupted(self):
        command = [sys.executable, "-P", "-m", "hollin.demo", "--root", str(make_long_tree(self.addCleanup))]
        pipes = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        with subprocess.Popen(command, env=ENVIRONMENT | {"PYTHONUNBUFFERED": "1"}, **pipes) as process:
            self.assertIn(b"Indexing", process.stdout.readline())
            process.send_signal(signal.SIGINT)
            log = process.communicate(timeout=60)[1]
        self.assertEqual((process.returncode, log), (-signal.SIGINT, b""))

    def test_reports_wrong_options(self):
        empty = str(make_folder(self.addCleanup))
        for reason, command in {
            "none is not a folder": ["-m", "hollin.demo", "--root", empty + "/none"],
            "contains no Python file": ["-m", "hollin.demo", "--root", empty],
            "query: must not be blank": ["-m", "hollin.demo", "--query", ""],
            "[--chart FILE.svg]": ["-m", "hollin.demo", "--foo"],
            "charts is not a folder": [str(CHART), "--chart", empty + "/charts/chart.svg"],
        }.items():
            status, screen, log = run_python(*command)
            self.assertEqual((status, screen, log.count("Traceback")), (2, "", 0), log)
            self.assertIn(reason, log)


class ChartTest(unittest.TestCase):
    def test_draws_the_parts_of_an_answer(self):
        file = make_folder(self.addCleanup) / "chart.svg"
        options = ["--root", str(make_tree(self.addCleanup)), "--query", "cart", "--chart", str(file)]
        self.assertEqual(run_python(str(CHART), *options)[::2], (0, ""))
        texts = [each.text for each in xml.etree.ElementTree.parse(file).iter("{http://www.w3.org/2000/svg}text")]
        for label in ("token budget", "bytes of the answer", "everything else", "citations", "rows of the sections"):
            self.assertIn(label, texts)

    def test_the_parts_are_the_whole_answer(self):
        index = built_index(make_tree(self.addCleanup))

        def ask(**budget):
            return answer(index, "wiki", **ASK, **budget)

        measured = budget_chart.measured(ask)
        sizes = {budget: sum(map(sum, parts.values())) for budget, parts in measured.items()}
        self.assertEqual(sizes, {budget: _encoded_size(ask(token_budget=budget)) for budget in measured})
        self.assertEqual(sizes[max(sizes)], _encoded_size(ask()))
        self.assertTrue(all(size >= 0 for parts in measured.values() for sizes in parts.values() for size in sizes))
