"""How an ask answer gives way, as a picture: its bytes by part over the budgets that it is fitted to.

`measured` takes the answers apart in the service's own process. The program draws what it finds on standard input, and
runs in Debian's Python, which has matplotlib.
"""

from __future__ import annotations

import json
import sys
from collections.abc import Callable
from typing import Any

STEPS = 80
INK = "#7b7b7b"  # as far from white as from a dark page
PARTS = {  # from the ground up, and the first and last colour of those that there are several of
    "everything else": ("#8c8c8c",),
    "code": ("#d98032",),
    "memories": ("#c2a83e",),
    "citations": ("#9a78c2",),
    "rows of the sections": ("#14507c", "#2a78b0"),
    "excerpts, the best section's first": ("#1f83c9", "#a9d5f2"),
}


def measured(ask: Callable[..., dict[str, Any]], size: Callable[[Any], int]) -> list[dict[str, Any]]:
    """For each budget the bytes of each part, as a list: that of a section stands at the section's place."""
    whole = size(ask())
    budgets = [100 + (whole // 4 + 200 - 100) * step // STEPS for step in range(STEPS + 1)]
    return [{"budget": budget, "parts": _parts(ask(token_budget=budget), size)} for budget in budgets]


def _parts(answer: dict[str, Any], size: Callable[[Any], int]) -> dict[str, list[int]]:
    excerpts = [size(section["excerpt"]) - 2 for section in answer["sections"]]
    rows = [size(section) - excerpt for section, excerpt in zip(answer["sections"], excerpts)]
    members = {name: [size(answer[name]) if name in answer else 0] for name in ("code", "memories", "citations")}
    parts = members | {"rows of the sections": rows, "excerpts, the best section's first": excerpts}
    return parts | {"everything else": [size(answer) - sum(map(sum, parts.values()))]}


def draw(budgets: list[dict[str, Any]], file: str) -> None:
    import matplotlib

    matplotlib.use("svg")
    from matplotlib import colors, patches, pyplot

    pyplot.rcParams.update(
        {"svg.fonttype": "none", "svg.hashsalt": "budget", "font.family": "sans-serif", "font.size": 10}
        | {f"{part}.color": INK for part in ("text", "xtick", "ytick")}
        | {"axes.labelcolor": INK, "axes.edgecolor": INK}
    )
    figure, axes = pyplot.subplots(figsize=(8.4, 4.2), layout="constrained")
    x = [each["budget"] for each in budgets]
    ground, legend = [0] * len(x), []
    for part, shades in PARTS.items():
        count = max(len(each["parts"][part]) for each in budgets)
        if not any(map(sum, (each["parts"][part] for each in budgets))):
            continue
        shade = colors.LinearSegmentedColormap.from_list(part, [shades[0], shades[-1]])
        legend.append(patches.Patch(color=shades[0], label=part))
        for place in range(count):
            sizes = [each["parts"][part][place] if place < len(each["parts"][part]) else 0 for each in budgets]
            top = [low + size for low, size in zip(ground, sizes)]
            axes.fill_between(x, ground, top, step="mid", color=shade(place / max(1, count - 1)), linewidth=0)
            ground = top
    (limit,) = axes.plot(x, [4 * budget for budget in x], color=INK, linewidth=1, linestyle="--", label="the budget")
    axes.set_xlim(x[0], x[-1])
    axes.set_ylim(0, 1.08 * max(ground))
    axes.set_xlabel("token budget")
    axes.set_ylabel("bytes of the answer")
    axes.spines[["top", "right"]].set_visible(False)
    axes.legend(handles=[limit, *reversed(legend)], loc="upper left", frameon=False, fontsize=9)
    figure.savefig(file, transparent=True, metadata={"Date": None, "Creator": None})


if __name__ == "__main__":
    draw(json.load(sys.stdin), sys.argv[1])
