"""A record's attributes are what getattr() returns, however its class stores them and however the class changes."""

import dataclasses
import itertools
import random
import types
import unittest

from comparison import outcome
from samples import COMPONENT, plain, real

FIELDS = tuple(COMPONENT)
fresh = map("value {}".format, itertools.count())  # so that no two attributes are equal


class StrSubclass(str):
    pass


def fill(record, fields=FIELDS):
    for field in fields:
        setattr(record, field, next(fresh))
    return record


def kinds():
    """New classes, which store attributes in every way that Python has."""

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

    class WithGetattr:
        def __getattr__(self, name):
            return f"{name} requested"

    fields = [(name, str, dataclasses.field(default=f"default {name}")) for name in FIELDS]
    defaults = dataclasses.make_dataclass("Defaults", fields)
    return [Plain, Child, Slots, SlotsAndDict, SomeSlots, Number, Broken, WithGetattr, defaults, types.SimpleNamespace]


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
    """A class whose instances have the same attributes in another order."""
    twin = types.new_class("Twin", cls.__bases__)
    record = twin()
    for field in reversed(FIELDS):
        setattr(record, field, next(fresh))
    read(record)
    return twin


# Each changes a class, a record or both. Some raise an error for some classes.
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
    lambda cls, record, field: setattr(cls, "__getattr__", lambda self, name: f"{name} requested"),
    lambda cls, record, field: delattr(cls, "__getattr__"),
    lambda cls, record, field: setattr(cls, "__getattribute__", lambda self, name: f"all of {name}"),
    lambda cls, record, field: delattr(cls, "__getattribute__"),
    lambda cls, record, field: setattr(cls, "__bases__", (type("Base", (), {field: next(fresh)}),)),
]


def slots_of(field):
    return lambda namespace: namespace.update(__slots__=(field,))


def read(record):
    return outcome(real.build_component, [record])


class Attributes(unittest.TestCase):
    def test_random_changes_of_records_and_classes(self):
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
                    expected = outcome(plain.build_component, [each])
                    label = f"seed {seed}, step {step}, change {change}, {type(each).__name__}"
                    self.assertEqual(read(each), expected, label)

    def assert_same(self, *records):
        for each in records * 3:
            self.assertEqual(read(each), outcome(plain.build_component, [each]))

    def test_a_key_of_the_class_that_changes_the_class_during_the_look_up(self):
        for field in FIELDS:
            for before, after in itertools.permutations((FIELDS, FIELDS[::-1], FIELDS[2:] + FIELDS[:2]), 2):
                other = type("Other", (), {})
                fill(other(), after)
                pending = []

                class Key(str):
                    __hash__ = str.__hash__

                    def __eq__(self, name):
                        while pending:
                            pending.pop().__class__ = other
                        return False

                cls = type("Record", (), {Key(field): None})
                changed, unchanged = fill(cls(), before), fill(cls(), before)
                cls.changed = True  # the interpreter's own cache of look-ups is invalid then
                pending.append(changed)
                read(changed)
                self.assertIs(type(changed), other)
                self.assert_same(changed, unchanged, fill(other(), after))

    def test_a_class_attribute_that_becomes_a_data_descriptor(self):
        class DataDescriptor(types.ModuleType):
            def __get__(self, instance, owner):
                return "described"

            def __set__(self, instance, value):
                pass

        for field in FIELDS:
            attribute = types.ModuleType("attribute")
            record = fill(type("Record", (), {field: attribute})())
            self.assert_same(record)
            attribute.__class__ = DataDescriptor
            self.assertEqual(read(record)[1][field], "described")
            attribute.__class__ = types.ModuleType
            self.assert_same(record)

    def test_records_of_many_classes_in_turns(self):
        classes = [type(f"Record{number}", (), {}) for number in range(9)]
        self.assert_same(*[fill(cls(), FIELDS[at:] + FIELDS[:at]) for at, cls in enumerate(classes)])
