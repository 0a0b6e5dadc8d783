"""Random texts, values and arguments. Each function takes a random.Random, so that every run is the same."""

import enum
import inspect
import struct

from samples import CITATION, COMPONENT, REFERENCE, SECTION, SYMBOL, record

WHITE_SPACE = "".join(char for char in map(chr, range(0x110000)) if char.isspace())
# One alphabet for each width of a str, one of characters that are escaped, and one of white space.
ASCII, ACCENTS, CJK = "abcdefgh XYZ019_-/.,:\x7f", "aeiou àéîõüßÿ¡©", "漢字かな한글，。ab \u2028\ufeff\u200b"
EMOJI, ESCAPED = "😀🦉🌍𝔘\U0010ffff ok", '"\\ab' + "".join(map(chr, range(0x20)))
ALPHABETS = [ASCII, ACCENTS, CJK, EMOJI, ESCAPED, WHITE_SPACE + "x."]
SIZES = [0, 1, 2, *(block + by for block in (8, 16, 32, 64) for by in (-1, 0, 1))]

Name = enum.Enum("Name", {"METHOD": "method", "QUOTED": 'q"é'}, type=str)
Level = enum.IntEnum("Level", {"LOW": 1, "HIGH": 2**40})
Ratio = type("Ratio", (float,), {"__repr__": lambda self: "not the number"})
Rows = type("Rows", (list,), {})


def text(rng, longest=70):
    """A string of one to three alphabets, its length often next to the size of a block."""
    letters = "".join(rng.sample(ALPHABETS, rng.choice((1, 1, 2, 3))))
    length = rng.choice(SIZES) if rng.random() < 0.5 else rng.randint(0, longest)
    return "".join(rng.choices(letters, k=min(length, longest)))


def prose(rng, words):
    """Words, separated by white space of every kind, ends of sentences and paragraph breaks."""
    breaks = [" "] * 12 + [". ", "! ", "?\t", ".\u00a0", "...", ".", "  ", "\u2029"]
    breaks += ["\n", "\r\n", "\n\n", "\r\n\r\n", "\n \n"]
    letters = rng.choice((ASCII, ACCENTS, CJK, EMOJI)).translate(dict.fromkeys(map(ord, " .")))
    pieces = ["".join(rng.choices(letters, k=rng.choice((1, 3, 5, 9, 40)))) + rng.choice(breaks) for _ in range(words)]
    return rng.choice(["", "", "\n\n", " \u3000"]) + "".join(pieces)


def integer(rng):
    edges = (0, 1, -1, 10, 99, 100, 2**31, 2**53 + 1, 2**63 - 1, -(2**63))
    return rng.choice(edges) if rng.random() < 0.3 else rng.getrandbits(rng.randint(1, 63)) * rng.choice((1, -1))


def floating(rng):
    """A double of random bits, or one that people write, which random bits hardly ever are."""
    edges = (0.0, -0.0, 1e-05, 0.0001, 1e15, 1e16, float("inf"), float("-inf"), float("nan"), 5e-324)
    written = (rng.choice(edges), round(rng.uniform(-100, 100), 2), float(rng.randint(-1000, 1000)))
    return rng.choice((*written, *struct.unpack("<3d", rng.randbytes(24))))


def leaf(rng):
    others = (None, True, False, Name.QUOTED, Level.HIGH, Ratio(0.1))
    return rng.choice((text, text, integer, floating, lambda rng: rng.choice(others)))(rng)


def tree(rng, depth=3):
    """A value of any type, with containers at most `depth` deep."""
    kind = rng.choice((leaf, leaf, list, tuple, Rows, dict)) if depth else leaf
    if kind in (leaf, dict):
        return leaf(rng) if kind is leaf else mapping(rng, depth)
    return kind(tree(rng, depth - 1) for _ in range(rng.randint(0, 4)))


def mapping(rng, depth=2):
    """A dict with keys of any type, no two of which are encoded as the same text."""
    keys = [text(rng, 20) + "_" for _ in range(rng.randint(0, 4))]
    others = [None, True, False, 12, -7, 2.5, float("inf"), Name.METHOD, Level.HIGH]
    return {key: tree(rng, depth - 1) for key in keys + rng.sample(others, rng.choice((0, 0, 1, 3)))}


def line(rng):
    """One of a few line numbers, so that two are often equal, also across types. 2**53 + 1 is not a double."""
    return rng.choice((None, 0, 1, 12, 12, 12.0, True, 40, 2**53 + 1, 2.0**53, "12", [12], [12.0]))


def fqn(rng):
    words = rng.choices(["shop", "cart", "Cart", "carts", "é", "漢", "🦉", ""], k=rng.randint(1, 4))
    return rng.choice(("", "", "shop.", "shop.cart", "shop.cart.")) + ".".join(words)


def excerpt(rng):
    """Text of one alphabet, to be cut by a budget or at 1200 characters."""
    letters = rng.choice(ALPHABETS) + " " * rng.choice((0, 1, 5))
    length = rng.choice((rng.randint(1, 60), rng.randint(100, 500), rng.randint(1190, 1300)))
    return rng.choice((None, "", *["".join(rng.choices(letters, k=length))] * 8))


def docstring(rng):
    longest = "x" * 158 + "  y " + "z" * 20  # its summary ends at the end of a word
    return rng.choice((None, "", WHITE_SPACE, longest, *[prose(rng, rng.choice((0, 1, 3, 12, 60)))] * 12))


def some(rng, names, missing):
    """A dict with a value under all but `missing` of these names."""
    return anything(rng, rng.sample(sorted(names), len([*names]) - missing))


def citations(rng):
    made = [some(rng, CITATION, rng.randint(0, 2)) for _ in range(rng.randint(1, rng.choice((5, 40))))]
    return rng.choice((None, [], made))


def count(rng):
    """One of a few counts, so that a page often ends with the last row, also at the limits of 64 bits."""
    return rng.choice((-3, 0, 1, 2, 3, 4, 5, 2**53 + 1, 2**63 - 3, 2**63 - 1, -(2**63), True, 2.5, 2.0**53, 2.0**63))


def budget(rng):
    far = (0, 1, -1, 2**61 - 1, 2**61, 2**62, 2**63 - 1, -(2**61), -(2**61) - 1, -(2**63))
    return rng.choice((None, rng.choice(far), *(rng.randint(0, most) for most in (100, 500, 1000, 2000))))


# The value of an argument, a field or a key with this name; any other is a tree. Few places, so that many are equal.
BY_NAME = {
    "symbol": lambda rng: record(anything(rng, SYMBOL)),
    "reference": lambda rng: record(anything(rng, REFERENCE)),
    "component": lambda rng: record(anything(rng, COMPONENT)),
    "caller_symbol": lambda rng: rng.choice((None, some(rng, ("fqn", "kind", "more"), rng.randint(0, 3)))),
    "fqn": fqn,
    "fqns": lambda rng: [fqn(rng) for _ in range(rng.choice((0, 1, 2, 2, 5)))],
    "module": lambda rng: rng.choice((None, "", "shop", "shop.cart", fqn(rng))),
    **dict.fromkeys(("start_line", "end_line"), line),
    "docstring": docstring,
    "row": mapping,
    "result": lambda rng: tree(rng, 4),
    "path": lambda rng: rng.choice(("a.py", "é.py", "漢.py", None)),
    "line_start": lambda rng: rng.choice((1, 1.0, True, 2, None, 2**53 + 1, 2.0**53)),
    "line_end": lambda rng: rng.choice((3, 4, "4", None)),
    "excerpt": excerpt,
    "answer": lambda rng: rng.choice((None, "", text(rng), prose(rng, 60))),
    "citations": citations,
    "sections": lambda rng: [some(rng, SECTION, rng.choice((0, 0, 1, 2))) for _ in range(rng.choice((0, 1, 2, 3, 5)))],
    "extra": lambda rng: citations(rng) or (),
    **dict.fromkeys(("code", "memories"), lambda rng: rng.choice((None, mapping(rng), {"k": text(rng) * 9}))),
    **dict.fromkeys(("items", "pages"), lambda rng: rng.choice((list, tuple))(mapping(rng, 3).values())),
    **dict.fromkeys(("total_count", "total", "offset"), count),
    "items_key": lambda rng: rng.choice(("items", "total_count", "truncated", "has_more", "offset", text(rng))),
    "tool_name": text,
    "token_budget": budget,
}


def anything(rng, names):
    return {name: BY_NAME.get(name, tree)(rng) for name in names}


def arguments(rng, function):
    """All required arguments and some of the others."""
    parameters = inspect.signature(function).parameters.values()
    return anything(rng, [one.name for one in parameters if one.default is one.empty or rng.random() < 0.5])
