"""Answers of the extension beside those of plain Python: the same values of the same kinds, and nobody else's."""

import json
import unittest

from samples import plain, real


def exact(value):
    """The value in a form in which == sees kinds and key order: 1, 1.0 and True differ, and a NaN equals itself."""
    if isinstance(value, dict):
        return type(value).__name__, [(exact(key), exact(member)) for key, member in value.items()]
    if isinstance(value, (list, tuple)):
        return type(value).__name__, [exact(element) for element in value]
    return type(value).__name__, repr(value)


def spoil(value):
    """Adds to every list and dict of an answer, the empty ones too."""
    for element in value.values() if isinstance(value, dict) else value if isinstance(value, list) else ():
        spoil(element)
    if isinstance(value, dict):
        value["spoilt"] = True
    elif isinstance(value, list):
        value.append("spoilt")


class ComparingTest(unittest.TestCase):
    maxDiff = 2000

    def assert_exactly(self, answer, text, label):
        """The answer is encoded as this text, and is exactly the value that the text reads back as."""
        self.assertEqual(real.tool_result_text(answer), text, label)
        self.assertEqual(exact(answer), exact(json.loads(text)), label)

    def assert_same(self, function, *args, **named):
        """Both sides answer alike, and nothing in the extension's answer is one of the caller's own containers."""
        # A tuple, a subclass and a key that is no string come back as what their text says; so does the plain answer.
        expected = plain.tool_result_text(getattr(plain, function)(*args, **named))
        before = repr((args, named))
        answer = getattr(real, function)(*args, **named)
        self.assert_exactly(answer, expected, f"{function} with {before:.2000}")
        spoil(answer)
        self.assertTrue(repr((args, named)) == before, f"{function} shares or changes its arguments: {before:.2000}")
