"""The input of the benchmarks: numbers, records, pages, answers and a tree of files. It is the same in every run.

The statements in cases.py use the names of this module.
"""

from __future__ import annotations

import atexit
import dataclasses
import json
import math
import random
import re
import struct
import tempfile
from dataclasses import dataclass
from pathlib import Path
from types import SimpleNamespace
from typing import Any, NamedTuple

import plain_python as plain

_rng = random.Random(20)

_ASCII = """the cart keeps each item of an order until it is paid and then hands total price customer to checkout
where tax shipping discount are added and a session that ends early returns its stock reservation so no other buyer
waits""".split()
_ACCENTS = """le panier garde chaque élément de la commande jusqu'à son règlement où préparé côté être déjà reçu à
naïve forêt garçon leçon früh über größe straße señal acción año mañana für später élève été""".split()
_CJK = """购物车 保存 每个 订单 项目 直到 付款 然后 交给 结账 注文 の 商品 を カート に 保存 支払い が 完了 したら
在庫 を 戻す 장바구니 는 주문 을 결제 까지 보관 한다""".split()
_EMOJI = [*_ASCII, "🛒", "💳", "📦", "✅", "🦉"]
# Lines of code. A word replaces each w. Real code has an escape in about 27 characters, documentation in 50.
_CODE = [
    "    def w_w(self, w: Iterable[W], w_w: datetime) -> Decimal:",
    '        """W w of these w at a w, w included."""',
    "        w_w = [w for w in self.w if w.w_w is None or w.w > w_w]",
    "        if not w and self.w_w:",
    '            raise ValueError(f"no w of {self.w_w} was w at {w:%Y-%m-%d}\\n")',
    '        w = {w["w"]: w["w_w"] for w in self.w.w_w(w)}',
    "",
    "        # A w that is missing w as the last w known, see w_w().",
    "        return w * w.w - self.w_w.get(w.w, ZERO)",
    '        self.w_w("w", w_w=w, w="w w")',
]


def prose(chars: int, vocabulary: list[str] = _ASCII) -> str:
    """About `chars` characters of words, some of which end with a full stop."""
    words, length = [], 0
    while length < chars:
        word = _rng.choice(vocabulary) + ("." if _rng.random() < 0.08 else "")
        words.append(word)
        length += len(word) + 1
    return " ".join(words)


def markdown(chars: int) -> str:
    """About `chars` characters: wrapped paragraphs and code in turns."""
    lines, length = [], 0
    while length < chars:
        lines += [*(prose(75) for _ in range(3)), "", *code(60).split("\n")]
        length = sum(map(len, lines))
    return "\n".join(lines)


def code(chars: int) -> str:
    """About `chars` characters: lines of Python with a realistic number of line breaks and quotation marks."""
    lines, length = [], 0
    while length < chars:
        lines.append(re.sub(r"\bw|(?<=_)w", lambda _: _rng.choice(_ASCII), _rng.choice(_CODE)))
        length += len(lines[-1]) + 1
    return "\n".join(lines)


# --- Lists of numbers.

_numbers = random.Random(24)


def _any_float() -> float:
    while not math.isfinite(number := struct.unpack("<d", _numbers.randbytes(8))[0]):
        pass
    return number


NUMBERS = {
    "integers below 10,000": [_numbers.randrange(10_000) for _ in range(10_000)],
    "integers of 9 digits": [_numbers.randrange(10**8, 10**9) for _ in range(10_000)],
    "integers of 15 digits": [_numbers.randrange(10**14, 10**15) for _ in range(10_000)],
    "negative integers": [-_numbers.randrange(1, 10_000) for _ in range(10_000)],
    "floats with 2 decimals": [round(_numbers.uniform(0, 1000), 2) for _ in range(10_000)],
    "floats with 4 decimals": [round(_numbers.random(), 4) for _ in range(10_000)],
    "integral floats": [float(_numbers.randrange(10**6)) for _ in range(10_000)],
    "floats of 17 digits below 1": [_numbers.random() for _ in range(10_000)],
    "floats of 17 digits to a million": [_numbers.uniform(0, 10**6) for _ in range(10_000)],
    "floats with any exponent": [_any_float() for _ in range(10_000)],
}

# --- Records, as a storage layer returns them.


@dataclass(frozen=True)
class Symbol:
    fqn: str
    name: str
    kind: str
    start_line: int
    end_line: int
    signature: str | None
    docstring: str | None
    is_export: bool
    docstring_truncated: bool


@dataclass(frozen=True)
class Reference:
    file_path: str | None
    line: int | None
    caller_symbol: dict[str, Any] | None
    usage_type: str | None


@dataclass(frozen=True)
class ComponentInfo:
    name: str
    layer: str | None
    path_pattern: str
    file_count: int
    symbol_count: int


DOCSTRINGS = {
    "one line": "Total price of the cart, discounts included.",
    "one paragraph": prose(400),
    "long": "Reserve the stock of an order.\n\n    Args:\n        " + "\n        ".join(prose(70) for _ in range(20)),
    "no full stop, cut": " ".join(_rng.choices(_ASCII, k=60)),
    "accents": prose(90, _ACCENTS) + ".\n\n" + prose(200, _ACCENTS),
    "wrapped": "\n    " + "\n    ".join(prose(60) for _ in range(3)) + "\n    ",
}
docstrings = list(DOCSTRINGS.values())


def make_symbol(number: int) -> Symbol:
    name = f"{_rng.choice(('total', 'reserve', 'checkout'))}_{number}"
    return Symbol(
        fqn=f"shop.orders.Cart{number % 7}.{name}",
        name=name,
        kind=_rng.choice(("function", "method")),
        start_line=10 + 13 * number,
        end_line=20 + 13 * number,
        signature=f"def {name}(self, order: Order, at: datetime) -> Decimal",
        docstring=f"{prose(60)}.\n\n    {prose(300)}",
        is_export=True,
        docstring_truncated=False,
    )


symbols = [make_symbol(number) for number in range(20)]
symbol = symbols[0]

# --- The same record as an instance of other kinds of classes.

_fields = dataclasses.asdict(symbol)


class OtherClass:
    """A second class with the same attributes."""


class WithSlots:
    __slots__ = tuple(_fields)


class _DictInSlot:
    __slots__ = ("__dict__",)


class WithDictInSlot(_DictInSlot):
    """The instances have a dict at an offset, like those of a pydantic model."""

    __slots__ = ()


def _filled(record: Any) -> Any:
    for name, value in _fields.items():
        setattr(record, name, value)
    return record


RECORDS = {
    "data class": symbol,
    "class with slots": _filled(WithSlots()),
    "class with a dict in a slot, like pydantic's": _filled(WithDictInSlot()),
    "named tuple": NamedTuple("NamedSymbol", [(name, Any) for name in _fields])(**_fields),
    "SimpleNamespace": SimpleNamespace(**_fields),
}
other_symbol = _filled(OtherClass())
fqns = [each.fqn for each in symbols]
hits = [(each, f"shop/orders/{each.name}.py") for each in symbols]
component = ComponentInfo("orders", "domain", "shop/orders/**", 42, 731)

# --- A work tree: 20 files of 20 KB, and three places in each of them.

_tree = tempfile.TemporaryDirectory(prefix="bench-")
atexit.register(_tree.cleanup)
root = Path(_tree.name)
FILES = [f"shop/orders/part_{number}.py" for number in range(20)]
for _path in FILES:
    (root / _path).parent.mkdir(parents=True, exist_ok=True)
    (root / _path).write_text(code(20_000) + "\n", encoding="utf-8")
places = [(path, line) for path in FILES for line in (7, 180, 401)]


def make_reference(number: int) -> Reference:
    caller = {"fqn": f"shop.checkout.pay_{number}", "kind": "function"}
    return Reference(*places[3 * (number % 8) + number % 3], caller, "call")


references = [make_reference(number) for number in range(20)]
reference = references[0]

# --- Answers of the ask action.


def question(sections: int, vocabulary: list[str] = _ASCII, excerpt: int = 1100, answer: int = 3000) -> dict[str, Any]:
    """The arguments of build_wiki_ask_response except the budget."""

    def citation() -> dict[str, Any]:
        start = _rng.randint(1, 900)
        return {"path": _rng.choice(FILES), "line_start": start, "line_end": start + 20, "symbol": "shop.orders.Cart"}

    def section(number: int) -> dict[str, Any]:
        return {
            "page_id": f"shop-orders-{number}",
            "title": prose(25, vocabulary),
            "heading": prose(15, vocabulary),
            "similarity": round(_rng.random(), 4),
            "stale": number % 5 == 0,
            "excerpt": prose(excerpt, vocabulary),
            "citations": [citation() for _ in range(4)],
        }

    return {
        "mode": "answer",
        "query": prose(50, vocabulary),
        "answer": prose(answer, vocabulary),
        "sections": [section(number) for number in range(sections)],
        "citations": [citation() for _ in range(6)],
        "model": "small-1",
        "tokens": {"input": 5321, "output": 812},
        "code": {"symbols": [{"fqn": each.fqn, "line": each.start_line, "source": code(300)} for each in symbols[:4]]},
        "memories": {"items": [{"id": number, "text": prose(120, vocabulary)} for number in range(4)]},
    }


ask_ascii = plain.build_wiki_ask_response(**question(8))
ask_accents = plain.build_wiki_ask_response(**question(8, _ACCENTS))
ask_cjk = plain.build_wiki_ask_response(**question(8, _CJK, 420, 1000))
ask_emoji = plain.build_wiki_ask_response(**question(8, _EMOJI))
ask_cut = plain.build_wiki_ask_response(**question(8, excerpt=1600))
questions = {sections: question(sections, excerpt=1600) for sections in (8, 64, 512)}
budgets = {sections: 1500 + 200 * sections for sections in questions}

# --- Pages.

rows = [plain.build_symbol_search_result(*hit) for hit in hits]
page = plain.build_paginated_response(rows, 57, 0, items_key="symbols")
wiki_page = plain.build_wiki_list_response([{"page_id": f"p{n}", "content": markdown(2000)} for n in range(90)], 90)
wiki_page_cut = {**wiki_page, "pages": [*wiki_page["pages"], {"page_id": "p90", "content": "…"}]}
code_page = plain.build_wiki_list_response([{"page_id": f"p{n}", "content": code(2000)} for n in range(90)], 90)
_scores = [{"page_id": n, "similarity": _rng.uniform(0.1, 1)} for n in range(1000)]
floats_page = plain.build_wiki_list_response(_scores, len(_scores))

# --- New objects, strings included: a service creates the objects of an answer for that answer.

_page_text, _ask_cut_text = json.dumps(page), json.dumps(ask_cut)
_symbols_text = json.dumps([dataclasses.astuple(each) for each in symbols])


def new_page() -> Any:
    return json.loads(_page_text)


def new_ask_cut() -> Any:
    return json.loads(_ask_cut_text)


def new_symbols() -> list[Symbol]:
    return [Symbol(*values) for values in json.loads(_symbols_text)]


CUT = json.loads('{"text": "a text to cut", "chars": 6}')
