"""Questions of an agent to the example server, about parts of the standard library and about this project."""

import json
import re
import shutil
import sysconfig
import time
from pathlib import Path

from service import Client, ServiceTest
from script_helper import HERE, make_folder

ROOT = HERE.parents[1]
PARTS = {
    "library": (Path(sysconfig.get_path("stdlib")), "json unittest collections http os.py posixpath.py ntpath.py "
                "_collections_abc.py _pyio.py"),
    "project": (ROOT, "examples benchmarks tests docs README.md CONTRIBUTING.md"),
}
DECODER = "json.decoder.JSONDecoder"

# The tree, the question, and calls of tools, each with a pattern that the text of its answer contains.
QUESTIONS = [
    ("library", "Which class decodes JSON?", [
        ("search", {"query": "JSONDecoder"}, rf'^\{{"symbols":\[\{{"fqn":"{DECODER}",.*"kind":"class"'),
        ("file", {"path": "json/decoder.py"}, r'"name":"JSONDecoder.raw_decode","kind":"method","line":\d+')]),
    ("library", "Who calls json.loads?", [
        ("symbol", {"fqn": "json.loads", "action": "references"},
         r'"code":"return loads\(fp.read\(\),","caller":"json.load","caller_kind":"function","usage_type":"call"')]),
    ("library", "Is JSONDecoder.decode ever called? It is, by variables.", [
        ("symbol", {"fqn": f"{DECODER}.decode", "action": "references"},
         r'"total_count":0,.*"hint":"Not listed: \d+ calls of decode .*json/__init__.py:\d+')]),
    ("library", "What is HTTP_PORT, and who reads it?", [
        ("search", {"query": "HTTP_PORT"}, '"fqn":"http.client.HTTP_PORT",.*"kind":"constant",.*"HTTP_PORT = 80"'),
        ("search", {"query": "default_buffer_size"}, r'"fqn":"_pyio.DEFAULT_BUFFER_SIZE",.*"DEFAULT_BUFFER_SIZE = \d'),
        ("symbol", {"fqn": "http.HTTPStatus.NOT_FOUND"}, r'"signature":"NOT_FOUND = \(?404, '),
        ("symbol", {"fqn": "http.client.HTTP_PORT", "action": "references"},
         '"code":"default_port = HTTP_PORT","caller":"http.client.HTTPConnection","caller_kind":"class"')]),
    ("library", "Which files are not indexed, and why?", [
        ("status", {}, r'"health":"degraded",.*"errors":\["http/broken.py: [^"]+ \(line 2\)"\]'),
        ("file", {"path": "http/broken.py"}, r'"message":"http/broken.py cannot be indexed: .+ \(line 2\)')]),
    ("library", "What is in this file or folder, however its path is written?", [
        ("file", {"path": "{root}/json/decoder.py"}, '^{"file":"json/decoder.py"'),
        ("file", {"path": "./json//tool/../decoder.py"}, '^{"file":"json/decoder.py"'),
        ("file", {"path": "json.decoder"}, '^{"file":"json/decoder.py"'),
        ("files", {"path": "{root}/json/"}, r'"path":"json/decoder.py"(?!.*unittest)'),
        ("tests", {"path": "./nothing/"}, '"total_count":0'),
        ("file", {"path": "./http"}, '^{"file":"http/__init__.py"'),
        ("file", {"path": "documents"}, "documents is a folder: call files with this path")]),
    ("library", "And if the path or the name is not quite right?", [
        ("file", {"path": "Lib/json/decoder.py"}, "Nearest: json/decoder.py"),
        ("file", {"path": "/elsewhere/json/decode.py"}, "Nearest: json/decoder.py"),
        ("symbol", {"fqn": "json.JSONDecoder.decod"}, rf"Nearest: {DECODER}.decode"),
        ("symbol", {"fqn": "json.decoder"}, "json.decoder is a module: call file with the path json/decoder.py")]),
    ("library", "What does os.path.join do?", [
        ("symbol", {"fqn": "os.path.join"}, '"fqn":"posixpath.join",.*"signature":"def join'),
        ("search", {"query": "os.path.join"}, r'^{"symbols":\[{"fqn":"posixpath.join"'),
        ("symbol", {"fqn": "os.path.join", "action": "references"}, r'"code":".*\bjoin\(')]),
    ("library", "Where are Mapping and TestCase defined, and which classes are derived from TestCase?", [
        ("symbol", {"fqn": "collections.abc.Mapping"}, '"fqn":"_collections_abc.Mapping",.*"_collections_abc.py"'),
        ("symbol", {"fqn": "unittest.TestCase"}, '"fqn":"unittest.case.TestCase",'),
        ("symbol", {"fqn": "unittest.TestCase", "action": "references"},
         r'"code":"class FunctionTestCase\(TestCase\):","usage_type":"base class"')]),
    ("library", "Which pages explain what belongs to json?", [
        ("wiki", {"action": "read", "page_id": "./json/__init__.py"},
         r'"related_pages":\[(?=.*"json/decoder.py")(?=.*"json/encoder.py")')]),
    ("library", "How does the module json work?", [
        ("wiki", {"action": "ask", "query": "How does the module json encode numbers?"},
         r'"sections":\[{"page_id":"json/__init__.py"'),
        ("wiki", {"action": "ask", "query": "Does json.dumps differ on Posix systems and Windows?"},
         r'"sections":\[{"page_id":"json/__init__.py".*{"page_id":"posixpath.py"'),
        ("wiki", {"action": "ask", "query": "What is a zzyzx?"}, r'"sections":\[\],.*No section contains: zzyzx')]),
    ("library", "And in 60 tokens?", [
        ("wiki", {"action": "ask", "query": "How does json.decoder work?", "token_budget": 60},
         r'"sections":\[\],.*"note":"The token_budget is too small for any of the \d+ sections')]),
    ("library", "Are new, changed and deleted files noticed?", [
        ("search", {"query": "brand_new"}, '"total_count":0'),
        ("write", {"json/brand_new.py": "def brand_new(): pass\n", "json/tool.py": "def brand_new(): pass\n"}, ""),
        ("search", {"query": "brand_new"}, '"fqn":"json.brand_new.brand_new".*"fqn":"json.tool.brand_new"'),
        ("write", {"json/brand_new.py": None}, ""),
        ("files", {"path": "json/brand"}, '"total_count":0')]),
    ("project", "Where is the index of the example service?", [
        ("symbol", {"fqn": "hollin.index.Index"}, '"file":"examples/service/hollin/index.py"'),
        ("symbol", {"fqn": "hollin.index.Index", "action": "references"},
         '"file":"tests/mcp_responses/service.py".*"caller":"tests.mcp_responses.service.built_index"')]),
    ("project", "What tests examples/service/hollin/index.py, and what does test_demo.py test?", [
        ("tests", {"path": "examples/service/hollin/index.py"},
         r'^{"tests":\[{[^}]*test_index.py","source_file":"examples/service/hollin/index.py","symbols_imported":'),
        ("file", {"path": "docs/faq.md"}, "docs/faq.md is a document: call wiki"),
        ("tests", {"path": "tests/mcp_responses/test_demo.py"}, r'^{"tests":\[{[^}]*"examples/service/hollin/demo.py"'),
        ("tests", {"path": "index.py"}, r'^{"tests":\[({[^}]*"examples/service/hollin/index.py"[^}]*},?)+\],"total')]),
    ("project", "Who calls a function of a script?", [
        ("symbol", {"fqn": "tests.mcp_responses.service.make_tree", "action": "references"},
         '"file":"tests/mcp_responses/test_demo.py".*"file":"tests/mcp_responses/test_index.py"')]),
    ("project", "What is said about AddressSanitizer?", [
        ("wiki", {"action": "ask", "query": "Which tests run with AddressSanitizer?"},
         r'"sections":\[({[^}]*AddressSanitizer[^}]*},?)+\],"citations"')]),
]


class QuestionsTest(ServiceTest):
    def start_with(self, parts: str) -> tuple[Client, Path]:
        source, names = PARTS[parts]
        root = make_folder(self.addCleanup)
        for name in names.split():
            if (source / name).is_dir():
                ignored = shutil.ignore_patterns("__pycache__", "node_modules", "test" if parts == "library" else "")
                shutil.copytree(source / name, root / name, ignore=ignored)
            else:
                shutil.copy(source / name, root)
        for path in ("http/broken.py", "documents/conf.py") if parts == "library" else ():
            (root / path).parent.mkdir(exist_ok=True)
            (root / path).write_text("A = 1\n" + "def (:\n" * path.endswith("broken.py"))
        return self.start_with_tree(root), root

    def result(self, client: Client, root: Path, tool: str, arguments: dict) -> str:
        if tool == "write":  # writes or deletes files, and waits until the server looks at the tree again
            for path, content in arguments.items():
                (root / path).write_text(content) if content else (root / path).unlink()
            time.sleep(2.1)
            return ""
        return client.call(tool, **json.loads(json.dumps(arguments).replace("{root}", str(root))))

    def test_each_answer_has_the_facts(self):
        servers = {parts: self.start_with(parts) for parts in PARTS}
        failed = {}
        for parts, question, calls in QUESTIONS:
            for tool, arguments, fact in calls:
                text = self.result(*servers[parts], tool, arguments)
                if not re.search(fact, text):
                    failed.setdefault(question, []).append(f"{tool} {arguments}: {fact}\n    {text[:1500]}")
        self.assertEqual(failed, {}, "\n".join(f"{name}\n  " + "\n  ".join(each) for name, each in failed.items()))
