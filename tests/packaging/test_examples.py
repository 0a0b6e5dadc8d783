"""Both examples print the text in examples/answer.txt."""

import sys
import unittest

from helpers import BUILD, ROOT, run

ANSWER = (ROOT / "examples" / "answer.txt").read_text(encoding="utf-8")


class ExamplesTest(unittest.TestCase):
    def test_python(self):
        self.assertEqual(run(sys.executable, ROOT / "examples" / "answer.py", PYTHONPATH=BUILD), ANSWER)

    def test_cpp(self):
        self.assertEqual(run(BUILD / "examples" / "answer"), ANSWER)
