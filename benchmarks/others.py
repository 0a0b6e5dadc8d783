"""Other JSON encoders: those installed for this interpreter, or packaged by Debian."""

from __future__ import annotations

import importlib.machinery
import importlib.util
import sys
from collections.abc import Callable
from types import ModuleType
from typing import Any

_DEBIAN_PACKAGES = "/usr/lib/python3/dist-packages"


def _load(name: str) -> ModuleType | None:
    """Also finds Debian's packages, which work with any CPython of their minor version."""
    spec = importlib.util.find_spec(name) or importlib.machinery.PathFinder.find_spec(name, [_DEBIAN_PACKAGES])
    if spec is None or spec.loader is None:
        return None
    try:
        module = sys.modules[name] = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(module)
    except ImportError:
        return None
    return module


def answer_of(statement: str, namespace: dict[str, Any]) -> Any:
    """The value of the statement, or None if the encoder rejects the input, as a lone surrogate or a large integer."""
    try:
        return eval(statement, namespace)
    except (TypeError, ValueError):
        return None


# Each returns a str. For encoders that return bytes, the time includes the decoding.
_MAKERS: dict[str, Callable[[Any], Callable[[Any], str]]] = {
    "msgspec": lambda msgspec: lambda value: msgspec.json.encode(value).decode(),
    "orjson": lambda orjson: lambda value: orjson.dumps(value).decode(),
    "rapidjson": lambda rapidjson: lambda value: rapidjson.dumps(value, ensure_ascii=False),
    "ujson": lambda ujson: lambda value: ujson.dumps(value, ensure_ascii=False, escape_forward_slashes=False),
}
MODULES = {name: module for name in _MAKERS if (module := _load(name))}
ENCODERS = {name: _MAKERS[name](module) for name, module in MODULES.items()}
