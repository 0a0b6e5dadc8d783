"""The arguments of tools: published to clients as JSON Schema, and checked against the same schemas. Limits that no
sensible argument reaches are only checked, because a model pays for each published word."""

from __future__ import annotations

from typing import Any

MAX_CHARS = 1000
MAX_INTEGER = 10**9

Schema = dict[str, Any]


class ToolError(ValueError):
    """An error for the client: it can correct its arguments, or call again later."""


def string(description: str) -> Schema:
    return {"type": "string", "description": description}


def integer(minimum: int, **more: Any) -> Schema:
    return {"type": "integer", "minimum": minimum, **more}


def choice(*values: str, **more: Any) -> Schema:
    return {"type": "string", "enum": list(values), **more}


def object_schema(*required: str, **properties: Schema) -> Schema:
    members = {"type": "object", "properties": properties, "additionalProperties": False}
    return members | ({"required": list(required)} if required else {})


def paging(limit: int = 20) -> dict[str, Schema]:
    return {
        "offset": integer(0, default=0),
        "limit": integer(1, maximum=100, default=limit),
    }


def checked(arguments: dict[str, Any], schema: Schema) -> dict[str, Any]:
    """The arguments with the defaults of the missing ones; raises ToolError."""
    properties = schema["properties"]
    for name in arguments:
        if name not in properties:
            raise ToolError(f"{name}: is not an argument of this tool, which has: {', '.join(properties) or 'none'}")
    for name in schema.get("required", ()):
        if name not in arguments:
            raise ToolError(f"{name}: is missing")
    # For JSON Schema, 2.0 is an integer.
    given = {name: int(value) if isinstance(value, float) and value.is_integer() else value
             for name, value in arguments.items()}
    for name, value in given.items():
        if problem := _problem(value, properties[name]):
            raise ToolError(f"{name}: {problem}")
    return {name: each["default"] for name, each in properties.items() if "default" in each} | given


def _problem(value: Any, schema: Schema) -> str | None:
    if schema["type"] == "integer":
        if type(value) is not int:  # a bool is not an integer
            return "must be an integer"
        lowest, highest = schema["minimum"], schema.get("maximum", MAX_INTEGER)
        return None if lowest <= value <= highest else f"must be from {lowest} to {highest}"
    if not isinstance(value, str):
        return "must be a string"
    if value not in schema.get("enum", [value]):
        return f"must be one of {', '.join(schema['enum'])}"
    if not value.strip():
        return "must not be blank"
    if len(value) > MAX_CHARS:
        return f"must have at most {MAX_CHARS} characters"
    return "contains a lone surrogate" if any("\ud800" <= char <= "\udfff" for char in value) else None
