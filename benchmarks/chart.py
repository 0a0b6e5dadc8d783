"""Draws the main rows of the table as bars: how many times as fast as plain Python.

bench.py runs it with Debian's Python, for which Debian packages matplotlib. Standard input contains the rows as JSON.
"""

from __future__ import annotations

import json
import sys
from typing import Any

import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot  # noqa: E402

INK = "#7b7b7b"  # legible on white and on dark pages
COLORS = {
    "mcp_responses": "#1f83c9",
    "msgspec": "#55a868",
    "orjson": "#d98032",
    "rapidjson": "#9a78c2",
    "ujson": "#b0577a",
}


def draw(rows: list[dict[str, Any]], file: str) -> None:
    """Each row, from top to bottom, has a "name" and "ratios" by the encoder's name."""
    pyplot.rcParams.update(
        {"svg.fonttype": "none", "svg.hashsalt": "speed", "font.family": "sans-serif", "font.size": 10}
        | {f"{part}.color": INK for part in ("text", "xtick", "ytick")}
        | {"axes.labelcolor": INK, "axes.edgecolor": INK}
    )
    names = [name for name in COLORS if any(name in row["ratios"] for row in rows)]
    height = sum(len(row["ratios"]) for row in rows) + 0.8 * len(rows)
    figure, axes = pyplot.subplots(figsize=(8.4, 0.2 * height + 0.8), layout="constrained")
    at, ticks = 0.0, []
    for row in rows:
        present = [name for name in names if name in row["ratios"]]
        ticks.append(at + (len(present) - 1) / 2)
        for name in present:
            ratio = row["ratios"][name]
            axes.barh(at, ratio - 1, left=1, height=0.86, color=COLORS[name], label=name)
            axes.annotate(f"{ratio:.3g}", (max(ratio, 1), at), (3, 0), textcoords="offset points", va="center", size=8)
            at += 1
        at += 0.8
    axes.set_xscale("log")
    axes.set_xlim(0.7, 2 * max(row["ratios"]["mcp_responses"] for row in rows))
    axes.set_xticks([1, 2, 5, 10, 20, 50, 100], ["1", "2", "5", "10", "20", "50", "100"])
    axes.minorticks_off()
    axes.set_yticks(ticks, [row["name"] for row in rows])
    axes.invert_yaxis()
    axes.tick_params(axis="y", length=0)
    axes.axvline(1, color=INK, linewidth=1)
    axes.grid(axis="x", color=INK, alpha=0.25)
    axes.set_axisbelow(True)
    axes.spines[["top", "right", "left"]].set_visible(False)
    axes.set_xlabel("times as fast as plain Python (logarithmic)")
    handles, labels = axes.get_legend_handles_labels()
    shown = dict(zip(labels, handles))
    place = {"loc": "lower center", "bbox_to_anchor": (0.4, 1), "ncols": len(names), "frameon": False}
    axes.legend([shown[name] for name in names], names, **place)
    figure.savefig(file, transparent=True, metadata={"Date": None, "Creator": None})


if __name__ == "__main__":
    draw(json.load(sys.stdin), sys.argv[1])
