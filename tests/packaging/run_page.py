"""Runs the Python blocks of a document, in order, as one program. Each must print the text block that follows it."""

import contextlib
import io
import re
import sys
import types
from pathlib import Path

BLOCK = re.compile(r"^```python\n(.+?)\n```$(?:\n\n```text\n(.+?)\n```$)?", re.M | re.S)

page = types.ModuleType("page")
sys.modules["page"] = page  # where dataclasses look up the names in annotations
blocks = BLOCK.findall(Path(sys.argv[1]).read_text("utf-8"))
for code, shown in blocks:
    printed = io.StringIO()
    with contextlib.redirect_stdout(printed):
        exec(code, vars(page))
    if printed.getvalue().rstrip("\n") != shown:
        sys.exit(f"{code}\n\nprints\n\n{printed.getvalue()}\n\ninstead of\n\n{shown}")
print(f"{len(blocks)} blocks")
