"""The text of a result and its size, beside the standard library's; cuts and summaries."""

import itertools
import json
import random

import random_input
from comparison import ComparingTest
from samples import plain, real


class TextOfResults(ComparingTest):
    def assert_encoded(self, value):
        """The text is that of the standard library, and the size is its length in UTF-8."""
        text = json.dumps(value, ensure_ascii=False, separators=(",", ":"))
        self.assertTrue(real.tool_result_text(value) == text, text[:200])
        self.assertEqual(real._encoded_size(value), len(text.encode()), text[:200])

    def test_every_code_point(self):
        for start in {*range(0, 0x110000, 0x800)} - {0xD800}:  # without surrogates
            self.assert_encoded("".join(map(chr, range(start, start + 0x800))))

    def test_one_special_character_at_every_position_of_every_length(self):
        for filler in "aé漢😀":
            for odd in '"\x1f\n ~\x7féߏ漢😀':
                texts = [filler * at + odd + filler * after for at in range(71) for after in range(71 - at)]
                self.assert_encoded([odd, filler * 5000, *texts])

    def test_texts_around_the_capacity_of_the_buffer(self):
        """Escapes, and characters that widen the text, just before and after the end of the buffer."""
        longest_scratch = ["x" * (1 << 20)]  # is not kept, so that the next text begins with an empty buffer
        for filler, size in itertools.product("aé漢😀", (1 << 13, 1 << 14, 1 << 15)):
            for odd in ('"', "\x01", "a\\", *"é漢😀"):
                for count in (3, size // 8):
                    escaped = len(json.dumps(odd * count, ensure_ascii=False)) - 2
                    for length in range(size - escaped - 24, size - escaped + 8):
                        value = [filler * length + odd * count, {odd: filler}]
                        real.tool_result_text(longest_scratch)
                        self.assert_encoded(value)


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
