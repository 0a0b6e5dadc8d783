"""Generates the functions of the stubs from the module: parameters, defaults, types and documentation. For each record
class it generates a protocol with the attributes that the builder reads and their types in the schemas."""

import inspect
import json
import re
from collections.abc import Callable
from pathlib import Path
from typing import Any

from hollin import mcp_responses

ROOT = Path(__file__).resolve().parents[1]
STUBS = ROOT / "hollin-stubs" / "mcp_responses.pyi"
GENERATED_FROM = "# From here on `./dev stubs` writes"
MAX_COLUMNS = 120

# The schema whose keys are a record's attributes, and the attributes that are not keys.
RECORDS = {"Symbol": "symbol_details", "Reference": "reference_row", "ComponentInfo": "component"}
OTHER_ATTRIBUTES = {"file_path": "str | None", "caller_symbol": "_Dict | None"}
TYPES = {"string": "str", "integer": "int", "boolean": "bool", "null": "None"}
EMPTY: dict[str, Any] = {"str": "", "int": 0, "float": 0.0, "bool": False, "list": [], "dict": {}}
# The stubs accept more types than the annotations of the module declare.
ACCEPTED = {
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
    """A record whose attributes are all None. It lists the attributes that a builder reads."""

    def __init__(self) -> None:
        self.read = list[str]()

    def __getattr__(self, name: str) -> None:
        self.read.append(name)


def record_kind(function: Callable[..., Any]) -> str | None:
    return next((one for one in function.__annotations__.values() if one in RECORDS), None)


def protocol_name(function: str) -> str:
    return "_" + function.removeprefix("build_").title().replace("_", "") + "Record"


def argument(annotation: str) -> Any:
    """An argument for a parameter: an empty value of its first type, or None."""
    return EMPTY.get(re.match(r"\w*", annotation)[0])


def attributes_read(function: Callable[..., Any]) -> list[str]:
    record, *others = inspect.signature(function).parameters.values()
    recorder = Recorder()
    function(**{record.name: recorder}, **{one.name: argument(one.annotation) for one in others})
    return recorder.read


def attribute_type(file: str, name: str) -> str:
    if name in OTHER_ATTRIBUTES:
        return OTHER_ATTRIBUTES[name]
    schema = json.loads((ROOT / file).read_text("utf-8"))
    if name not in schema["properties"]:
        raise LookupError(f"{file} has no property {name}")
    types = schema["properties"][name]["type"]
    types = [types] if isinstance(types, str) else types
    if name not in schema["required"]:
        types = [*types, "null"]
    return " | ".join(TYPES[one] for one in types)


def protocol(function: Callable[..., Any], record: str) -> str:
    types = {name: attribute_type(f"schemas/{RECORDS[record]}.json", name) for name in attributes_read(function)}
    properties = [f"    @property\n    def {name}(self) -> {type_}: ...\n" for name, type_ in types.items()]
    return f"class {protocol_name(function.__name__)}(Protocol):\n" + "".join(properties)


def accepted_type(function: str, declared: str) -> str:
    if declared in RECORDS:
        return f"{protocol_name(function)} | SimpleNamespace"
    for narrow, wide in ACCEPTED.items():
        declared = declared.replace(narrow, wide)
    return in_double_quotes(declared)


def in_double_quotes(code: str) -> str:
    return code.replace("'", '"')


def parameters(function: Callable[..., Any]) -> list[str]:
    written = []
    for one in inspect.signature(function).parameters.values():
        if one.kind is one.KEYWORD_ONLY and "*" not in written:
            written.append("*")
        default = "" if one.default is one.empty else f" = {in_double_quotes(repr(one.default))}"
        written.append(f"{one.name}: {accepted_type(function.__name__, one.annotation)}{default}")
    return written


def head(function: Callable[..., Any]) -> str:
    """The first line of a function, broken as formatters break it."""
    name, returns = function.__name__, function.__annotations__["return"]
    joined = ", ".join(parameters(function))
    for inside in (joined, f"\n    {joined}\n", "".join(f"\n    {one}," for one in parameters(function)) + "\n"):
        code = f"def {name}({inside}) -> {returns}:"
        if all(len(line) <= MAX_COLUMNS for line in code.splitlines()):
            break
    return code


def stub(function: Callable[..., Any]) -> str:
    documentation = "".join(f"    {line}".rstrip() + "\n" for line in str(inspect.getdoc(function)).splitlines())
    return f'{head(function)}\n    """{documentation.strip()}\n    """\n'


def with_functions(stubs: str, module: Any) -> str:
    end = stubs.index("\n\n", stubs.index(GENERATED_FROM)) + 1
    records = [(function, record) for function in functions(module) if (record := record_kind(function))]
    return "\n".join([stubs[:end], *(protocol(*one) for one in records), *map(stub, functions(module))])


if __name__ == "__main__":
    STUBS.write_text(with_functions(STUBS.read_text("utf-8"), mcp_responses), "utf-8")
