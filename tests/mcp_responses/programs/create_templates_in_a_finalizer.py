"""The collector runs while the template dict of a new kind of row is created. A finalizer then creates the templates of
all other kinds. Afterwards each template must exist, and exist only once."""

import gc
import sys

from callbacks import collecting
from samples import SYMBOL, plain, real, record

OPTIONAL = ("fqn", "name", "kind", "start_line", "signature")
# A record for each choice of attributes that are None, which determines the keys of the row.
records = [
    record(SYMBOL, **{name: None for bit, name in enumerate(OPTIONAL) if kind >> bit & 1})
    for kind in range(2 ** len(OPTIONAL))
]
made = []


def make_other_rows():
    made.extend(map(real.build_symbol_search_result, records[1:]))


def allocated_blocks():
    gc.collect()  # objects in free lists would count
    return sys.getallocatedblocks()


collecting(make_other_rows, lambda: real.build_symbol_search_result(records[0]))
assert len(made) == len(records) - 1, len(made)
before = allocated_blocks()
for each in records:
    assert real.build_symbol_search_result(each) == plain.build_symbol_search_result(each)
more = allocated_blocks() - before
assert more < len(records) / 2, more
