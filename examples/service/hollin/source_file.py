"""One Python file, read: its symbols, the calls that it makes and the modules that it imports."""

from __future__ import annotations

import ast
import re
from dataclasses import dataclass, field
from pathlib import Path

DOCSTRING_CHARS = 4000

_FUNCTIONS = (ast.FunctionDef, ast.AsyncFunctionDef)
_ROUTES = {"route", "api_route", "get", "post", "put", "patch", "delete", "head", "options", "websocket"}
_HTTP_METHOD = re.compile(r"do_(GET|HEAD|POST|PUT|PATCH|DELETE|OPTIONS)")


@dataclass(slots=True)
class Symbol:
    fqn: str
    name: str
    kind: str
    start_line: int
    end_line: int | None
    signature: str | None
    docstring: str | None
    is_export: bool
    docstring_truncated: bool


@dataclass(slots=True)
class SourceFile:
    path: str
    module: str
    docstring: str | None = None
    docstring_line: int = 0
    symbols: list[Symbol] = field(default_factory=list)
    endpoints: list[Symbol] = field(default_factory=list)
    calls: list[tuple[str, int, Symbol | None]] = field(default_factory=list)  # name, line, who calls
    imports: list[tuple[str, str | None]] = field(default_factory=list)  # module, name taken from it


def read_source_file(root: Path, path: str) -> SourceFile:
    """Raises what the interpreter's parser and the file system raise for a file that is no Python."""
    tree = ast.parse((root / path).read_bytes(), path)
    source = SourceFile(path, module_name(path))
    if docstring := ast.get_docstring(tree, clean=False):
        source.docstring, source.docstring_line = writable(docstring), tree.body[0].lineno
    # A list of what is still to visit, not recursion: generated code nests deeper than the stack.
    waiting: list[tuple[ast.AST, Symbol | None]] = [(tree, None)]
    while waiting:
        node, holder = waiting.pop()
        holder = _visit(source, node, holder)
        waiting += [(child, holder) for child in reversed(list(ast.iter_child_nodes(node)))]
    return source


def module_name(path: str) -> str:
    parts = path.removesuffix(".py").removeprefix("src/").split("/")
    return ".".join(parts[:-1] if parts[-1] == "__init__" and len(parts) > 1 else parts)


def writable(text: str) -> str:
    """The text without lone surrogates, which Python literals may hold and no UTF-8 text can."""
    return text if text.isascii() else text.encode("utf-8", "replace").decode()


def _visit(source: SourceFile, node: ast.AST, holder: Symbol | None) -> Symbol | None:
    """Note what this node says; returns the symbol that holds the node's children."""
    if isinstance(node, (*_FUNCTIONS, ast.ClassDef)):
        symbol = _symbol(source.module, node, holder)
        source.symbols.append(symbol)
        if _is_endpoint(node):
            source.endpoints.append(symbol)
        return symbol
    if isinstance(node, ast.Call):
        name = getattr(node.func, "attr", None) or getattr(node.func, "id", None)
        if name:
            source.calls.append((name, node.lineno, holder))
    elif isinstance(node, ast.Import):
        source.imports += [(alias.name, None) for alias in node.names]
    elif isinstance(node, ast.ImportFrom):
        source.imports += [(_imported_module(source, node), alias.name) for alias in node.names]
    return holder


def _symbol(module: str, node: ast.AST, holder: Symbol | None) -> Symbol:
    docstring = ast.get_docstring(node)
    return Symbol(
        fqn=f"{holder.fqn if holder else module}.{node.name}",
        name=node.name,
        kind=_kind(node, holder),
        start_line=node.lineno,
        end_line=node.end_lineno,
        signature=_signature(node),
        docstring=writable(docstring[:DOCSTRING_CHARS]) if docstring else None,
        is_export=not node.name.startswith("_") and (holder is None or holder.is_export),
        docstring_truncated=bool(docstring) and len(docstring) > DOCSTRING_CHARS,
    )


def _kind(node: ast.AST, holder: Symbol | None) -> str:
    if isinstance(node, ast.ClassDef):
        return "class"
    return "method" if holder and holder.kind == "class" else "function"


def _signature(node: ast.AST) -> str:
    if isinstance(node, ast.ClassDef):
        bases = ", ".join(ast.unparse(base) for base in [*node.bases, *node.keywords])
        return f"class {node.name}({bases})" if bases else f"class {node.name}"
    word = "async def" if isinstance(node, ast.AsyncFunctionDef) else "def"
    returns = f" -> {ast.unparse(node.returns)}" if node.returns else ""
    return f"{word} {node.name}({ast.unparse(node.args)}){returns}"


def _is_endpoint(node: ast.AST) -> bool:
    """A function under a decorator such as `@app.get("/carts")`, or a `do_GET` of `http.server`."""
    if not isinstance(node, _FUNCTIONS):
        return False
    return bool(_HTTP_METHOD.fullmatch(node.name)) or any(map(_is_route, node.decorator_list))


def _is_route(decorator: ast.expr) -> bool:
    match decorator:
        case ast.Call(func=ast.Attribute(attr=verb), args=[ast.Constant(value=str(path)), *_]):
            return verb in _ROUTES and path.startswith("/")
    return False


def _imported_module(source: SourceFile, node: ast.ImportFrom) -> str:
    if not node.level:
        return node.module or ""
    up = node.level - (1 if source.path.endswith("__init__.py") else 0)
    package = source.module.split(".")
    return ".".join([*package[: len(package) - up], *([node.module] if node.module else [])])
