"""The demo as a newcomer meets it, on a terminal."""

import subprocess
import sys
import unittest

from samples import make_folder
from service import ENVIRONMENT, TEST_CALL, make_tree


class DemoTest(unittest.TestCase):
    def run_demo(self, *options: str) -> tuple[int, str, str]:
        command = [sys.executable, "-P", "-m", "hollin.demo", *options]
        done = subprocess.run(command, capture_output=True, env=ENVIRONMENT, timeout=120)
        return done.returncode, done.stdout.decode("ascii"), done.stderr.decode("ascii")

    def test_walks_through_every_answer(self):
        status, screen, log = self.run_demo("--root", str(make_tree(self.addCleanup)), "--query", "cart")
        self.assertEqual((status, log), (0, ""))
        self.assertLessEqual(max(map(len, screen.splitlines())), 100)
        text = screen.replace("\n    ", "")
        for phrase in (
            '"phase":"indexing files","phase_detail":"2/5"',
            '"status":"ready"',
            'search {"query": "cart", "offset": 0, "limit": 4}',
            TEST_CALL,
            '"api":{"endpoints":[{"fqn":"shop.cart.pay"',
            '"token_budget": 400',
            "characters are shown",
            '{"found":false,"message":"Repository not initialized"}= 54 bytes, 14 tokens',
        ):
            self.assertTrue(phrase in text, phrase)

    def test_says_what_is_wrong(self):
        empty = str(make_folder(self.addCleanup))
        for options, why in (
            (["--root", empty + "/none"], "is not a folder"),
            (["--root", empty], "holds no Python file"),
            (["--query", ""], "query: must have 1 to 1000 characters"),
        ):
            status, screen, log = self.run_demo(*options)
            self.assertEqual((status, screen, log.count("\n")), (2, "", 1), log)
            self.assertIn(why, log)
