"""The collector runs at every allocation of a container, and with it a finalizer that changes the containers which
the call is copying: it empties, shrinks or grows them. The answer must be a valid tree, and share nothing with them."""

import gc
import random
import sys

from random_input import mapping, tree
from samples import PLACES, parts

rng, shared, is_active, runs = random.Random(42), [], True, 0


class Instance:
    pass


def instance_dict():
    """The dict of an object, which shares its table of keys with those of other objects."""
    instance = Instance()
    instance.a, instance.b, instance.c = [1], {"k": [2]}, "text"
    return vars(instance)


def change(container):
    action = rng.randrange(4)
    if action == 0:
        container.clear()
    elif action == 1:
        for _ in range(len(container) // 2):
            container.pop() if isinstance(container, list) else container.popitem()
    elif isinstance(container, list):
        container.extend([str(number) + "x"] for number in range(rng.choice((1, 40))))
    else:
        container.update((str(rng.random()), [number]) for number in range(rng.choice((1, 40))))


class Finalized:
    def __init__(self):
        self.itself = self

    def __del__(self):
        global runs
        runs += 1
        for container in shared:
            if rng.random() < 0.3:
                change(container)
        if is_active:
            Finalized()


gc.set_threshold(1)
rounds = PLACES * 8
for place in rounds:
    gc.disable()
    is_active = False
    value = [[tree(rng) for _ in range(5)], mapping(rng), [mapping(rng)] * 2, instance_dict(), {"k": instance_dict()}]
    shared[:] = [part for part in parts(value) if type(part) in (list, dict)]
    gc.collect()  # also empties the free lists, from which objects come without an allocation
    gc.freeze()
    is_active = True
    Finalized()
    gc.enable()
    answer = place.call(value)
    gc.disable()
    originals = {*map(id, shared)}
    for part in parts(answer):
        assert type(part) in (list, dict, str, int, float, bool, type(None)), type(part)
        assert place.where == "result" or id(part) not in originals, place
gc.collect()
sys.exit() if runs > len(rounds) / 2 else sys.exit(f"only {runs} finalizers have run")
