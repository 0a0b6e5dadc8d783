"""The interpreter exits while four daemon threads call functions in a loop."""

import threading

from samples import HERE, ROW, real

started = threading.Semaphore(0)


def forever():
    started.release()
    while True:
        real.code_lines(HERE, [("samples.py", 1), ("missing.py", 1), ("test_text.py", 3)])
        real.build_paginated_response([ROW], 9, 0)


for _ in range(4):
    threading.Thread(target=forever, daemon=True).start()
for _ in range(4):
    started.acquire()
