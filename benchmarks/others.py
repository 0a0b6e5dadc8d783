"""Other encoders of Python values, where Debian's packages are there and this interpreter loads them."""

from __future__ import annotations

import importlib
import importlib.machinery
import importlib.util
from collections.abc import Callable
from types import ModuleType
from typing import Any

_DEBIAN_PACKAGES = "/usr/lib/python3/dist-packages"


def _load(name: str) -> ModuleType | None:
    """Debian's package fits any CPython of its minor version, also one that does not look there by itself."""
    spec = importlib.util.find_spec(name) or importlib.machinery.PathFinder.find_spec(name, [_DEBIAN_PACKAGES])
    if spec is None or spec.loader is None:
        return None
    try:
        module = importlib.util.module_from_spec(spec)
        spec.loader.exec_module(module)
    except ImportError:
        return None
    return module


def _encoder(module: ModuleType, **options: Any) -> Callable[[Any], str]:
    return lambda value: module.dumps(value, ensure_ascii=False, **options)


MODULES = {name: module for name in ("ujson", "rapidjson") if (module := _load(name))}
_OPTIONS = {"ujson": {"escape_forward_slashes": False}, "rapidjson": {}}
ENCODERS = {name: _encoder(module, **_OPTIONS[name]) for name, module in MODULES.items()}
