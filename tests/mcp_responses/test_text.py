"""The text of a result and its size; cuts and summaries."""

import json
import random
import struct
import unittest

import generators
from differential import DifferentialTest, plain, real

TEXTS = [
    ({"a": 1, "b": [True, None, 2.5], "c": "é"}, '{"a":1,"b":[true,null,2.5],"c":"é"}'),
    ({"b": 1, "a": 2}, '{"b":1,"a":2}'),
    ({}, "{}"),
    ([], "[]"),
    ((1, (2,)), "[1,[2]]"),
    ({"text": "café 😀"}, '{"text":"café 😀"}'),
    ("\n\t\"\\\x01/\x7f\u2028\ufeff", '"\\n\\t\\"\\\\\\u0001/\x7f\u2028\ufeff"'),
    ("\b\f\r\x00\x1b\x1f", '"\\b\\f\\r\\u0000\\u001b\\u001f"'),
    ([7, 7.0, True, -7, 2**63 - 1, -(2**63)], "[7,7.0,true,-7,9223372036854775807,-9223372036854775808]"),
    ([0.0, -0.0, 50.0, 0.1, 1e-05, 0.0001], "[0.0,-0.0,50.0,0.1,1e-05,0.0001]"),
    ([0.00012345, 1e16, 1e15, 100.0, 1 / 3], "[0.00012345,1e+16,1000000000000000.0,100.0,0.3333333333333333]"),
    ([2.5e-07, 1.2345678901234568e17, -1.5e300, 5e-324], "[2.5e-07,1.2345678901234568e+17,-1.5e+300,5e-324]"),
    ([float("nan"), float("inf"), float("-inf")], "[NaN,Infinity,-Infinity]"),
    ({1: "a", None: "b", 2.5: "c", False: "d"}, '{"1":"a","null":"b","2.5":"c","false":"d"}'),
    ({True: 1, 1e16: 2, float("nan"): 3, -7: 4}, '{"true":1,"1e+16":2,"NaN":3,"-7":4}'),
    (
        {generators.Name.QUOTED: generators.Level.HIGH, "r": generators.Ratio(0.5), "l": generators.Rows([1])},
        '{"q\\"é":1099511627776,"r":0.5,"l":[1]}',
    ),
]

CUTS = [
    ("_cut", "abcdef", 6, "abcdef"),
    ("_cut", "abcdefg", 6, "abcde…"),
    ("_cut", "abc   def", 6, "abc…"),
    ("_cut", "ab", 1, "…"),
    ("_cut", "ends in blanks  ", 16, "ends in blanks  "),
    ("_cut", "\u3000\u2029\x1f\x85....", 5, "…"),
    ("_cut", "a\u200b\ufeffb", 4, "a\u200b\ufeffb"),
    ("_cut", "a\u200b\ufeffbc", 4, "a\u200b\ufeff…"),
    ("_trimmed", "alpha beta gamma", 12, "alpha beta…"),
    ("_trimmed", "alpha betagammadelta", 12, "alpha betag…"),
    ("_trimmed", "abcde fghijkl", 10, "abcde…"),
    ("_trimmed", "abc defgh", 7, "abc…"),
    ("_trimmed", "abcd\tefghi", 8, "abcd\tef…"),
    ("_trimmed", "a b", 2, "a…"),
    ("_trimmed", " bc", 2, "…"),
    ("_trimmed", "ab", 1, ""),
    ("_trimmed", "ab", 0, ""),
    ("_trimmed", "ab", -(2**63), ""),
    ("_trimmed", "", 0, ""),
    ("_trimmed", "", -1, ""),
    ("_trimmed", "ab", 2**63 - 1, "ab"),
]

SUMMARIES = [
    (None, None),
    ("", None),
    ("   ", None),
    (generators.WHITE_SPACE, None),
    ("Sum of the line items. Taxes are not included.", "Sum of the line items."),
    ("\n\n  First.\n\nSecond paragraph.", "First."),
    ("Line one\nline two.\n\nSecond paragraph.", "Line one line two."),
    ("Version 1.2 is used. Next.", "Version 1.2 is used."),
    ("What? Yes.", "What?"),
    ("Wait... more", "Wait..."),
    ("Done!Next one.", "Done!Next one."),
    ("e.g. this", "e.g."),
    ("Sentence one.\tSentence two.", "Sentence one."),
    ("Sentence one.\u00a0Sentence two.", "Sentence one."),
    ("Sentence one.\u200bStill one.", "Sentence one.\u200bStill one."),
    ("First line\r\n\r\nsecond line.", "First line second line."),
    ("First line\n\nsecond line.", "First line"),
    ("First line\n \nsecond line.", "First line second line."),
    ("x" * 170, "x" * 159 + "…"),
    ("x" * 158 + "  y " + "z" * 20, "x" * 158 + "…"),
]


def encoded(value):
    return json.dumps(value, ensure_ascii=False, separators=(",", ":"))


class TextOfResults(unittest.TestCase):
    maxDiff = 2000

    def assert_encoded(self, value, text):
        self.assertEqual(real.tool_result_text(value), text)
        self.assertEqual(real._encoded_size(value), len(text.encode()), text[:200])

    def test_known_texts(self):
        for value, text in TEXTS:
            self.assert_encoded(value, text)

    def test_random_trees(self):
        rng = random.Random(1)
        for _ in range(4000):
            value = generators.tree(rng, 4)
            self.assert_encoded(value, encoded(value))

    def test_doubles_of_random_bits_and_at_every_power(self):
        rng = random.Random(2)
        numbers = list(struct.unpack("<20000d", rng.randbytes(160000)))
        for power in [float(f"1e{e}") for e in range(-323, 309)] + [2.0**e for e in range(-1074, 1024)]:
            bits = struct.unpack("<q", struct.pack("<d", power))[0]
            numbers += struct.unpack("<3d", struct.pack("<3q", bits - 1, bits, bits + 1))
        numbers += [round(rng.uniform(-1e6, 1e6), rng.randint(0, 12)) for _ in range(5000)]
        # One by one: a double that fails is named, and none hides behind a list's text.
        for number in numbers:
            self.assertEqual(real.tool_result_text(number), encoded(number))
        self.assert_encoded(numbers, encoded(numbers))

    def test_integers_of_every_length(self):
        numbers = [sign * (2**bits + by) for bits in range(63) for by in (-1, 0, 1) for sign in (1, -1)]
        numbers += [10**digits - by for digits in range(19) for by in (0, 1)]
        self.assert_encoded(numbers, encoded(numbers))

    def test_every_code_point(self):
        for start in {*range(0, 0x110000, 0x800)} - {0xD800}:  # the surrogates: no text holds them
            block = "".join(map(chr, range(start, start + 0x800)))
            self.assert_encoded(block, encoded(block))

    def test_one_character_that_matters_anywhere_in_a_text_of_any_length(self):
        for filler in "aé漢😀":
            for odd in '"\x1f\n ~\x7féߏ漢😀':
                texts = [filler * at + odd + filler * after for at in range(71) for after in range(71 - at)]
                self.assert_encoded(texts, encoded(texts))

    def test_four_hundred_levels(self):
        value = "é"
        for _ in range(200):
            value = {"k": [value]}
        self.assert_encoded(value, '{"k":[' * 200 + '"é"' + "]}" * 200)

    def test_what_has_no_text_is_refused(self):
        circle = []
        circle.append({"again": circle})
        for value, errors in [
            ({1, 2}, TypeError),
            ([{"a": b"bytes"}], TypeError),
            ({"a": [object()]}, TypeError),
            ({(1, 2): 3}, TypeError),
            (1j, TypeError),
            (circle, (ValueError, RecursionError)),
        ]:
            for function in (real.tool_result_text, real._encoded_size):
                self.assertRaises(errors, function, value)
        self.assertRaises(UnicodeEncodeError, real._encoded_size, {"a": "\ud800"})


class CutsAndSummaries(DifferentialTest):
    def test_known_cuts(self):
        for function, text, chars, expected in CUTS:
            self.assertEqual(getattr(real, function)(text, chars), expected, (function, text, chars))

    def test_known_summaries(self):
        for docstring, expected in SUMMARIES:
            self.assertEqual(real.first_sentence(docstring), expected, docstring)

    def test_every_cut_of_random_texts(self):
        rng = random.Random(3)
        for _ in range(300):
            text = rng.choice((generators.text(rng), generators.prose(rng, 8), generators.text(rng).replace("b", " ")))
            for chars in range(-1, len(text) + 3):
                self.assertEqual(real._trimmed(text, chars), plain._trimmed(text, chars), (text, chars))
                if chars >= 1:
                    self.assertEqual(real._cut(text, chars), plain._cut(text, chars), (text, chars))

    def test_summaries_of_random_docstrings(self):
        rng = random.Random(4)
        for _ in range(4000):
            self.assert_same("first_sentence", generators.prose(rng, rng.choice((0, 1, 3, 12, 60))))

    def test_each_white_space_ends_a_sentence_and_its_neighbours_do_not(self):
        near = {chr(ord(space) + by) for space in generators.WHITE_SPACE for by in (-1, 0, 1)}
        for odd in near | set("\u200b\ufeff\u180e"):
            text = f"{odd}One{odd}two!{odd}Three.{odd}"
            expected = "One two!" if odd in generators.WHITE_SPACE else text
            self.assertEqual(real.first_sentence(text), expected, hex(ord(odd)))


if __name__ == "__main__":
    unittest.main()
