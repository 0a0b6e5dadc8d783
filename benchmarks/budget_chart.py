"""Draws how an ask answer is fitted to its budget: the bytes of its parts, over token budgets from 100 up."""

from __future__ import annotations

import argparse
import math
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

from hollin import demo
from hollin.arguments import checked
from hollin.mcp_responses import _encoded_size
from hollin.catalogue import TOOLS

STEPS = 80
WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 806, 400, 60, 802, 6, 358  # of the picture, and of the plot in it
INK = "#7b7b7b"  # legible on white and on a dark page
PARTS = {  # from the bottom up; a part of several sections has the colours from its first to its last section
    "everything else": ("#8c8c8c",),
    "code": ("#d98032",),
    "memories": ("#c2a83e",),
    "citations": ("#9a78c2",),
    "rows of the sections": ("#14507c", "#2a78b0"),
    "excerpts, the best section first": ("#1f83c9", "#a9d5f2"),
}

Budgets = dict[int, dict[str, list[int]]]  # for each budget the bytes of each part, for each section


def measured(ask: Callable[..., dict[str, Any]]) -> Budgets:
    whole = _encoded_size(ask())
    budgets = [100 + (whole // 4 + 200 - 100) * step // STEPS for step in range(STEPS + 1)]
    return {budget: _parts(ask(token_budget=budget)) for budget in budgets}


def _parts(answer: dict[str, Any]) -> dict[str, list[int]]:
    excerpts = [_encoded_size(section["excerpt"]) - 2 for section in answer["sections"]]
    rows = [_encoded_size(section) - excerpt for section, excerpt in zip(answer["sections"], excerpts)]
    single = {name: [_encoded_size(answer[name])] for name in ("code", "memories", "citations") if name in answer}
    parts = single | {"rows of the sections": rows, "excerpts, the best section first": excerpts}
    return parts | {"everything else": [_encoded_size(answer) - sum(map(sum, parts.values()))]}


def drawn(budgets: Budgets) -> str:
    """The picture as SVG."""
    first, last = min(budgets), max(budgets)
    highest = 1.08 * max(sum(map(sum, parts.values())) for parts in budgets.values())

    def x(budget: float) -> str:
        return f"{LEFT + (RIGHT - LEFT) * (budget - first) / (last - first):.4g}"

    def y(size: float) -> str:
        return f"{BOTTOM + (TOP - BOTTOM) * size / highest:.4g}"

    lines = list(_areas(budgets, x, y))
    labels = [part for part in PARTS if any(part in parts for parts in budgets.values())]
    lines.append(f'<path stroke="{INK}" stroke-dasharray="4" d="M{x(first)} {y(4 * first)}L{x(highest / 4)} {TOP}"/>')
    lines.append(f'<path stroke="{INK}" fill="none" d="M{LEFT} {TOP}V{BOTTOM}H{RIGHT}"/>')
    lines += [_text(x(at), BOTTOM + 16, f"{at:,}", "middle") for at in _ticks(first, last)]
    lines += [_text(LEFT - 6, float(y(at)) + 4, f"{at:,}", "end") for at in _ticks(0, highest)]
    lines.append(_text((LEFT + RIGHT) / 2, HEIGHT - 8, "token budget", "middle"))
    lines.append(_text(-(TOP + BOTTOM) / 2, 12, "bytes of the answer", "middle", ' transform="rotate(-90)"'))
    for row, label in enumerate(["dashed: the budget, 4 bytes a token", *reversed(labels)]):
        if label in PARTS:
            lines.append(f'<rect x="{LEFT + 12}" y="{17 + 18 * row}" width="18" height="10" fill="{PARTS[label][0]}"/>')
        lines.append(_text(LEFT + 38, 26 + 18 * row, label, "start"))
    head = f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" height="{HEIGHT}"'
    return "\n".join([f'{head} font-family="sans-serif" font-size="13">', *lines, "</svg>\n"])


def _areas(budgets: Budgets, x: Callable[[float], str], y: Callable[[float], str]) -> Iterator[str]:
    """One area for each part of each section, from the top down: each covers the lower end of the one before."""
    counts = {part: max(len(parts.get(part, ())) for parts in budgets.values()) for part in PARTS}
    layers = [(part, section) for part in PARTS for section in range(counts[part])]
    for count in range(len(layers), 0, -1):
        path, before = f"M{x(min(budgets))} {BOTTOM}", ""
        for budget, parts in budgets.items():
            height = y(sum(sum(parts.get(part, ())[section : section + 1]) for part, section in layers[:count]))
            path += f"H{x(budget)}V{height}" if height != before else ""
            before = height
        part, section = layers[count - 1]
        colour = _mixed(PARTS[part][0], PARTS[part][-1], section / max(1, counts[part] - 1))
        yield f'<path shape-rendering="crispEdges" fill="{colour}" d="{path}H{x(max(budgets))}V{BOTTOM}Z"/>'


def _mixed(first: str, last: str, share: float) -> str:
    pairs = [(int(first[at : at + 2], 16), int(last[at : at + 2], 16)) for at in (1, 3, 5)]
    return "#" + "".join(f"{round(one + share * (other - one)):02x}" for one, other in pairs)


def _ticks(first: float, last: float) -> range:
    """Six to twelve multiples of 1, 2 or 5 times a power of ten."""
    power = 10 ** int(math.log10((last - first) / 6))
    step = max(step for step in (power, 2 * power, 5 * power) if step <= (last - first) / 6)
    return range(-(-int(first) // step) * step, int(last) + 1, step)


def _text(x: float | str, y: float, text: str, anchor: str, more: str = "") -> str:
    return f'<text x="{x}" y="{y:.4g}" fill="{INK}" text-anchor="{anchor}"{more}>{text}</text>'


def main() -> None:
    parser = argparse.ArgumentParser(prog="budget_chart", description=__doc__)
    parser.add_argument("--chart", type=Path, metavar="FILE.svg", required=True, help="the picture to write")
    chosen, index = demo.chosen(parser)
    if not chosen.chart.absolute().parent.is_dir():
        parser.exit(2, f"budget_chart: {chosen.chart.parent} is not a folder\n")
    for _ in index.build():
        pass

    def ask(**budget: int) -> dict[str, Any]:
        arguments = {"action": "ask", "query": demo.question(chosen.query), **budget}
        return TOOLS["wiki"].answer(index, checked(arguments, TOOLS["wiki"].arguments))

    chosen.chart.write_text(drawn(measured(ask)), encoding="utf-8")
    print(f"{chosen.chart} shows how the answer is fitted to its budget.")


if __name__ == "__main__":
    main()
