"""Compares answers of the extension with those of plain Python: equal values of the same types, in new containers."""

import json
import unittest

from samples import plain, real


def exact(value):
    """A form of the value whose == also compares types and key order: 1, 1.0 and True differ, a NaN equals itself."""
    if isinstance(value, dict):
        return type(value).__name__, [(exact(key), exact(member)) for key, member in value.items()]
    if isinstance(value, (list, tuple)):
        return type(value).__name__, [exact(element) for element in value]
    return type(value).__name__, repr(value)


def outcome(function, args=(), named={}):
    """("returned", answer), or the type and the text of the error."""
    try:
        return "returned", function(*args, **named)
    except Exception as error:
        return type(error), str(error)


def modify(value):
    """Adds to every list and dict of an answer, at every depth."""
    for element in value.values() if isinstance(value, dict) else value if isinstance(value, list) else ():
        modify(element)
    if isinstance(value, dict):
        value["added"] = True
    elif isinstance(value, list):
        value.append("added")


class ComparingTest(unittest.TestCase):
    maxDiff = 2000

    def assert_exactly(self, answer, text, label):
        """The answer is encoded as this text, and equals the value that is decoded from it."""
        self.assertEqual(real.tool_result_text(answer), text, label)
        self.assertEqual(exact(answer), exact(json.loads(text)), label)

    def assert_same(self, function, *args, **named):
        """Both answers are equal, and the extension's answer shares no container with the arguments."""
        # In the extension's answer, tuples, subclasses and other keys are what their text is decoded as.
        expected = plain.tool_result_text(getattr(plain, function)(*args, **named))
        before = repr((args, named))
        answer = getattr(real, function)(*args, **named)
        self.assert_exactly(answer, expected, f"{function} with {before:.2000}")
        modify(answer)
        self.assertTrue(repr((args, named)) == before, f"{function} shares or changes its arguments: {before:.2000}")
