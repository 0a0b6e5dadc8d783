"""The stubs declare the types that the functions themselves name."""

import ast
import sys
import unittest

from workplace import BUILD, ROOT

sys.path.insert(0, str(BUILD))
from hollin import mcp_responses  # noqa: E402

RECORDS = {"_Symbol": "Symbol", "_Reference": "Reference", "_ComponentInfo": "ComponentInfo"}


def declared(function: ast.FunctionDef) -> dict[str, str]:
    parameters = function.args.args + function.args.kwonlyargs
    types = {one.arg: ast.unparse(one.annotation) for one in parameters} | {"return": ast.unparse(function.returns)}
    return {name: RECORDS.get(type_, type_) for name, type_ in types.items()}


class StubsTest(unittest.TestCase):
    def test_declared_types(self):
        stub = ast.parse((ROOT / "hollin-stubs" / "mcp_responses.pyi").read_text(encoding="utf-8"))
        in_stub = {node.name: declared(node) for node in stub.body if isinstance(node, ast.FunctionDef)}
        functions = {name: one for name, one in vars(mcp_responses).items() if type(one).__name__ == "function"}
        functions.pop("add_pagination_hint")
        self.assertEqual(in_stub, {name: one.__annotations__ for name, one in functions.items()})
        self.assertEqual(list(in_stub), list(functions))
