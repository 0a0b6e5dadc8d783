"""The service as an MCP server: JSON-RPC 2.0 over standard input and output, one message a line."""

from __future__ import annotations

import argparse
import json
import logging
import os
import sys
import threading
from pathlib import Path
from typing import Any, BinaryIO

from hollin.arguments import ArgumentError, checked
from hollin.index import Index
from hollin.mcp_responses import get_empty_response, tool_result_text
from hollin.shapes import output_schema
from hollin.tools import TOOLS

VERSIONS = ("2025-06-18", "2025-11-25")
PARSE_ERROR, INVALID_REQUEST, METHOD_NOT_FOUND, INVALID_PARAMS, INTERNAL_ERROR = -32700, -32600, -32601, -32602, -32603

Message = dict[str, Any]
logger = logging.getLogger("hollin.server")


class ProtocolError(Exception):
    def __init__(self, code: int, message: str) -> None:
        super().__init__(message)
        self.code = code


class Server:
    """Answers one line at a time; until it is given an index, every tool gives its empty answer."""

    def __init__(self, out: BinaryIO) -> None:
        self._out = out
        self._writing = threading.Lock()
        self._index: Index | None = None
        self._greeted = False  # the client has asked to initialize
        self._operating = False  # the client has heard the answer, so that it may be told of changes
        self._methods = {
            "initialize": self._initialize,
            "ping": self._ping,
            "tools/list": self._list_tools,
            "tools/call": self._call_tool,
        }

    def use(self, index: Index) -> None:
        """From now on the tools answer about this index; any thread may call this."""
        self._index = index
        if self._operating:
            self._send({"method": "notifications/tools/list_changed"})

    def take(self, line: bytes) -> None:
        """A request gets one line in return; a notification and an answer get none."""
        message = None
        try:
            message = _parsed(line)
            if _is_request(message):
                self._send({"id": message["id"], "result": self._result(message)})
            elif message.get("method") == "notifications/initialized":
                self._operating = self._greeted
        except ProtocolError as error:
            self._send({"id": _id(message), "error": {"code": error.code, "message": str(error)}})

    def _result(self, request: Message) -> Message:
        name, params = request["method"], request.get("params", {})
        method = self._methods.get(name)
        if not method:
            raise ProtocolError(METHOD_NOT_FOUND, f"Unknown method: {name}")
        if not isinstance(params, dict):
            raise ProtocolError(INVALID_PARAMS, "params must be an object")
        if not self._greeted and name not in ("initialize", "ping"):
            raise ProtocolError(INVALID_REQUEST, f"{name} came before initialize")
        return method(params)

    def _initialize(self, params: Message) -> Message:
        wanted = params.get("protocolVersion")
        if not isinstance(wanted, str):
            raise ProtocolError(INVALID_PARAMS, "protocolVersion must be a string")
        self._greeted = True
        return {
            "protocolVersion": wanted if wanted in VERSIONS else VERSIONS[-1],
            "capabilities": {"tools": {"listChanged": True}},
            "serverInfo": {"name": "hollin", "title": "Code intelligence (example)", "version": "1"},
        }

    def _ping(self, params: Message) -> Message:
        return {}

    def _list_tools(self, params: Message) -> Message:
        if "cursor" in params:
            raise ProtocolError(INVALID_PARAMS, "cursor: the list has one page only")
        listed = {name: tool for name, tool in TOOLS.items() if tool.handler or not self._index}
        return {
            "tools": [
                {
                    "name": name,
                    "description": tool.description,
                    "inputSchema": tool.arguments,
                    "outputSchema": output_schema(name),
                }
                for name, tool in listed.items()
            ]
        }

    def _call_tool(self, params: Message) -> Message:
        name, arguments, index = params.get("name"), params.get("arguments", {}), self._index
        if not isinstance(name, str) or not isinstance(arguments, dict):
            raise ProtocolError(INVALID_PARAMS, "name must be a string and arguments an object")
        tool = TOOLS.get(name)
        if not tool or (index and not tool.handler):
            raise ProtocolError(INVALID_PARAMS, f"Unknown tool: {name}")
        if not index:
            return _answered(get_empty_response(name))
        try:
            return _answered(tool.handler(index, **checked(arguments, tool.arguments)))
        except ArgumentError as error:
            return {"content": _content(str(error)), "isError": True}
        except Exception as error:
            logger.exception("%s failed", name)
            raise ProtocolError(INTERNAL_ERROR, f"{name} failed; the server's log says why") from error

    def _send(self, message: Message) -> None:
        text = json.dumps({"jsonrpc": "2.0", **message}, ensure_ascii=False, separators=(",", ":"))
        # A lone surrogate, which a client's id may hold, becomes the JSON escape that it came as.
        line = text.encode("utf-8", "backslashreplace") + b"\n"
        with self._writing:
            self._out.write(line)
            self._out.flush()


def _parsed(line: bytes) -> Any:
    try:
        return json.loads(line.decode("utf-8"), parse_constant=_refuse)
    except (ValueError, RecursionError) as error:
        raise ProtocolError(PARSE_ERROR, f"Not a JSON text: {error}") from error


def _refuse(word: str) -> None:
    raise ValueError(f"{word} is no JSON")


def _is_request(message: Any) -> bool:
    """False for a notification and for an answer; raises for what is no message."""
    if not isinstance(message, dict):
        raise ProtocolError(INVALID_REQUEST, "A message is one JSON object; batches are not taken")
    if "method" not in message and ("result" in message or "error" in message):
        return False
    if message.get("jsonrpc") != "2.0" or not isinstance(message.get("method"), str):
        raise ProtocolError(INVALID_REQUEST, 'A message has "jsonrpc": "2.0" and the name of a method')
    if "id" in message and _id(message) is None:
        raise ProtocolError(INVALID_REQUEST, "id must be a string or an integer")
    return "id" in message


def _id(message: Any) -> str | int | None:
    found = message.get("id") if isinstance(message, dict) else None
    return found if type(found) in (str, int) else None


def _answered(answer: Message) -> Message:
    """The answer twice: as the text that a model reads, and as the object that a program takes."""
    return {"content": _content(tool_result_text(answer)), "structuredContent": answer, "isError": False}


def _content(text: str) -> list[Message]:
    return [{"type": "text", "text": text}]


def _build(root: Path, server: Server, stop: threading.Event) -> None:
    index = Index(root)
    try:
        for _ in index.build():
            if stop.is_set():
                return
        logger.info("%d files with %d symbols indexed in %s", len(index.files), len(index.symbols), root)
        server.use(index)
    except Exception:
        logger.exception("The index of %s could not be made", root)


def _own_output() -> BinaryIO:
    """Standard output for messages alone: whatever else is printed in this process joins the log."""
    out = os.fdopen(os.dup(1), "wb")
    os.dup2(2, 1)
    return out


def _root() -> Path | None:
    parser = argparse.ArgumentParser(prog="hollin.server", description="MCP server about a tree of Python sources")
    parser.add_argument("--root", type=Path, metavar="FOLDER", help="the tree; without it, every answer is empty")
    root = parser.parse_args().root
    if root and not root.is_dir():
        parser.exit(2, f"hollin.server: {root} is not a folder\n")
    return root


def main() -> None:
    root, stop = _root(), threading.Event()
    logging.basicConfig(level=logging.INFO, format="%(name)s: %(message)s")
    logger.info("MCP on standard input and output, about %s", root or "nothing: without --root every answer is empty")
    server = Server(_own_output())
    indexing = threading.Thread(target=_build, args=(root, server, stop))
    if root:
        indexing.start()
    try:
        for line in sys.stdin.buffer:
            if line.strip():
                server.take(line)
    except (BrokenPipeError, KeyboardInterrupt):
        pass  # the client is gone
    finally:
        stop.set()


if __name__ == "__main__":
    main()
