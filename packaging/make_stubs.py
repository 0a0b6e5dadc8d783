"""Writes the functions of the stubs anew, as the module tells them: parameters, defaults, types, documentation; and
what each builder reads of a record, with the types that the schemas give."""

import inspect
import json
from collections.abc import Callable
from pathlib import Path
from typing import Any

from hollin import mcp_responses

ROOT = Path(__file__).resolve().parents[1]
STUBS = ROOT / "hollin-stubs" / "mcp_responses.pyi"
BY_HAND_UNTIL = "# From here on `./dev stubs` writes"
MOST_COLUMNS = 120

# The schema that has a record's attributes as keys, and those that it has not.
RECORDS = {"Symbol": "symbol_details", "Reference": "reference_row", "ComponentInfo": "component"}
OTHER_ATTRIBUTES = {"file_path": "str | None", "caller_symbol": "_Dict | None"}
TYPES = {"string": "str", "integer": "int", "boolean": "bool", "null": "None"}
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
    named = [one for one in vars(module).values() if type(one).__name__ == "function"]
    return [one for one in named if one.__module__ == module.__name__]


class Recorder:
    """A record of which nothing is known, and which attributes were asked for."""

    def __init__(self) -> None:
        self.read = list[str]()

    def __getattr__(self, name: str) -> None:
        self.read.append(name)


def record_kind(function: Callable[..., Any]) -> str | None:
    return next((one for one in function.__annotations__.values() if one in RECORDS), None)


def protocol_name(function: str) -> str:
    return "_" + function.removeprefix("build_").title().replace("_", "") + "Record"


def attribute_type(schema: dict[str, Any], name: str) -> str:
    if name in OTHER_ATTRIBUTES:
        return OTHER_ATTRIBUTES[name]
    types = schema["properties"][name]["type"]
    types = [types] if isinstance(types, str) else types
    if name not in schema["required"]:
        types = [*types, "null"]
    return " | ".join(TYPES[one] for one in types)


def protocol(function: Callable[..., Any], record: str) -> str:
    schema = json.loads((ROOT / "schemas" / f"{RECORDS[record]}.json").read_text("utf-8"))
    recorder = Recorder()
    function(recorder)
    lines = [f"    @property\n    def {name}(self) -> {attribute_type(schema, name)}: ...\n" for name in recorder.read]
    return f"class {protocol_name(function.__name__)}(Protocol):\n" + "".join(lines)


def taken(function: str, declared: str) -> str:
    if declared in RECORDS:
        return f"{protocol_name(function)} | SimpleNamespace"
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
    documentation = "".join(f"    {line}".rstrip() + "\n" for line in str(function.__doc__).splitlines())
    return f'{head(function)}\n    """{documentation.strip()}\n    """\n'


def with_functions(stubs: str, module: Any) -> str:
    end = stubs.index("\n\n", stubs.index(BY_HAND_UNTIL)) + 1
    records = [(function, record) for function in functions(module) if (record := record_kind(function))]
    return "\n".join([stubs[:end], *(protocol(*one) for one in records), *map(stub, functions(module))])


if __name__ == "__main__":
    STUBS.write_text(with_functions(STUBS.read_text("utf-8"), mcp_responses), "utf-8")
