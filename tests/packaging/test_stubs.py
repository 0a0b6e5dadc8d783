"""The stubs tell what the functions take, read and say of themselves."""

import ast
import sys
import unittest
from types import MappingProxyType

from workplace import BUILD, ROOT

sys.path[:0] = map(str, (BUILD, ROOT / "packaging", ROOT / "tests" / "mcp_responses"))
from make_stubs import RECORDS, STUBS, functions, taken, with_functions  # noqa: E402
from samples import ROW, good_calls, real  # noqa: E402

WRITTEN = STUBS.read_text("utf-8")
CLASSES = {node.name: node for node in ast.parse(WRITTEN).body if isinstance(node, ast.ClassDef)}


class Dict(dict):
    pass


class Path:
    def __init__(self, path):
        self.path = path

    def __fspath__(self):
        return self.path


class Recorder:
    def __init__(self, record, read):
        self._of = record, read

    def __getattr__(self, name):
        record, read = self._of
        read.append(name)
        return getattr(record, name)


def members(name):
    """The attributes of a protocol and of those that it is made of."""
    own = [node.name for node in CLASSES[name].body if isinstance(node, ast.FunctionDef)]
    return own + [member for base in CLASSES[name].bases if base.id in CLASSES for member in members(base.id)]


# For each kind of type: what else it takes, and what not, made of what a good call has there.
OTHERS = {
    "os.PathLike": ([str, lambda root: Path(str(root))], [bytes]),
    " | tuple[": ([tuple], [iter]),
    "Sequence[_Dict]": ([tuple, lambda rows: [Dict(row) for row in rows]], [lambda rows: [MappingProxyType(rows[0])]]),
    "_Dict": ([Dict], [MappingProxyType]),
}


class StubsTest(unittest.TestCase):
    maxDiff = None

    def test_written_anew(self):
        self.assertEqual(WRITTEN, with_functions(WRITTEN, real), "./dev stubs writes them")

    def test_records_have_what_is_read_of_them(self):
        for name, protocol in RECORDS.items():
            arguments, read = good_calls()[name], []
            first = next(iter(arguments))
            getattr(real, name)(**arguments | {first: Recorder(arguments[first], read)})
            self.assertEqual(sorted(read), sorted(members(protocol)), name)

    def test_types_that_are_taken(self):
        met, calls = set(), good_calls() | {"_encoded_size": {"result": ROW}}
        for function in functions(real):
            name, call = function.__name__, calls[function.__name__]
            for parameter, value in call.items():
                type_ = taken(name, function.__annotations__[parameter])
                kind = next((kind for kind in OTHERS if kind in type_), None)
                if kind is None:
                    continue
                met.add(kind)
                for other in OTHERS[kind][0]:
                    self.assertEqual(function(**call | {parameter: other(value)}), function(**call), (name, parameter))
                for other in OTHERS[kind][1]:
                    with self.assertRaises(TypeError, msg=(name, parameter)):
                        function(**call | {parameter: other(value)})
        self.assertEqual(met, {*OTHERS})
