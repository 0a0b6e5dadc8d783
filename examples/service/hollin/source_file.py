"""Reads one Python file: its symbols, its imports and its uses of symbols.

A use is recorded with the path of the symbol where this file determines one: by a definition, an import or the first
parameter of a method. A variable does not have a path. A constant has one, and so does an alias of an imported object,
such as `abc = _collections_abc`. `Names` resolves the paths.
"""

from __future__ import annotations

import ast
import re
from dataclasses import dataclass, field
from pathlib import Path
from typing import NamedTuple

DOCSTRING_CHARS = 4000
SIGNATURE_CHARS = 200  # of constants

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
    is_endpoint: bool = False


class Binding(NamedTuple):
    """The first object of these dotted names that the tree defines, or an instance of that class."""

    targets: tuple[str, ...]
    is_instance: bool = False


NamePath = tuple[tuple[str, ...], list[str]]  # the targets of a name, and attributes: ("shop.cart",), ["Cart", "total"]


class Use(NamedTuple):
    path: NamePath | None
    attribute: str | None  # the last name, if it is an attribute of an object
    line: int
    caller: Symbol | None
    usage: str  # call, base class, decorator or read; constants are read


@dataclass(slots=True)
class SourceFile:
    path: str
    module: str
    script_folder: str  # the module name of the folder of a file outside of packages; its imports search there first
    docstring: str | None = None
    docstring_line: int = 0
    symbols: list[Symbol] = field(default_factory=list)
    uses: list[Use] = field(default_factory=list)
    imports: list[tuple[tuple[str, ...], str | None]] = field(default_factory=list)  # possible modules, imported name
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
        known = self.names.get(name, to)
        if to and known and to.is_instance == known.is_instance:
            self.names[name] = Binding(tuple(dict.fromkeys(known.targets + to.targets)), to.is_instance)
        else:
            self.names[name] = None

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
        binding = scope.names[node.id] if scope.outer else Binding((module,))
        names += [] if scope.outer else [node.id]
        return (binding.targets, names[::-1]) if binding and (names or not binding.is_instance) else None


def read_source_file(root: Path, path: str, module: str, script_folder: str) -> SourceFile:
    """Raises the errors of the file system and of the interpreter's parser."""
    text = (root / path).read_bytes()
    tree = ast.parse(text, path)
    source = SourceFile(path, module, script_folder)
    if docstring := ast.get_docstring(tree, clean=False):
        source.docstring, source.docstring_line = encodable(docstring), tree.body[0].lineno
    _Reader(source, text.splitlines()).read(tree)
    return source


def encodable(text: str) -> str:
    """Replaces lone surrogates, which a Python literal may contain and UTF-8 cannot."""
    return text if text.isascii() else text.encode("utf-8", "replace").decode()


class _Reader:
    def __init__(self, source: SourceFile, lines: list[bytes]) -> None:
        self.source = source
        self.lines = lines
        self.module = Scope(None, None, source.names)
        self.uses: list[tuple[ast.expr, Scope, str]] = []
        self.bases: list[tuple[str, list[ast.expr], Scope]] = []
        self.bindings: dict[ast.expr, Binding] = {}  # of constants and aliases

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
        for node, scope, usage in self.uses:
            attribute = node.attr if isinstance(node, ast.Attribute) else None
            use = Use(scope.path(node, module), attribute, node.end_lineno or node.lineno, scope.symbol, usage)
            self.source.uses += [use] if use.path or attribute else []
        for fqn, bases, scope in self.bases:
            self.source.bases[fqn] = [path for base in bases if (path := scope.path(base, module))]

    def _record(self, node: ast.AST, scope: Scope) -> Scope:
        """Returns the scope of the node's `_INNER_FIELDS`."""
        match node:
            case ast.Name(id=name, ctx=ast.Load()) | ast.Attribute(attr=name, ctx=ast.Load()):
                if name.isupper():
                    self.uses.append((node, scope, "read"))
            case ast.FunctionDef() | ast.AsyncFunctionDef() | ast.ClassDef():
                return self._define(node, scope)
            case ast.Lambda():
                _bind_parameters(node, inner := Scope(scope.symbol, scope))
                return inner
            case ast.ListComp() | ast.SetComp() | ast.DictComp() | ast.GeneratorExp():
                return Scope(scope.symbol, scope)
            case ast.Call():
                self.uses.append((node.func, scope, "call"))
            case ast.Import() | ast.ImportFrom():
                self._import(node, scope)
            case ast.Assign() | ast.AnnAssign() if scope.is_class or not scope.outer:
                self._assign(node, scope)
            case ast.Name(id=name, ctx=ast.Store() | ast.Del()):
                scope.bind(name, self.bindings.get(node))
            case (ast.ExceptHandler(name=str(name)) | ast.MatchAs(name=str(name)) | ast.MatchStar(name=str(name))
                  | ast.MatchMapping(rest=str(name))):
                scope.bind(name)
            case ast.Global(names=names) | ast.Nonlocal(names=names):
                for name in names:
                    scope.bind(name)
                    self.module.bind(name)
        return scope

    def _define(self, node: ast.FunctionDef | ast.AsyncFunctionDef | ast.ClassDef, scope: Scope) -> Scope:
        """Records a function or class; returns its scope."""
        is_class = isinstance(node, ast.ClassDef)
        symbol = self._add_symbol(node.name, "class" if is_class else "method" if scope.is_class else "function",
                                  node, scope, _signature(node), ast.get_docstring(node))
        symbol.is_endpoint = not is_class and _is_endpoint(node)
        self.uses += [(each, scope, "decorator") for each in node.decorator_list]
        scope.bind(node.name, Binding((symbol.fqn,)))
        inner = Scope(symbol, scope, is_class=is_class)
        if is_class:
            self.bases.append((symbol.fqn, node.bases, scope))
            self.uses += [(each, scope, "base class") for each in node.bases]
        else:
            _bind_parameters(node, inner)
        return inner

    def _assign(self, node: ast.Assign | ast.AnnAssign, scope: Scope) -> None:
        """Records constants: the names without lower-case letters. Another name is an alias if the value is a name."""
        targets = node.targets if isinstance(node, ast.Assign) else [node.target]
        nodes = [each for target in targets for each in getattr(target, "elts", [target]) if isinstance(each, ast.Name)]
        path = scope.path(node.value, self.source.module) if node.value and scope is self.module else None
        for name in nodes:
            if name.id.isupper():
                symbol = self._add_symbol(name.id, "constant", node, scope, self._text(node))
                self.bindings[name] = Binding((symbol.fqn,))
            elif path and name in targets:
                self.bindings[name] = Binding(tuple(".".join((start, *path[1])) for start in path[0]))

    def _text(self, node: ast.stmt) -> str:
        lines = self.lines[node.lineno - 1 : node.end_lineno]
        text = " ".join(line.decode(errors="replace").strip() for line in lines)
        return text if len(text) <= SIGNATURE_CHARS else text[: SIGNATURE_CHARS - 1] + "\N{HORIZONTAL ELLIPSIS}"

    def _add_symbol(self, name: str, kind: str, node: ast.stmt, scope: Scope, signature: str,
                    docstring: str | None = None) -> Symbol:
        symbol = Symbol(
            fqn=f"{scope.symbol.fqn if scope.symbol else self.source.module}.{name}",
            name=name,
            kind=kind,
            start_line=node.lineno,
            end_line=node.end_lineno,
            signature=signature,
            docstring=encodable(docstring[:DOCSTRING_CHARS]) if docstring else None,
            is_export=not name.startswith("_") and (scope.symbol is None or scope.symbol.is_export),
            docstring_truncated=docstring is not None and len(docstring) > DOCSTRING_CHARS,
        )
        self.source.symbols.append(symbol)
        return symbol

    def _import(self, node: ast.Import | ast.ImportFrom, scope: Scope) -> None:
        if isinstance(node, ast.ImportFrom):
            modules = (_relative_module(self.source, node),) if node.level else self._absolute(node.module or "")
            for alias in node.names:
                self.source.imports.append((modules, alias.name))
                targets = tuple(f"{module}.{alias.name}" for module in modules)
                scope.bind(alias.asname or alias.name, Binding(targets))
        else:
            for alias in node.names:
                self.source.imports.append((self._absolute(alias.name), None))
                first = alias.name.partition(".")[0]  # `import a.b` binds a
                scope.bind(alias.asname or first, Binding(self._absolute(alias.name if alias.asname else first)))

    def _absolute(self, module: str) -> tuple[str, ...]:
        """The possible modules of an absolute import."""
        folder = self.source.script_folder
        return (f"{folder}.{module}", module) if folder else (module,)


def _bind_parameters(node: ast.AST, scope: Scope) -> None:
    """Parameters are unknown objects, except the first one of a method."""
    found = node.args
    parameters = [*found.posonlyargs, *found.args, *found.kwonlyargs, found.vararg, found.kwarg]
    if scope.outer.is_class and (found.posonlyargs or found.args) and not isinstance(node, ast.Lambda):
        decorators = {getattr(each, "id", None) for each in node.decorator_list}
        if "staticmethod" not in decorators:
            is_class_method = "classmethod" in decorators or node.name in ("__new__", "__init_subclass__")
            scope.bind(parameters.pop(0).arg, Binding((scope.outer.symbol.fqn,), is_instance=not is_class_method))
    for parameter in filter(None, parameters):
        scope.bind(parameter.arg)


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


def _relative_module(source: SourceFile, node: ast.ImportFrom) -> str:
    up = node.level - (1 if source.path.endswith("__init__.py") else 0)
    package = source.module.split(".")
    return ".".join([*package[: len(package) - up], *([node.module] if node.module else [])])
