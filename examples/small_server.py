"""A small MCP server to start from: three tools that answer from a table of SQLite, on standard input and output."""

from __future__ import annotations

import json
import sqlite3
import sys
from collections.abc import Callable
from typing import Any, NamedTuple

from hollin import mcp_responses

Answer = dict[str, Any]


class Symbol(NamedTuple):
    """A record: any object with the attributes that the builders read."""

    fqn: str
    name: str
    kind: str
    file_path: str
    start_line: int
    end_line: int
    signature: str | None
    docstring: str | None
    docstring_truncated: bool = False
    is_export: bool = True


RECORDS = [
    Symbol("shop.cart.Cart", "Cart", "class", "shop/cart.py", 3, 20, None, "Lines to pay. Taxes are not included."),
    Symbol("shop.cart.Cart.total", "total", "method", "shop/cart.py", 12, 20, "def total(self) -> float", None),
    Symbol("shop.pay.pay", "pay", "function", "shop/pay.py", 5, 9, "def pay(cart: Cart)", "Pays the total."),
]
database = sqlite3.connect(":memory:")
database.execute(f"CREATE TABLE symbols ({', '.join(Symbol._fields)})")
database.executemany(f"INSERT INTO symbols VALUES ({', '.join('?' * len(Symbol._fields))})", RECORDS)


def select(condition: str, *values: object) -> list[Symbol]:
    rows = database.execute(f"SELECT * FROM symbols WHERE {condition}", values)
    return [Symbol(*row[:-2], *map(bool, row[-2:])) for row in rows]  # SQLite stores True as 1


def search(query: str, offset: int = 0, limit: int = 20) -> Answer:
    count = database.execute("SELECT count(*) FROM symbols WHERE instr(fqn, ?)", (query,))
    found = select("instr(fqn, ?) ORDER BY fqn LIMIT ? OFFSET ?", query, limit, offset)
    rows = [mcp_responses.build_symbol_search_result(each, each.file_path) for each in found]
    return mcp_responses.build_paginated_response(rows, count.fetchone()[0], offset, items_key="symbols")


def symbol(fqn: str) -> Answer:
    for found in select("fqn = ?", fqn):
        return mcp_responses.build_symbol_full_details(found, found.file_path)
    return {"found": False, "message": f"No symbol is named {fqn}."}


def file(path: str) -> Answer:
    found = select("file_path = ? ORDER BY start_line", path)
    module = mcp_responses.outline_module(each.fqn for each in found)
    rows = [mcp_responses.build_file_symbol(each, module) for each in found]
    return mcp_responses.build_paginated_response(rows, len(rows), 0, items_key="symbols")


TEXT, COUNT = {"type": "string"}, {"type": "integer", "minimum": 0}
# The function of each tool, its description, and its arguments, of which the first is required.
TOOLS: dict[str, tuple[Callable[..., Answer], str, dict[str, Any]]] = {
    "search": (search, "Lists symbols by a part of their name.", {"query": TEXT, "offset": COUNT, "limit": COUNT}),
    "symbol": (symbol, "Returns signature, docstring and lines of a symbol that search lists.", {"fqn": TEXT}),
    "file": (file, "Lists the symbols of a file in the order of their lines.", {"path": TEXT}),
}


def list_tools() -> Answer:
    tools = [{"name": name, "description": description,
              "inputSchema": {"type": "object", "properties": arguments, "required": [*arguments][:1]}}
             for name, (_, description, arguments) in TOOLS.items()]
    return {"tools": tools}


def call_tool(name: str, arguments: dict[str, Any]) -> Answer:
    try:
        answer = TOOLS[name][0](**arguments)
        content = {"type": "text", "text": mcp_responses.tool_result_text(answer)}
        return {"content": [content], "structuredContent": answer}
    except Exception as error:  # a model can correct its arguments if it reads the reason
        return {"content": [{"type": "text", "text": f"{type(error).__name__}: {error}"}], "isError": True}


def reply(method: str, params: dict[str, Any]) -> Answer:
    """The members of a response of JSON-RPC."""
    match method:
        case "initialize":
            info = {"name": "small", "version": "1"}
            return {"result": {"protocolVersion": "2025-06-18", "capabilities": {"tools": {}}, "serverInfo": info}}
        case "ping":
            return {"result": {}}
        case "tools/list":
            return {"result": list_tools()}
        case "tools/call":
            return {"result": call_tool(params["name"], params.get("arguments", {}))}
    return {"error": {"code": -32601, "message": f"Unknown method: {method}"}}


for line in sys.stdin.buffer:
    message = json.loads(line)
    if "id" in message:  # a notification is not answered
        response = {"jsonrpc": "2.0", "id": message["id"], **reply(message["method"], message.get("params", {}))}
        print(json.dumps(response), flush=True)
