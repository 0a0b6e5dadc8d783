"""The collector runs while the template dict of a new kind of row is created. A finalizer then creates the templates of
all other kinds. Afterwards each template must exist, and exist only once."""

import gc
import sys

from samples import SYMBOL, plain, real, record

OPTIONAL = ("fqn", "name", "kind", "start_line", "signature")
runs = 0
# A record for each choice of attributes that are None, which determines the keys of the row.
records = [
    record(SYMBOL, **{name: None for bit, name in enumerate(OPTIONAL) if kind >> bit & 1})
    for kind in range(2 ** len(OPTIONAL))
]


class Finalized:
    def __init__(self):
        self.itself = self

    def __del__(self):
        global runs
        runs += 1
        for each in records[1:]:
            real.build_symbol_search_result(each)


gc.disable()
gc.collect()  # empties the free lists, from which objects come without an allocation
gc.freeze()
gc.set_threshold(1)
Finalized()
gc.enable()
real.build_symbol_search_result(records[0])
gc.disable()
assert runs == 1, runs


def allocated_blocks():
    gc.collect()  # objects in free lists would count
    return sys.getallocatedblocks()


before = allocated_blocks()
for each in records:
    assert real.build_symbol_search_result(each) == plain.build_symbol_search_result(each)
more = allocated_blocks() - before
assert more < len(records) / 2, more
