"""Sub-interpreters call every function. Three exist at a time, and the first one is destroyed last."""

from pathlib import Path

import _xxsubinterpreters as interpreters

use = Path(__file__).with_name("use_every_function.py").read_text("utf-8")
for _ in range(7):
    three = [interpreters.create() for _ in range(3)]
    for one in three + three[:1]:
        interpreters.run_string(one, use)
    for one in three[1:] + three[:1]:
        interpreters.destroy(one)
    exec(use)
