"""The service as an MCP server: JSON-RPC 2.0 on standard input and output, one message per line."""

from __future__ import annotations

import argparse
import importlib.metadata
import json
import logging
import os
import sys
import threading
import time
from pathlib import Path
from typing import Any, BinaryIO

from hollin.arguments import ToolError, checked
from hollin.catalogue import TOOLS, output_schema
from hollin.index import Index
from hollin.mcp_responses import get_empty_response, tool_result_text

VERSIONS = ("2024-11-05", "2025-03-26", "2025-06-18", "2025-11-25")
WITH_BATCHES = VERSIONS[:2]
PARSE_ERROR, INVALID_REQUEST, METHOD_NOT_FOUND, INVALID_PARAMS, INTERNAL_ERROR = -32700, -32600, -32601, -32602, -32603

INSTRUCTIONS = """Answers questions about the symbols, files, tests and wiki of one tree of Python sources.
Call search first, which finds fully qualified names; then call symbol with one of them. For questions in words, call
wiki with the action ask. Lines are counted from 1, offsets from 0. Lengths are in characters. A token is 4 bytes of
UTF-8.
A list has at most limit rows. If it has "truncated": true, call again with offset increased by the number of rows that
you received. Paths are relative to the root. Changed, new and deleted files are noticed within two seconds."""

Message = dict[str, Any]
logger = logging.getLogger("hollin.server")


class ProtocolError(Exception):
    def __init__(self, code: int, message: str) -> None:
        super().__init__(message)
        self.code = code


class Server:
    """Answers one line at a time. If another thread is still building the index, a tool call waits for it, until
    `start_seconds` after the start of the server. Without an index, every tool returns its empty answer."""

    def __init__(self, out: BinaryIO, index: Index | None, start_seconds: float = 10.0) -> None:
        self._out = out
        self._index = index
        self._deadline = time.monotonic() + start_seconds
        self._version: str | None = None  # of the protocol, after initialize
        self._methods = {
            "initialize": self._initialize,
            "ping": lambda params: {},
            "tools/list": self._list_tools,
            "tools/call": self._call_tool,
        }

    def receive(self, line: bytes) -> None:
        """Answers a request, and the requests of a batch together. Notifications and responses get no answer."""
        try:
            message = _parsed(line)
        except ProtocolError as error:
            return self._send(_error(None, error))
        if isinstance(message, list) and message and self._version in WITH_BATCHES:
            answer: Any = [each for each in map(self._answer, message) if each]
        else:
            answer = self._answer(message)
        if answer:
            self._send(answer)

    def _answer(self, message: Any) -> Message | None:
        try:
            if not _is_request(message):
                return None
            return {"jsonrpc": "2.0", "id": message["id"], "result": self._result(message)}
        except ProtocolError as error:
            return _error(_id(message), error)

    def _result(self, request: Message) -> Message:
        name, params = request["method"], request.get("params", {})
        method = self._methods.get(name)
        if not method:
            raise ProtocolError(METHOD_NOT_FOUND, f"Unknown method: {name}")
        if not isinstance(params, dict):
            raise ProtocolError(INVALID_PARAMS, "params must be an object")
        if not self._version and name not in ("initialize", "ping"):
            raise ProtocolError(INVALID_REQUEST, f"{name} before initialize")
        return method(params)

    def _initialize(self, params: Message) -> Message:
        requested = params.get("protocolVersion")
        if not isinstance(requested, str):
            raise ProtocolError(INVALID_PARAMS, "protocolVersion must be a string")
        self._version = requested if requested in VERSIONS else VERSIONS[-1]
        version = importlib.metadata.version("mcp_responses")
        return {
            "protocolVersion": self._version,
            "capabilities": {"tools": {"listChanged": False}},
            "serverInfo": {"name": "hollin", "title": "Code intelligence (example)", "version": version},
            "instructions": INSTRUCTIONS,
        }

    def _list_tools(self, params: Message) -> Message:
        if "cursor" in params:
            raise ProtocolError(INVALID_PARAMS, "cursor: the list has only one page")
        return {
            "tools": [
                {
                    "name": name,
                    "title": tool.title,
                    "description": tool.description,
                    "inputSchema": tool.arguments,
                    "outputSchema": output_schema(name, has_tree=self._index is not None),
                    "annotations": {"readOnlyHint": True, "openWorldHint": False},
                }
                for name, tool in TOOLS.items()
            ]
        }

    def _call_tool(self, params: Message) -> Message:
        name, arguments = params.get("name"), params.get("arguments", {})
        if not isinstance(name, str) or not isinstance(arguments, dict):
            raise ProtocolError(INVALID_PARAMS, "name must be a string and arguments an object")
        if name not in TOOLS:
            raise ProtocolError(INVALID_PARAMS, f"Unknown tool: {name}")
        try:
            answer = self._tool_answer(name, checked(arguments, TOOLS[name].arguments))
            text = tool_result_text(answer)
        except ToolError as error:
            return {"content": [{"type": "text", "text": str(error)}], "isError": True}
        except Exception as error:
            logger.exception("%s failed", name)
            raise ProtocolError(INTERNAL_ERROR, f"{name} failed; the server's log has the reason") from error
        return {"content": [{"type": "text", "text": text}], "structuredContent": answer, "isError": False}

    def _tool_answer(self, name: str, arguments: Message) -> Message:
        if not self._index:
            return get_empty_response(name)
        if name != "status":
            self._index.done.wait(max(0.0, self._deadline - time.monotonic()))
            if reason := self._index.not_ready:
                raise ToolError(reason)
        return TOOLS[name].answer(self._index, arguments)

    def _send(self, message: Any) -> None:
        text = json.dumps(message, ensure_ascii=False, separators=(",", ":"))
        # A lone surrogate in a client's id is returned as the JSON escape that it was.
        self._out.write(text.encode("utf-8", "backslashreplace") + b"\n")
        self._out.flush()


def _error(number: str | int | None, error: ProtocolError) -> Message:
    """Without an id if that of the request is unknown."""
    with_id = {} if number is None else {"id": number}
    return {"jsonrpc": "2.0", **with_id, "error": {"code": error.code, "message": str(error)}}


def _parsed(line: bytes) -> Any:
    try:
        return json.loads(line.decode("utf-8"), parse_constant=_reject_constant)
    except (ValueError, RecursionError) as error:
        raise ProtocolError(PARSE_ERROR, f"Invalid JSON: {error}") from error


def _reject_constant(name: str) -> None:
    raise ValueError(f"{name} is not JSON")


def _is_request(message: Any) -> bool:
    """False for a notification and for a response; raises ProtocolError for other values."""
    if not isinstance(message, dict):
        raise ProtocolError(INVALID_REQUEST, "A message must be a JSON object")
    if "method" not in message and ("result" in message or "error" in message):
        return False
    if message.get("jsonrpc") != "2.0" or not isinstance(message.get("method"), str):
        raise ProtocolError(INVALID_REQUEST, 'A message must have "jsonrpc": "2.0" and the name of a method')
    if "id" in message and _id(message) is None:
        raise ProtocolError(INVALID_REQUEST, "id must be a string or an integer")
    return "id" in message


def _id(message: Any) -> str | int | None:
    found = message.get("id") if isinstance(message, dict) else None
    return found if type(found) in (str, int) else None


def build_index(index: Index, stop: threading.Event) -> None:
    try:
        for _ in index.build():
            if stop.is_set():
                return
    except Exception as error:
        index.failure = f"{type(error).__name__}: {error}"
        logger.exception("the index of %s could not be built", index.tree.root)
    else:
        logger.info("%d files with %d symbols indexed in %s", len(index.sources), index.symbol_count, index.tree.root)
        if errors := index.tree.errors:
            logger.info("%d files cannot be read or parsed: %s", len(errors), ", ".join([*errors][:10]))
    index.done.set()


def _own_output() -> BinaryIO:
    """Standard output for messages only: other output of this process goes to standard error."""
    out = os.fdopen(os.dup(1), "wb")
    os.dup2(2, 1)
    return out


def main() -> None:
    parser = argparse.ArgumentParser(prog="hollin.server", description="MCP server for a tree of Python sources")
    parser.add_argument("--root", type=Path, metavar="FOLDER", help="the tree; without it, every answer is empty")
    root = parser.parse_args().root
    if root and not root.is_dir():
        parser.exit(2, f"hollin.server: {root} is not a folder\n")
    logging.basicConfig(level=logging.INFO, format="%(name)s: %(message)s")
    logger.info("MCP server for %s", root or "no tree: without --root every answer is empty")
    index, stop = Index(root) if root else None, threading.Event()
    server = Server(_own_output(), index)
    if index:
        threading.Thread(target=build_index, args=(index, stop)).start()
    try:
        for line in sys.stdin.buffer:
            if line.strip():
                server.receive(line)
    except (BrokenPipeError, KeyboardInterrupt):
        pass  # the client has closed its end
    finally:
        stop.set()


if __name__ == "__main__":
    main()
