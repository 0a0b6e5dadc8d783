"""Runs encode_benchmark, which measures the C++ library, with the texts of payloads."""

from __future__ import annotations

import json
import subprocess
import tempfile
from collections.abc import Iterable
from pathlib import Path

import payloads
import plain_python as plain

from hollin import mcp_responses as ours

PROGRAM = Path(ours.__file__).parents[1] / "benchmarks" / "encode_benchmark"
WRITERS = ("text", "size", "RapidJSON", "nlohmann")


def bytes_per_second(names: Iterable[str], seconds: float) -> tuple[dict[tuple[str, str], float], dict[str, str]]:
    """The best of interleaved rounds by payload and writer, and the context that Google Benchmark reports."""
    with tempfile.TemporaryDirectory(prefix="bench-") as folder:
        files = [Path(folder, name + ".json") for name in names]
        for file in files:
            file.write_text(plain.tool_result_text(getattr(payloads, file.stem)), encoding="utf-8")
        found = json.loads(_run(files, seconds))
    best: dict[tuple[str, str], float] = {}
    for run in found["benchmarks"]:
        if run.get("error_occurred"):
            raise SystemExit(f"{run['name']}: {run['error_message']}")
        payload, writer, *_ = run["name"].split("/")
        best[payload, writer] = max(best.get((payload, writer), 0), run["bytes_per_second"])
    return best, found["context"]


def _run(files: list[Path], seconds: float) -> bytes:
    rounds = 5
    options = {
        "format": "json",
        "repetitions": rounds,
        "min_time": seconds / rounds,
        "enable_random_interleaving": "true",
    }
    command = [PROGRAM, *files, *(f"--benchmark_{name}={value}" for name, value in options.items())]
    done = subprocess.run(command, capture_output=True)
    if done.returncode:
        raise SystemExit(done.stderr.decode())
    return done.stdout
