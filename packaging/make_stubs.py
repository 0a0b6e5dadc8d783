"""Writes the functions of the stubs anew, as the module tells them: parameters, defaults, types and documentation."""

import inspect
from collections.abc import Callable
from pathlib import Path
from typing import Any

from hollin import mcp_responses

STUBS = Path(__file__).resolve().parents[1] / "hollin-stubs" / "mcp_responses.pyi"
MOST_COLUMNS = 120

# The stubs know for each builder what it reads of a record.
RECORDS = {
    "build_symbol_search_result": "_FoundSymbol",
    "build_symbol_full_details": "_WholeSymbol",
    "build_file_symbol": "_OutlineSymbol",
    "build_api_endpoint": "_EndpointSymbol",
    "build_reference": "_Reference",
    "build_component": "_ComponentInfo",
}
# What is taken where the module declares less.
TAKEN = {
    "list[dict[str, Any]]": "Sequence[_Dict]",
    "dict[str, Any]": "_Dict",
    "dict[str, int]": "_Dict",
    "list[Any]": "list[Any] | tuple[Any, ...]",
    "list[str]": "list[str] | tuple[str, ...]",
    "Path": "str | os.PathLike[str]",
}


def functions(module: Any) -> list[Callable[..., Any]]:
    return [one for one in vars(module).values() if type(one).__name__ == "function" and one.__module__ == module.__name__]


def taken(function: str, declared: str) -> str:
    if declared in ("Symbol", "Reference", "ComponentInfo"):
        return f"{RECORDS[function]} | SimpleNamespace"
    for less, more in TAKEN.items():
        declared = declared.replace(less, more)
    return in_double_quotes(declared)


def in_double_quotes(code: str) -> str:
    return code.replace("'", '"')


def parameters(function: Callable[..., Any]) -> list[str]:
    written = []
    for one in inspect.signature(function).parameters.values():
        if one.kind is one.KEYWORD_ONLY and "*" not in written:
            written.append("*")
        default = "" if one.default is one.empty else f" = {in_double_quotes(repr(one.default))}"
        written.append(f"{one.name}: {taken(function.__name__, one.annotation)}{default}")
    return written


def head(function: Callable[..., Any]) -> str:
    """Broken into lines as formatters do it."""
    name, returns = function.__name__, function.__annotations__["return"]
    joined = ", ".join(parameters(function))
    for inside in (joined, f"\n    {joined}\n", "".join(f"\n    {one}," for one in parameters(function)) + "\n"):
        code = f"def {name}({inside}) -> {returns}:"
        if all(len(line) <= MOST_COLUMNS for line in code.splitlines()):
            break
    return code


def stub(function: Callable[..., Any]) -> str:
    documentation = "".join(f"    {line}".rstrip() + "\n" for line in function.__doc__.splitlines()).rstrip()
    return f'{head(function)}\n    """{documentation.lstrip()}\n    """\n'


def with_functions(stubs: str, module: Any) -> str:
    by_hand, _, _ = stubs.partition("\ndef ")
    return "\n".join([by_hand, *map(stub, functions(module))])


if __name__ == "__main__":
    STUBS.write_text(with_functions(STUBS.read_text("utf-8"), mcp_responses), "utf-8")
