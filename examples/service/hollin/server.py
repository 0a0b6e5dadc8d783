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
from hollin.tools import TOOLS, Tool

VERSIONS = ("2025-06-18", "2025-11-25")
PARSE_ERROR, INVALID_REQUEST, METHOD_NOT_FOUND, INVALID_PARAMS, INTERNAL_ERROR = -32700, -32600, -32601, -32602, -32603

INSTRUCTIONS = """Answers about the symbols, files, tests and wiki of one tree of Python sources.
Begin with search, which finds fully qualified names by words; then ask symbol for one of them, or for its references.
Lines are counted from 1, offsets from 0, lengths in characters; token_budget counts 4 bytes of UTF-8 as a token.
A list that says "truncated": true goes on: call again with the offset raised by the rows you got, as most hints say.
While the tree is being indexed, status tells how far that is, and every other tool answers with an error."""

Message = dict[str, Any]
logger = logging.getLogger("hollin.server")


class ProtocolError(Exception):
    def __init__(self, code: int, message: str) -> None:
        super().__init__(message)
        self.code = code


class NotReady(Exception):
    """The index cannot answer yet, or never will."""


class Server:
    """Answers one line at a time, about an index that another thread may still be building. Without an index every tool
    gives its empty answer."""

    def __init__(self, out: BinaryIO, index: Index | None) -> None:
        self._out = out
        self._index = index
        self._tools = {name: tool for name, tool in TOOLS.items() if tool.handler or not index}
        self._greeted = False  # the client has asked to initialize
        self._methods = {
            "initialize": self._initialize,
            "ping": self._ping,
            "tools/list": self._list_tools,
            "tools/call": self._call_tool,
        }

    def take(self, line: bytes) -> None:
        """A request gets one line in return; a notification and an answer get none."""
        message = None
        try:
            message = _parsed(line)
            if _is_request(message):
                self._send({"id": message["id"], "result": self._result(message)})
        except ProtocolError as error:
            # Of a message whose id cannot be read, the answer has none.
            answers = {} if (number := _id(message)) is None else {"id": number}
            self._send({**answers, "error": {"code": error.code, "message": str(error)}})

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
            "capabilities": {"tools": {"listChanged": False}},
            "serverInfo": {"name": "hollin", "title": "Code intelligence (example)", "version": "1"},
            "instructions": INSTRUCTIONS,
        }

    def _ping(self, params: Message) -> Message:
        return {}

    def _list_tools(self, params: Message) -> Message:
        if "cursor" in params:
            raise ProtocolError(INVALID_PARAMS, "cursor: the list has one page only")
        return {
            "tools": [
                {
                    "name": name,
                    "title": tool.title,
                    "description": tool.description,
                    "inputSchema": tool.arguments,
                    "outputSchema": output_schema(name),
                    "annotations": {"readOnlyHint": True, "openWorldHint": False},
                }
                for name, tool in self._tools.items()
            ]
        }

    def _call_tool(self, params: Message) -> Message:
        name, arguments = params.get("name"), params.get("arguments", {})
        if not isinstance(name, str) or not isinstance(arguments, dict):
            raise ProtocolError(INVALID_PARAMS, "name must be a string and arguments an object")
        tool = self._tools.get(name)
        if not tool:
            raise ProtocolError(INVALID_PARAMS, f"Unknown tool: {name}")
        try:
            return _answered(self._answer(name, tool, checked(arguments, tool.arguments)))
        except (ArgumentError, NotReady) as error:
            return {"content": _content(str(error)), "isError": True}
        except Exception as error:
            logger.exception("%s failed", name)
            raise ProtocolError(INTERNAL_ERROR, f"{name} failed; the server's log says why") from error

    def _answer(self, name: str, tool: Tool, arguments: Message) -> Message:
        if not self._index:
            return get_empty_response(name)
        if name != "status" and not self._index.is_ready:
            raise NotReady(self._index.remark)
        return tool.handler(self._index, **arguments)

    def _send(self, message: Message) -> None:
        text = json.dumps({"jsonrpc": "2.0", **message}, ensure_ascii=False, separators=(",", ":"))
        # A lone surrogate, which a client's id may hold, becomes the JSON escape that it came as.
        self._out.write(text.encode("utf-8", "backslashreplace") + b"\n")
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


def build_index(index: Index, stop: threading.Event) -> None:
    try:
        for _ in index.build():
            if stop.is_set():
                return
    except Exception as error:
        index.failure = f"{type(error).__name__}: {error}"
        logger.exception("The index of %s could not be made", index.root)
    else:
        logger.info("%d files with %d symbols indexed in %s", len(index.files), len(index.symbols), index.root)
        for path in index.skipped[:10]:
            logger.info("left out, for it cannot be read or does not parse: %s", path)
        logger.info("%d left out, and hidden folders, links and %s", len(index.skipped), index.names_left_out)


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
    index = Index(root) if root else None
    server = Server(_own_output(), index)
    if index:
        threading.Thread(target=build_index, args=(index, stop)).start()
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
