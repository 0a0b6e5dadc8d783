"""Measures the time and the page faults of tool_result_text in a separate process. bench.py runs it.

The time depends on where the allocator takes the buffer from, and thus on its settings and on the state of the heap.
Each measurement therefore runs in a process with the default settings, with a first heap block of another size.
"""

from __future__ import annotations

import gc
import resource
import statistics
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

HEAP_OFFSETS = (0, 40_000, 100_000)  # bytes, below the threshold for separate mappings
_SECONDS = 0.3
_CALLS = 20  # in a round


@dataclass(frozen=True)
class Measured:
    seconds: float  # processor time of a call in the best round
    faults: float  # page faults of a call in the median round


def measured(api: str, payload: str, offset: int) -> Measured:
    """Measures `tool_result_text` of `api`, "ours" or "plain", over a value of payloads."""
    command = [sys.executable, "-P", __file__, api, payload, str(offset)]
    seconds, faults = subprocess.run(command, stdout=subprocess.PIPE, check=True, text=True).stdout.split()
    return Measured(float(seconds), float(faults))


def _main(api: str, payload: str, offset: str) -> None:
    sys.path.insert(0, str(Path(__file__).resolve().parent))
    import payloads

    if api == "ours":
        from hollin.mcp_responses import tool_result_text
    else:
        from plain_python import tool_result_text
    value = getattr(payloads, payload)
    kept = bytearray(int(offset))
    gc.disable()
    best, faults = float("inf"), []
    end = time.perf_counter() + _SECONDS
    while time.perf_counter() < end:
        pages = resource.getrusage(resource.RUSAGE_SELF).ru_minflt
        begin = time.process_time()
        for _ in range(_CALLS):
            tool_result_text(value)
        best = min(best, time.process_time() - begin)
        faults.append(resource.getrusage(resource.RUSAGE_SELF).ru_minflt - pages)
    del kept
    print(best / _CALLS, statistics.median(faults) / _CALLS)


if __name__ == "__main__":
    _main(*sys.argv[1:])
