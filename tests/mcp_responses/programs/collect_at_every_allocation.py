"""The collector runs at every allocation; whenever it does, a finalizer empties and refills what is being walked."""

import gc
import random

from random_input import mapping, tree
from samples import PLACES, parts

rng, shared, held, alive, runs = random.Random(42), [], [], True, 0


class Bomb:
    def __init__(self):
        self.me = self

    def __del__(self):
        global runs
        runs += 1
        for box in shared:
            if rng.random() < 0.3:
                box.clear()
            elif isinstance(box, list):
                box.extend(str(i) + "x" for i in range(rng.randint(0, 40)))
            else:
                box.update((str(rng.random()), [i]) for i in range(rng.randint(0, 40)))
        if alive:
            Bomb()


gc.set_threshold(1)
rounds = PLACES * 6
for place in rounds:
    gc.disable()
    value = [[tree(rng) for _ in range(5)], mapping(rng), [mapping(rng)] * 2]
    shared[:] = [part for part in parts(value) if type(part) in (list, dict)]
    held.append([([], {}) for _ in range(90)])  # no freed ones are left, which would do without an allocation
    gc.freeze()
    Bomb()
    gc.enable()
    place.call(value)
alive = False
assert runs > len(rounds) / 10, runs
