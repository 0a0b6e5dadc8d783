"""The arguments that tools take: told to clients as JSON Schema, and checked against the same words."""

from __future__ import annotations

from typing import Any

LARGEST = 1_000_000_000
TEXT_CHARS = 1000

Schema = dict[str, Any]

_KINDS = {"string": (str, "text"), "integer": (int, "a whole number")}


class ArgumentError(ValueError):
    """Says which argument is wrong, and why."""

    def __init__(self, name: str, why: str) -> None:
        super().__init__(f"{name}: {why}")


def text(description: str) -> Schema:
    return {"type": "string", "minLength": 1, "maxLength": TEXT_CHARS, "description": description}


def integer(description: str, minimum: int, maximum: int = LARGEST, **more: Any) -> Schema:
    return {"type": "integer", "minimum": minimum, "maximum": maximum, "description": description, **more}


def choice(description: str, *values: str, **more: Any) -> Schema:
    return {"type": "string", "enum": list(values), "description": description, **more}


def object_schema(*required: str, **properties: Schema) -> Schema:
    return {"type": "object", "properties": properties, "required": list(required), "additionalProperties": False}


PAGING = {
    "offset": integer("How many rows to pass over", 0, default=0),
    "limit": integer("How many rows to list at most", 1, 100, default=20),
}


def checked(arguments: dict[str, Any], schema: Schema) -> dict[str, Any]:
    """The arguments with the defaults of those left out; raises ArgumentError."""
    properties = schema["properties"]
    for name in arguments:
        if name not in properties:
            raise ArgumentError(name, f"is not an argument here; these are: {', '.join(properties) or 'none'}")
    for name in schema["required"]:
        if name not in arguments:
            raise ArgumentError(name, "is missing")
    given = {name: _whole(value) for name, value in arguments.items()}
    for name, value in given.items():
        _check(name, value, properties[name])
    return {name: each["default"] for name, each in properties.items() if "default" in each} | given


def _whole(value: Any) -> Any:
    """JSON Schema's integers are the numbers without a fraction, however they are written: 2.0 is one."""
    return int(value) if isinstance(value, float) and value.is_integer() else value


def _check(name: str, value: Any, schema: Schema) -> None:
    kind, words = _KINDS[schema["type"]]
    if type(value) is not kind:  # a boolean is no integer here
        raise ArgumentError(name, f"must be {words}")
    if kind is str:
        _check_text(name, value, schema)
    elif not schema["minimum"] <= value <= schema["maximum"]:
        raise ArgumentError(name, f"must be from {schema['minimum']} to {schema['maximum']}")


def _check_text(name: str, value: str, schema: Schema) -> None:
    if value not in schema.get("enum", [value]):
        raise ArgumentError(name, f"must be one of {', '.join(schema['enum'])}")
    if not 1 <= len(value) <= TEXT_CHARS:
        raise ArgumentError(name, f"must have 1 to {TEXT_CHARS} characters")
    if any("\ud800" <= char <= "\udfff" for char in value):
        raise ArgumentError(name, "holds half of a surrogate pair, which is no character")
