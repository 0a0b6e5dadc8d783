"""Validates values with JSON Schemas: reads a list of [schema as text, value] from standard input, and writes a list of
error messages, null for a valid value. It is a separate program because jsonschema may be installed only for another
interpreter than the one under test."""

import functools
import json
import sys

from jsonschema import Draft202012Validator
from jsonschema.exceptions import best_match


@functools.cache
def validator(schema: str) -> Draft202012Validator:
    Draft202012Validator.check_schema(json.loads(schema))
    return Draft202012Validator(json.loads(schema))


def error(schema: str, value: object) -> str | None:
    found = best_match(validator(schema).iter_errors(value))
    return found and f"{found.json_path}: {found.message}"


json.dump([error(*case) for case in json.load(sys.stdin)], sys.stdout)
