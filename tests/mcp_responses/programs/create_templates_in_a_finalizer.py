"""A row of a new kind is made; meanwhile the collector runs a finalizer that makes rows of many other kinds. What each
kind of row starts as is kept, and found again."""

import gc
import sys
from types import SimpleNamespace

from samples import SYMBOL, plain, real

OPTIONAL = ("fqn", "name", "kind", "start_line", "signature")
runs = 0


def record(kind):
    """Of as many kinds as there are choices of attributes that are None."""
    return SimpleNamespace(**SYMBOL | {name: None for bit, name in enumerate(OPTIONAL) if kind >> bit & 1})


records = [record(kind) for kind in range(2 ** len(OPTIONAL))]


class Bomb:
    def __init__(self):
        self.me = self

    def __del__(self):
        global runs
        runs += 1
        for each in records[1:]:
            real.build_symbol_search_result(each)


gc.disable()
held = [{} for _ in range(90)]  # no freed ones are left, which would do without an allocation
gc.freeze()
gc.set_threshold(1)
Bomb()
gc.enable()
real.build_symbol_search_result(records[0])
gc.disable()
assert runs == 1, runs
for _ in range(2):
    before = sys.getallocatedblocks()
    for each in records:
        assert real.build_symbol_search_result(each) == plain.build_symbol_search_result(each)
    grown = sys.getallocatedblocks() - before
assert grown == 0, grown
