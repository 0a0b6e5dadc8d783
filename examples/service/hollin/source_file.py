"""Reads one Python file: its symbols, imports and calls.

A call is recorded with the path of its function where this file determines one: by a definition, an import or the first
parameter of a method. A name that is assigned, or bound to two objects, does not have a path. `Index` resolves the paths.
"""

from __future__ import annotations

import ast
import re
from dataclasses import dataclass, field
from pathlib import Path
from typing import NamedTuple

DOCSTRING_CHARS = 4000

_INNER_FIELDS = {"body", "elt", "key", "value", "generators"}  # of the nodes that have a scope of their own
_LEAVES = (ast.Constant, ast.Load, ast.operator, ast.cmpop)
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
    is_endpoint: bool


class Binding(NamedTuple):
    """The object with a dotted name, or an instance of that class."""

    target: str
    is_instance: bool = False


NamePath = tuple[str, list[str]]  # the dotted name of an object, and attributes: "shop.cart", ["Cart", "total"]


@dataclass(slots=True)
class SourceFile:
    path: str
    module: str
    docstring: str | None = None
    docstring_line: int = 0
    symbols: list[Symbol] = field(default_factory=list)
    calls: list[tuple[NamePath, int, Symbol | None]] = field(default_factory=list)  # with the line and the caller
    imports: list[tuple[str, str | None]] = field(default_factory=list)  # module, imported name
    names: dict[str, Binding | None] = field(default_factory=dict)  # of the module's scope
    bases: dict[str, list[NamePath]] = field(default_factory=dict)  # of each class, by its fqn


@dataclass(slots=True)
class Scope:
    """The names bound in a module, class, function, lambda or comprehension. None is an unknown object."""

    symbol: Symbol | None
    outer: Scope | None
    names: dict[str, Binding | None] = field(default_factory=dict)
    is_class: bool = False

    def bind(self, name: str, to: Binding | None = None) -> None:
        self.names[name] = to if self.names.get(name, to) == to else None

    def path(self, node: ast.expr, module: str) -> NamePath | None:
        """The path of a name with attributes. A name that no inner scope binds is an attribute of the module."""
        names: list[str] = []
        while isinstance(node, ast.Attribute):
            names.append(node.attr)
            node = node.value
        if not isinstance(node, ast.Name):
            return None
        scope = self
        while scope.outer and (node.id not in scope.names or (scope.is_class and scope is not self)):
            scope = scope.outer
        binding = scope.names[node.id] if scope.outer else Binding(module)
        names += [] if scope.outer else [node.id]
        return (binding.target, names[::-1]) if binding and (names or not binding.is_instance) else None


def read_source_file(root: Path, path: str) -> SourceFile:
    """Raises the errors of the file system and of the interpreter's parser."""
    tree = ast.parse((root / path).read_bytes(), path)
    source = SourceFile(path, module_name(path))
    if docstring := ast.get_docstring(tree, clean=False):
        source.docstring, source.docstring_line = encodable(docstring), tree.body[0].lineno
    _Reader(source).read(tree)
    return source


def module_name(path: str) -> str:
    parts = path.removesuffix(".py").removeprefix("src/").split("/")
    return ".".join(parts[:-1] if parts[-1] == "__init__" and len(parts) > 1 else parts)


def encodable(text: str) -> str:
    """Replaces lone surrogates, which a Python literal may contain and UTF-8 cannot."""
    return text if text.isascii() else text.encode("utf-8", "replace").decode()


class _Reader:
    def __init__(self, source: SourceFile) -> None:
        self.source = source
        self.module = Scope(None, None, source.names)
        self.calls: list[tuple[ast.Call, Scope]] = []
        self.bases: list[tuple[str, list[ast.expr], Scope]] = []

    def read(self, tree: ast.Module) -> None:
        # A stack instead of recursion, because generated code can be nested too deeply for the interpreter's stack.
        waiting: list[tuple[ast.AST, Scope]] = [(tree, self.module)]
        while waiting:
            node, scope = waiting.pop()
            inner = self._record(node, scope)
            for field_name, value in reversed([*ast.iter_fields(node)]):
                child_scope = inner if field_name in _INNER_FIELDS else scope
                for child in reversed(value) if isinstance(value, list) else (value,):
                    if isinstance(child, ast.AST) and not isinstance(child, _LEAVES):
                        waiting.append((child, child_scope))
        # The paths come last, because a name may be bound below the line that uses it.
        module = self.source.module
        paths = ((scope.path(node.func, module), node.lineno, scope.symbol) for node, scope in self.calls)
        self.source.calls += [call for call in paths if call[0]]
        for fqn, bases, scope in self.bases:
            self.source.bases[fqn] = [path for base in bases if (path := scope.path(base, module))]

    def _record(self, node: ast.AST, scope: Scope) -> Scope:
        """Returns the scope of the node's `_INNER_FIELDS`."""
        match node:
            case ast.FunctionDef() | ast.AsyncFunctionDef() | ast.ClassDef():
                return self._define(node, scope)
            case ast.Lambda():
                _bind_parameters(node, inner := Scope(scope.symbol, scope))
                return inner
            case ast.ListComp() | ast.SetComp() | ast.DictComp() | ast.GeneratorExp():
                return Scope(scope.symbol, scope)
            case ast.Call():
                self.calls.append((node, scope))
            case ast.Import() | ast.ImportFrom():
                self._import(node, scope)
            case ast.Name(id=name, ctx=ast.Store() | ast.Del()) | ast.MatchMapping(rest=str(name)):
                scope.bind(name)
            case ast.ExceptHandler(name=str(name)) | ast.MatchAs(name=str(name)) | ast.MatchStar(name=str(name)):
                scope.bind(name)
            case ast.Global(names=names) | ast.Nonlocal(names=names):
                for name in names:
                    scope.bind(name)
                    self.module.bind(name)
        return scope

    def _define(self, node: ast.AST, scope: Scope) -> Scope:
        """Records a function or class; returns its scope."""
        symbol = _symbol(self.source.module, node, scope)
        self.source.symbols.append(symbol)
        scope.bind(node.name, Binding(symbol.fqn))
        inner = Scope(symbol, scope, is_class=isinstance(node, ast.ClassDef))
        if inner.is_class:
            self.bases.append((symbol.fqn, node.bases, scope))
        else:
            _bind_parameters(node, inner)
        return inner

    def _import(self, node: ast.Import | ast.ImportFrom, scope: Scope) -> None:
        module = _imported_module(self.source, node) if isinstance(node, ast.ImportFrom) else None
        for alias in node.names:
            self.source.imports.append((alias.name, None) if module is None else (module, alias.name))
            first = alias.name.partition(".")[0]  # `import a.b` binds a
            target = alias.name if alias.asname else first
            scope.bind(alias.asname or first, Binding(target if module is None else f"{module}.{alias.name}"))


def _bind_parameters(node: ast.AST, scope: Scope) -> None:
    """Parameters are unknown objects, except the first one of a method."""
    found = node.args
    parameters = [*found.posonlyargs, *found.args, *found.kwonlyargs, found.vararg, found.kwarg]
    if scope.outer.is_class and (found.posonlyargs or found.args) and not isinstance(node, ast.Lambda):
        decorators = {getattr(each, "id", None) for each in node.decorator_list}
        if "staticmethod" not in decorators:
            is_class_method = "classmethod" in decorators or node.name in ("__new__", "__init_subclass__")
            scope.bind(parameters.pop(0).arg, Binding(scope.outer.symbol.fqn, is_instance=not is_class_method))
    for parameter in filter(None, parameters):
        scope.bind(parameter.arg)


def _symbol(module: str, node: ast.AST, scope: Scope) -> Symbol:
    docstring, holder = ast.get_docstring(node), scope.symbol
    return Symbol(
        fqn=f"{holder.fqn if holder else module}.{node.name}",
        name=node.name,
        kind="class" if isinstance(node, ast.ClassDef) else "method" if scope.is_class else "function",
        start_line=node.lineno,
        end_line=node.end_lineno,
        signature=_signature(node),
        docstring=encodable(docstring[:DOCSTRING_CHARS]) if docstring else None,
        is_export=not node.name.startswith("_") and (holder is None or holder.is_export),
        docstring_truncated=bool(docstring) and len(docstring) > DOCSTRING_CHARS,
        is_endpoint=not isinstance(node, ast.ClassDef) and _is_endpoint(node),
    )


def _signature(node: ast.AST) -> str:
    if isinstance(node, ast.ClassDef):
        bases = ", ".join(ast.unparse(base) for base in [*node.bases, *node.keywords])
        return f"class {node.name}({bases})" if bases else f"class {node.name}"
    keyword = "async def" if isinstance(node, ast.AsyncFunctionDef) else "def"
    returns = f" -> {ast.unparse(node.returns)}" if node.returns else ""
    return f"{keyword} {node.name}({ast.unparse(node.args)}){returns}"


def _is_endpoint(node: ast.AST) -> bool:
    """A function with a decorator such as `@app.get("/carts")`, or a `do_GET` of `http.server`."""
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
