"""The text of a result and its size, beside the standard library's; cuts and summaries."""

import itertools
import json
import random
import struct

import random_input
from comparison import ComparingTest
from samples import plain, real


class TextOfResults(ComparingTest):
    def assert_encoded(self, value):
        """The text is that of the standard library, and the size is its length in UTF-8."""
        text = json.dumps(value, ensure_ascii=False, separators=(",", ":"))
        self.assertEqual(real.tool_result_text(value), text)
        self.assertEqual(real._encoded_size(value), len(text.encode()), text[:200])

    def test_numbers(self):
        rng = random.Random(2)
        numbers = list(struct.unpack("<20000d", rng.randbytes(160000)))
        for power in [float(f"1e{e}") for e in range(-323, 309)] + [2.0**e for e in range(-1074, 1024)]:
            bits = struct.unpack("<q", struct.pack("<d", power))[0]
            numbers += struct.unpack("<3d", struct.pack("<3q", bits - 1, bits, bits + 1))
        numbers += [round(rng.uniform(-1e6, 1e6), rng.randint(0, 12)) for _ in range(5000)]
        numbers += [0.0, -0.0, float("nan"), float("inf"), float("-inf"), 2**63 - 1, -(2**63)]
        numbers += [sign * (2**bits + by) for bits in range(63) for by in (-1, 0, 1) for sign in (1, -1)]
        numbers += [10**digits - by for digits in range(19) for by in (0, 1)]
        for number in numbers:  # one by one, so that a failure names the number
            self.assert_encoded(number)

    def test_every_code_point(self):
        for start in {*range(0, 0x110000, 0x800)} - {0xD800}:  # without surrogates
            self.assert_encoded("".join(map(chr, range(start, start + 0x800))))

    def test_one_special_character_at_every_position_of_every_length(self):
        for filler in "aé漢😀":
            for odd in '"\x1f\n ~\x7féߏ漢😀':
                texts = [filler * at + odd + filler * after for at in range(71) for after in range(71 - at)]
                self.assert_encoded([odd, filler * 5000, *texts])


    def test_texts_around_the_capacity_of_the_buffer(self):
        too_long_to_keep = ["x" * (1 << 20)]  # after it, the next text begins with an empty buffer
        for capacity, filler, escape in itertools.product((1 << 14, 1 << 15), "aé漢😀", ('"', "\n", "\x01", "a\\")):
            units = capacity // {"a": 1, "é": 1, "漢": 2, "😀": 4}[filler]
            escaped = len(json.dumps(escape)) - 2
            for escapes in (3, units // escaped - 9):
                for size in range(units - 24, units + 8):
                    value = [filler * (size - escapes * escaped - 4) + escape * escapes]
                    real.tool_result_text(too_long_to_keep)
                    text = real.tool_result_text(value)
                    expected = json.dumps(value, ensure_ascii=False, separators=(",", ":"))
                    self.assertTrue(text == expected, (capacity, filler, escape, escapes, size))

    def test_texts_that_become_wider_around_the_capacity_of_the_buffer(self):
        for narrow, wide in itertools.combinations("aé漢😀", 2):
            for size in (1 << 12, 1 << 13, 1 << 14, 1 << 15):
                for length in range(size - 24, size + 8):
                    value = [narrow * length, wide * 5, {wide: narrow}]
                    real.tool_result_text(["x" * (1 << 20)])  # so that the buffer is not kept
                    expected = json.dumps(value, ensure_ascii=False, separators=(",", ":"))
                    self.assertTrue(real.tool_result_text(value) == expected, (narrow, wide, length))


class CutsAndSummaries(ComparingTest):
    def test_every_cut_of_random_texts(self):
        rng = random.Random(3)
        for _ in range(300):
            text = rng.choice((random_input.text(rng), random_input.prose(rng, 8)))
            text = text.replace("b", rng.choice("b "))
            for chars in [*range(-1, len(text) + 3), 2**63 - 1, -(2**63)]:
                self.assertEqual(real._trimmed(text, chars), plain._trimmed(text, chars), (text, chars))
                if chars >= 1:
                    self.assertEqual(real._cut(text, chars), plain._cut(text, chars), (text, chars))

    def test_each_white_space_ends_a_sentence_and_its_neighbours_do_not(self):
        near = {chr(ord(space) + by) for space in random_input.WHITE_SPACE for by in (-1, 0, 1)}
        for odd in near | set("\u200b\ufeff\u180e"):
            text = f"{odd}One{odd}two!{odd}Three.{odd}"
            expected = "One two!" if odd in random_input.WHITE_SPACE else text
            self.assertEqual(real.first_sentence(text), expected, hex(ord(odd)))
