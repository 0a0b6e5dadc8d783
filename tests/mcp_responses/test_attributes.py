"""A record's attributes are those that Python reads, however its class keeps them and whatever becomes of the class."""

import dataclasses
import gc
import itertools
import random
import types
import unittest

from samples import COMPONENT, plain, real

FIELDS = tuple(COMPONENT)
fresh = map("value {}".format, itertools.count())  # no two reads of different values look alike


class StrSubclass(str):
    pass


def fill(record):
    for field in FIELDS:
        setattr(record, field, next(fresh))
    return record


def kinds():
    """Classes that keep attributes in each way that there is; those of one run share nothing with those of the next."""

    class Plain:
        pass

    class Child(Plain):
        layer = "the class's own"

    class Slots:
        __slots__ = FIELDS

    class SlotsAndDict(Slots):
        pass

    class SomeSlots:
        __slots__ = (*FIELDS[:2], "__dict__")

    class Number(int):
        pass

    class Broken(Exception):
        pass

    class Asks:
        def __getattr__(self, name):
            return f"{name} asked for"

    made = [(name, str, dataclasses.field(default=f"default {name}")) for name in FIELDS]
    defaults = dataclasses.make_dataclass("Defaults", made)
    return [Plain, Child, Slots, SlotsAndDict, SomeSlots, Number, Broken, Asks, defaults, types.SimpleNamespace]


class Descriptor:
    def __get__(self, instance, owner):
        return "described"


def with_setter(cls, record, field):
    class Late(Descriptor):
        pass

    setattr(cls, field, Late())
    read(record)
    Late.__set__ = lambda *_: None


def reordered(record):
    members = list(vars(record).items())
    vars(record).clear()
    vars(record).update(reversed(members))


def twin_of(cls):
    """A class whose instances have the same members, in another order."""
    twin = types.new_class("Twin", cls.__bases__)
    record = twin()
    for field in reversed(FIELDS):
        setattr(record, field, next(fresh))
    read(record)
    return twin


# Each does something to a class, to one record or to both; where it can't, it raises.
CHANGES = [
    lambda cls, record, field: setattr(record, field, next(fresh)),
    lambda cls, record, field: delattr(record, field),
    lambda cls, record, field: vars(record),
    lambda cls, record, field: reordered(record),
    lambda cls, record, field: vars(record).update({f"more {n}": n for n in range(40)}),
    lambda cls, record, field: vars(record).update({7: "no name"}),
    lambda cls, record, field: vars(record).update({StrSubclass("more"): 1}),
    lambda cls, record, field: setattr(record, "__dict__", {name: next(fresh) for name in reversed(FIELDS)}),
    lambda cls, record, field: setattr(record, "__dict__", {StrSubclass(name): next(fresh) for name in FIELDS}),
    lambda cls, record, field: setattr(record, "__dict__", type("Members", (dict,), {})(layer=next(fresh))),
    lambda cls, record, field: setattr(record, "__class__", types.new_class("New", (cls,))),
    lambda cls, record, field: setattr(record, "__class__", twin_of(cls)),
    lambda cls, record, field: setattr(cls, field, next(fresh)),
    lambda cls, record, field: setattr(cls, field, property(lambda self: next(fresh) and "property")),
    lambda cls, record, field: setattr(cls, field, Descriptor()),
    lambda cls, record, field: setattr(cls, field, vars(types.new_class("S", (), {}, slots_of(field)))[field]),
    lambda cls, record, field: delattr(cls, field),
    lambda cls, record, field: with_setter(cls, record, field),
    lambda cls, record, field: setattr(cls, "__getattr__", lambda self, name: f"{name} asked for"),
    lambda cls, record, field: delattr(cls, "__getattr__"),
    lambda cls, record, field: setattr(cls, "__getattribute__", lambda self, name: f"all of {name}"),
    lambda cls, record, field: delattr(cls, "__getattribute__"),
    lambda cls, record, field: setattr(cls, "__bases__", (type("Base", (), {field: next(fresh)}),)),
]


def slots_of(field):
    return lambda namespace: namespace.update(__slots__=(field,))


def outcome(builder, record):
    try:
        return builder(record)
    except Exception as error:
        return type(error), str(error)


def read(record):
    return outcome(real.build_component, record)


class Attributes(unittest.TestCase):
    def test_whatever_becomes_of_the_class(self):
        for seed in range(400):
            rng = random.Random(seed)
            classes = kinds()
            records = [fill(cls()) for cls in classes for _ in range(2)]
            for step in range(30):
                record = rng.choice(records)
                change = rng.randrange(len(CHANGES))
                try:
                    CHANGES[change](type(record), record, rng.choice(FIELDS))
                except (AttributeError, TypeError):
                    pass
                for each in records:
                    expected = outcome(plain.build_component, each)
                    label = f"seed {seed}, step {step}, change {change}, {type(each).__name__}"
                    self.assertEqual(read(each), expected, label)

    def test_the_collector_knows_a_row_with_a_container(self):
        for layer, is_tracked in (("text", False), (["list"], True)):
            record = types.SimpleNamespace(**COMPONENT | {"layer": layer})
            self.assertEqual(gc.is_tracked(real.build_component(record)), is_tracked)
