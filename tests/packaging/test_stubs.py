"""The stubs declare the types that the functions accept and read, and contain their documentation."""

import ast
import sys
import unittest
from collections import OrderedDict
from types import MappingProxyType

from helpers import BUILD, ROOT

sys.path[:0] = map(str, (BUILD, ROOT / "scripts", ROOT / "tests" / "mcp_responses"))
from make_stubs import STUBS, accepted_type, functions, protocol_name, record_kind, with_functions  # noqa: E402
from samples import RECORDS, ROW, good_calls, real, with_good_arguments  # noqa: E402
from test_answers import reads  # noqa: E402

WRITTEN = STUBS.read_text("utf-8")
CLASSES = {node.name: node for node in ast.parse(WRITTEN).body if isinstance(node, ast.ClassDef)}


# By a part of a declared type: conversions of a valid argument to others that are accepted, and to some that are not.
OTHERS = {
    "os.PathLike": ([str], [bytes]),
    " | tuple[": ([tuple], [iter]),
    "Sequence[_Dict]": ([tuple, lambda rows: [*map(OrderedDict, rows)]], [lambda rows: [MappingProxyType(rows[0])]]),
    "_Dict": ([OrderedDict], [MappingProxyType]),
}


class StubsTest(unittest.TestCase):
    maxDiff = None

    def test_stubs_are_up_to_date(self):
        self.assertEqual(WRITTEN, with_functions(WRITTEN, real), "./dev stubs generates them")

    def test_stubs_compile(self):
        """Pyright, unlike mypy and ast.parse, rejects an import from __future__ after other statements."""
        compile(WRITTEN, STUBS.name, "exec")

    def test_protocols_have_the_attributes_that_builders_read(self):
        self.assertEqual([one.__name__ for one in functions(real) if record_kind(one)], [*RECORDS])
        for name, fields in RECORDS.items():
            read, _ = reads(with_good_arguments(name), fields)
            declared = CLASSES[protocol_name(name)].body
            self.assertEqual(read, [member.name for member in declared], name)

    def test_declared_types_are_accepted(self):
        tested, calls = set(), good_calls() | {"_encoded_size": {"result": ROW}}
        for function in functions(real):
            name, call = function.__name__, calls[function.__name__]
            for parameter, value in call.items():
                type_ = accepted_type(name, function.__annotations__[parameter])
                kind = next((kind for kind in OTHERS if kind in type_), None)
                if kind is None:
                    continue
                tested.add(kind)
                for other in OTHERS[kind][0]:
                    self.assertEqual(function(**call | {parameter: other(value)}), function(**call), (name, parameter))
                for other in OTHERS[kind][1]:
                    with self.assertRaises(TypeError, msg=(name, parameter)):
                        function(**call | {parameter: other(value)})
        self.assertEqual(tested, {*OTHERS})
