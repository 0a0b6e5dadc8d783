"""Measures the fresh memory that tool_result_text touches, in sizes of its text. bench.py runs it as a program.

The kernel counts a page fault when a page is first touched. All free memory is returned to the kernel before the call,
and blocks of 4 KB and more as soon as they are freed, so the count is at least the peak.
"""

from __future__ import annotations

import ctypes
import gc
import os
import resource
import subprocess
import sys
from collections.abc import Callable
from pathlib import Path
from typing import Any


def touched_texts(api: str, payload: str) -> float:
    """Measures `tool_result_text` of `api`, "ours" or "plain", over a value of payloads."""
    environment = os.environ | {"MALLOC_MMAP_THRESHOLD_": "4096", "PYTHONMALLOC": "malloc"}
    command = [sys.executable, "-P", __file__, api, payload]
    return float(subprocess.run(command, env=environment, stdout=subprocess.PIPE, check=True).stdout)


def _fresh_pages(call: Callable[[], Any]) -> int:
    call()  # touches the memory that only a first call needs
    ctypes.CDLL(None).malloc_trim(0)
    before = resource.getrusage(resource.RUSAGE_SELF).ru_minflt
    kept = call()
    after = resource.getrusage(resource.RUSAGE_SELF).ru_minflt
    del kept
    return after - before


def _main(api: str, payload: str) -> None:
    sys.path.insert(0, str(Path(__file__).resolve().parent))
    import payloads

    if api == "ours":
        from hollin.mcp_responses import tool_result_text
    else:
        from plain_python import tool_result_text
    value = getattr(payloads, payload)
    text = tool_result_text(value)
    gc.disable()
    # A copy of the text is the unit, so the result does not depend on the page size.
    print(_fresh_pages(lambda: tool_result_text(value)) / _fresh_pages(lambda: text + "x"))


if __name__ == "__main__":
    _main(*sys.argv[1:])
