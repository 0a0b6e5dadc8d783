"""How long a text takes in a process of its own, and how many pages a call faults in. Run by bench.py.

What a text costs depends on what the allocator does with its buffer, and that on the settings and on what the heap holds
when it is made. So each measurement has a process with the usual settings, whose heap begins with a block of another
size.
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

HEAP_OFFSETS = (0, 40_000, 100_000)  # bytes, less than what the allocator asks the kernel for by itself
_SECONDS = 0.3
_CALLS = 20  # a round


@dataclass(frozen=True)
class Measured:
    seconds: float  # the best round's processor time of a call
    faults: float  # the median round's pages a call


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
