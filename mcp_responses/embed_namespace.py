"""embed_namespace.py SOURCE HEADER: compiles namespace.py for the extension.

The header declares the body of each native function and lists the functions with their parameters. It contains the code
object of the source as a C++ array in the format of `marshal`, which all releases of a minor version of CPython read.
And it compares the integers of the source with the C++ constants of the same names.

Each function of the source must end with a call of `native` with its parameters, in order. The code object contains the
constant `PLACEHOLDER` in place of that name. The import replaces it by the native function (native.cc).
"""

import ast
import marshal
import sys
import warnings
from pathlib import Path

PLACEHOLDER = "native"
HEADERS_OF_CONSTANTS = ("ask_citations.h", "ask_response.h", "code_lines.h", "cuts.h")


class ReplaceName(ast.NodeTransformer):
    def visit_Name(self, node: ast.Name) -> ast.expr:
        return ast.copy_location(ast.Constant(PLACEHOLDER), node) if node.id == PLACEHOLDER else node


def parameters(function: ast.FunctionDef) -> list[ast.arg]:
    return function.args.args + function.args.kwonlyargs


def check_body(function: ast.FunctionDef, source: Path) -> None:
    expected = f"return native({', '.join(one.arg for one in parameters(function))})"
    if ast.unparse(function.body[-1]) != expected:
        sys.exit(f"{source}:{function.lineno}: the body of {function.name} must be `{expected}`")


def accepted_types(annotation: str) -> str | None:
    """The types that an argument may have, for error messages: "list, tuple or None" for "list[Any] | None". None if
    any type with a JSON representation is accepted."""
    types = []
    for declared in annotation.split(" | "):
        name = declared.partition("[")[0]
        if name == "Any":
            return None
        types += {"Literal": ["str"], "list": ["list", "tuple"]}.get(name, [name])
    return " or ".join(filter(None, (", ".join(types[:-1]), types[-1])))


def element_types(annotation: str) -> str | None:
    return "dict" if annotation.startswith("list[dict[") else None


def parameter(one: ast.arg) -> str:
    annotation = ast.unparse(one.annotation)
    types = accepted_types(annotation), element_types(annotation)
    expressions = [f'"{names}"' if names else "json_types" for names in types]
    return f'{{"{one.arg}", {", ".join(expressions)}}}'


def cpp_name(function: ast.FunctionDef) -> str:
    return "py_" + function.name.lstrip("_")


def check_constant(node: ast.stmt) -> str:
    match node:
        case ast.Assign([ast.Name(name)], ast.Constant(int(value))):
            name = name.lstrip("_")
            return f'static_assert({name} == {value}, "namespace.py and a C++ header define {name} differently");'
    return ""


def main(source: Path, output: Path) -> None:
    tree = ast.parse(source.read_text("utf-8"))
    functions = [node for node in tree.body if isinstance(node, ast.FunctionDef)]
    for function in functions:
        check_body(function, source)
    # The compiler warns about the call of the constant that replaces the name.
    warnings.filterwarnings("ignore", "'str' object is not callable", SyntaxWarning)
    code = compile(ReplaceName().visit(tree), "<hollin.mcp_responses>", "exec", dont_inherit=True, optimize=0)
    lines = ["// Generated from namespace.py.", "#pragma once"]
    lines += [f'#include "{header}"' for header in ("call.h", *HEADERS_OF_CONSTANTS)]
    lines += ["namespace mcp_responses {", *filter(None, map(check_constant, tree.body))]
    lines.append("namespace functions {")
    for function in functions:
        declared = ", ".join(map(parameter, parameters(function)))
        lines.append(f"PyRef {cpp_name(function)}(Call& call);")
        lines.append(f"inline constexpr Parameter {cpp_name(function)}_parameters[] = {{{declared}}};")
    lines.append("}")
    lines.append("inline constexpr NativeFunction native_functions[] = {")
    for function in functions:
        name = f"functions::{cpp_name(function)}"
        lines.append(f'{{"{function.name}", {name}_parameters, {name}}},')
    lines.append("};")
    lines.append(f"inline constexpr unsigned char namespace_code[] = {{{', '.join(map(str, marshal.dumps(code)))}}};")
    lines.append("}")
    output.write_text("\n".join(lines) + "\n", "utf-8")


if __name__ == "__main__":
    main(*map(Path, sys.argv[1:]))
