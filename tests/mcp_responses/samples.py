"""A good call of every function, and fresh interpreters for what might end the one that asks."""

import os
import subprocess
import sys
import tempfile
from pathlib import Path
from types import SimpleNamespace

SCALE = float(os.environ.get("MCP_RESPONSES_TEST_SCALE", "1"))
HERE = Path(__file__).resolve().parent

SYMBOL = {
    "fqn": "shop.cart.Cart.total",
    "name": "total",
    "kind": "method",
    "start_line": 12,
    "end_line": 20,
    "signature": "def total(self) -> int",
    "docstring": "Sum of the lines. Taxes are not – “included”.",
    "is_export": True,
    "docstring_truncated": False,
}
PAY = {"fqn": "shop.pay", "kind": "function"}
REFERENCE = {"file_path": "a.py", "line": 41, "caller_symbol": PAY, "usage_type": "call"}
COMPONENT = {"name": "shop", "layer": None, "path_pattern": "shop/**", "file_count": 3, "symbol_count": 0}
CITATION = {"path": "a.py", "line_start": 1, "line_end": 2, "why": ["é", {"deep": (1.5, None)}]}
SECTION = {"page_id": "p", "title": "Été", "heading": "h", "similarity": 0.5, "stale": 1, "excerpt": "漢 words " * 90}
SECTION |= {"citations": [CITATION], "unread": 0}
ROW = {"fqn": "shop.cart", "line": 12, "lost": None, 7: ("x", {2.5: [True]})}


def record(fields, **changed):
    return SimpleNamespace(**(fields | changed))


def good_calls():
    """The arguments of a good call of each function, by name and in order, made anew."""
    symbol = record(SYMBOL)
    return {
        "tool_result_text": {"result": [ROW, CITATION]},
        "first_sentence": {"docstring": SYMBOL["docstring"]},
        "code_lines": {"root": HERE, "places": [("samples.py", 1), ("missing.py", 1)]},
        "_cut": {"text": "é" * 40, "chars": 20},
        "without_nulls": {"row": ROW},
        "build_index_status_response": {"status": "ready", "health": "healthy", "branch": None, "progress": 5}
        | {"files_indexed": 1, "symbols_indexed": 2, "last_updated": "now", "errors_count": 3}
        | {"phase": "p", "phase_detail": "d"},
        "build_symbol_search_result": {"symbol": symbol, "file_path": "a.py"},
        "build_symbol_full_details": {"symbol": symbol, "file_path": "a.py"},
        "outline_module": {"fqns": ["shop.cart.Cart", "shop.cart.pay"]},
        "build_file_symbol": {"symbol": symbol, "module": "shop"},
        "build_api_endpoint": {"symbol": symbol, "file_path": "a.py", "component_name": "shop"},
        "build_reference": {"reference": record(REFERENCE), "code": "pay()"},
        "build_component": {"component": record(COMPONENT)},
        "build_paginated_response": {"items": [ROW, CITATION], "total_count": 57, "offset": 0, "items_key": "rows"},
        "build_test_coverage": {"test_file": "t.py", "source_file": "s.py", "symbols_imported": ["Cart"]},
        "build_empty_paginated_response": {"items_key": "rows"},
        "build_wiki_status_response": {"built": True, "branch": "main", "pages": 1, "files_covered": 2}
        | {"total_sources": 3, "coverage_pct": 0.5, "last_built": "now", "model": "m", "stale_pages": ["p"]}
        | {"enabled": True, "configured": False},
        "build_wiki_list_response": {"pages": [ROW], "total": 9, "offset": 3, "truncated": True},
        "build_wiki_read_response": {"page_id": "p", "title": "t", "content": "c", "citations": [CITATION]}
        | {"source_files": ["a.py"], "related_pages": ["q"]},
        "build_wiki_ask_response": {"mode": "m", "query": "q", "answer": "a", "sections": [SECTION, SECTION]}
        | {"citations": [CITATION], "model": "m", "tokens": {"in": 7}, "note": "n", "decisions": ROW, "code": ROW}
        | {"memories": ROW, "token_budget": 500},
        "_ask_citations": {"sections": [SECTION], "extra": [CITATION]},
        "_trimmed": {"text": "two words " * 4, "chars": 20},
        "_encoded_size": {"result": {"row": ROW}},
        "get_empty_response": {"tool_name": "status"},
    }


def failing_calls(name):
    """The arguments of calls that fail as a rule: each wrong in each way, each left out, one too many."""
    good, circle = good_calls()[name], {}
    circle["k"] = [circle]
    for argument in good:
        for wrong in (object(), 2**63, circle, [circle], [{"excerpt": "\ud800"}], "a\0", "\udfff" * 50, [("\0", 1)]):
            yield good | {argument: wrong}
        yield {other: value for other, value in good.items() if other != argument}
    yield good | {"unknown": 1}
    yield {"".join(list(argument)): value for argument, value in good.items()} | {"é": 1}


def make_folder(add_cleanup):
    folder = tempfile.TemporaryDirectory()
    add_cleanup(folder.cleanup)
    return Path(folder.name).resolve()


def scaled(count):
    return max(1, int(count * SCALE))


def run_python(code, *options, check=True, **environment):
    """Runs code in a fresh interpreter, which can import this folder too; its output when it ends well."""
    paths = os.pathsep.join([os.environ["PYTHONPATH"], str(HERE)])
    done = subprocess.run(
        [sys.executable, *options, "-X", "faulthandler", "-c", code],
        env=os.environ | {"PYTHONPATH": paths} | environment,
        capture_output=True,
        timeout=300,
    )
    if check and (done.returncode or done.stderr):
        raise AssertionError(f"ended with {done.returncode}: {(done.stdout + done.stderr).decode()[-3000:]}")
    return done.stdout.decode()
