"""The collector runs at every allocation of a container, and with it a finalizer. First it calls the function that is
creating its template dict. Then it changes the containers that a call is copying: the answer must be a valid tree, and
share nothing with them."""

import random
import sys

from callbacks import CHANGES, collecting
from random_input import mapping, tree
from samples import PLACES, SYMBOL, parts, plain, real, record

symbol, rows, rng, runs = record(SYMBOL), [], random.Random(42), 0


def make_row():
    rows.append(real.build_symbol_search_result(symbol))
    return True


collecting(make_row, make_row)
assert len(rows) > 1 and rows == [plain.build_symbol_search_result(symbol)] * len(rows), rows


class Instance:
    pass


def instance_dict():
    """The dict of an object, which shares its table of keys with those of other objects."""
    instance = Instance()
    instance.a, instance.b, instance.c = [1], {"k": [2]}, "text"
    return vars(instance)


def change_some():
    global runs
    runs += 1
    for container in containers:
        if container and rng.random() < 0.3:
            rng.choice(CHANGES)(container)
    return True


rounds = PLACES * 8
for place in rounds:
    value = [[tree(rng) for _ in range(5)], mapping(rng), [mapping(rng)] * 2, instance_dict(), {"k": instance_dict()}]
    containers = [part for part in parts(value) if type(part) in (list, dict)]
    originals = {*map(id, containers)}
    answer = collecting(change_some, lambda: place.call(value))
    for part in parts(answer):
        assert type(part) in (list, dict, str, int, float, bool, type(None)), type(part)
        assert place.where == "result" or id(part) not in originals, place
sys.exit() if runs > len(rounds) / 2 else sys.exit(f"only {runs} finalizers have run")
