"""Answers of fixed shape, pages of rows with the service's hint, and the answers before a repository is ready."""

import random
import unittest
from unittest import mock

import generators
from differential import DifferentialTest, plain, real, spoil

# Function, arguments by position, arguments by name, text of the whole answer.
ANSWERS = [
    (
        "build_index_status_response",
        ["ready", "healthy", None, 100],
        {},
        '{"status":"ready","health":"healthy","branch":null,"progress":100,"files_indexed":0,"symbols_indexed":0,'
        '"last_updated":null,"errors_count":0}',
    ),
    (
        "build_index_status_response",
        ["indexing", 7, "main", 250, 1, 2, "now", 3],
        {"phase_detail": "1234/5000", "phase": "indexing files"},
        '{"status":"indexing","health":7,"branch":"main","progress":250,"files_indexed":1,"symbols_indexed":2,'
        '"last_updated":"now","errors_count":3,"phase":"indexing files","phase_detail":"1234/5000"}',
    ),
    (
        "build_index_status_response",
        ["a", "b", "", 0.5],
        {"phase": "", "phase_detail": "1234/5000"},
        '{"status":"a","health":"b","branch":"","progress":0.5,"files_indexed":0,"symbols_indexed":0,'
        '"last_updated":null,"errors_count":0,"phase_detail":"1234/5000"}',
    ),
    ("build_test_coverage", ["t.py", None, []], {}, '{"test_file":"t.py","source_file":null}'),
    ("build_test_coverage", ["t", "s", ("C",)], {}, '{"test_file":"t","source_file":"s","symbols_imported":["C"]}'),
    (
        "build_empty_paginated_response",
        [],
        {},
        '{"items":[],"total_count":0,"truncated":false,"has_more":false,"offset":0}',
    ),
    (
        "build_empty_paginated_response",
        ["has_more"],
        {},
        '{"has_more":false,"total_count":0,"truncated":false,"offset":0}',
    ),
    (
        "build_wiki_status_response",
        [],
        {"built": False, "branch": "main"},
        '{"built":false,"branch":"main","enabled":false,"configured":false,"pages":0,"files_covered":0,'
        '"total_sources":0,"coverage_pct":0.0,"last_built":null,"model":null,"stale_pages":[]}',
    ),
    (
        "build_wiki_status_response",
        [],
        {"stale_pages": ("p1", "p2"), "built": 1, "branch": None, "pages": 3, "files_covered": 4, "total_sources": 5}
        | {"coverage_pct": 250.0, "last_built": "now", "model": "m", "enabled": True, "configured": "yes"},
        '{"built":1,"branch":null,"enabled":true,"configured":"yes","pages":3,"files_covered":4,"total_sources":5,'
        '"coverage_pct":250.0,"last_built":"now","model":"m","stale_pages":["p1","p2"]}',
    ),
    (
        "build_wiki_list_response",
        [[{"id": 1}], 2],
        {},
        '{"pages":[{"id":1}],"total_count":2,"offset":0,"truncated":false,"has_more":true}',
    ),
    (
        "build_wiki_list_response",
        [[1, 2], 22, 20, True],
        {},
        '{"pages":[1,2],"total_count":22,"offset":20,"truncated":true,"has_more":false}',
    ),
    (
        "build_wiki_read_response",
        [],
        {"content": "...", "title": "Cart", "page_id": "p1", "citations": [{"path": "a"}], "source_files": []},
        '{"page_id":"p1","title":"Cart","content":"...","citations":[{"path":"a"}],"source_files":[],'
        '"related_pages":[]}',
    ),
]

EMPTY_ANSWERS = """\
status {"status":"not_initialized","health":"unknown","branch":null,"progress":0,"files_indexed":0,\
"symbols_indexed":0,"errors_count":0}
search {"symbols":[],"total_count":0,"truncated":false,"has_more":false,"offset":0}
symbol {"found":false,"message":"Repository not initialized"}
file {"error":"Repository not initialized","symbols":[]}
files {"files":[],"total_count":0,"truncated":false,"has_more":false,"offset":0}
architecture {"components":[]}
git {"error":"Repository not initialized","files":[],"total_count":0,"truncated":false,"has_more":false,"offset":0}
quality {"dead_symbols":[],"total_count":0,"truncated":false,"has_more":false,"offset":0}
context {"message":"Repository not initialized","status":"failed"}
tests {"tests":[],"total_count":0}
explore {"error":"Repository not initialized","results":[]}
remember {"error":"Repository not initialized"}
wiki {"built":false,"message":"Repository not initialized","pages":[]}
force_reindex {"message":"Repository not initialized","status":"failed"}
"""


class FixedShapes(DifferentialTest):
    def test_whole_answers(self):
        for function, args, named, text in ANSWERS:
            self.assert_exactly(getattr(real, function)(*args, **named), text, function)

    def test_random_values(self):
        rng = random.Random(13)
        for _ in range(600):
            anything = [generators.tree(rng) for _ in range(11)]
            self.assert_same("build_index_status_response", *anything[: rng.randint(4, 10)])
            self.assert_same("build_test_coverage", *anything[: rng.randint(2, 3)])
            optional = ["pages", "files_covered", "total_sources", "coverage_pct", "last_built", "model"]
            optional += ["stale_pages", "enabled", "configured"]
            given = dict(zip(rng.sample(optional, rng.randint(0, 9)), anything))
            self.assert_same("build_wiki_status_response", built=anything[9], branch=anything[10], **given)
            given = dict(zip(rng.sample(["citations", "source_files", "related_pages"], rng.randint(0, 3)), anything))
            page = dict(zip(["content", "title", "page_id"], anything[3:]))
            self.assert_same("build_wiki_read_response", **page, **given)


class Pages(DifferentialTest):
    def test_near_their_end_and_near_the_ends_of_64_bits(self):
        rng = random.Random(14)
        for _ in range(1000):
            rows = [generators.tree(rng) for _ in range(rng.randint(0, 4))]
            offset = rng.choice((0, 40, -3, 2**63 - 1, 2**63 - 3, -(2**63), generators.integer(rng)))
            total = max(-(2**63), min(2**63 - 1, offset + len(rows) + rng.choice((-1, 0, 1, 5))))
            self.assert_same("build_wiki_list_response", rows, total, offset, generators.leaf(rng))
            key = rng.choice(("items", "total_count", "truncated", "has_more", "offset", generators.text(rng)))
            self.assert_same("build_empty_paginated_response", key)
            # The hint is the service's own and may be anything; without it the pages are compared, not the hint.
            with mock.patch.object(real, "add_pagination_hint", lambda response, count: response):
                with mock.patch.object(plain, "add_pagination_hint", lambda response, count: response):
                    self.assert_same("build_paginated_response", rows, total, offset, items_key=key)
            self.assert_same("build_paginated_response", tuple(rows), total, offset)

    def test_the_hint_is_looked_up_at_each_call_and_has_the_last_word(self):
        verdict, seen = object(), []
        for offset, rows, text in [
            (0, 20, '"total_count":57,"truncated":true,"has_more":true,"offset":0}'),
            (40, 17, '"total_count":57,"truncated":false,"has_more":false,"offset":40}'),
            (57, 0, '"total_count":57,"truncated":false,"has_more":false,"offset":57}'),
        ]:
            with mock.patch.object(real, "add_pagination_hint", lambda *args: seen.append(args) or verdict):
                answer = real.build_paginated_response(("r",) * rows, 57, offset, items_key="symbols")
            self.assertIs(answer, verdict)
            ((response, count),) = seen
            seen.clear()
            self.assertEqual((type(count), count), (int, rows))
            items = ",".join(['"r"'] * rows)
            self.assert_exactly(response, f'{{"symbols":[{items}],{text}', (offset, rows))

    def test_a_failing_or_missing_hint_fails_the_call(self):
        failure = KeyboardInterrupt("enough")
        with mock.patch.object(real, "add_pagination_hint", mock.Mock(side_effect=failure)):
            with self.assertRaises(KeyboardInterrupt) as raised:
                real.build_paginated_response([], 0, 0)
        self.assertIs(raised.exception, failure)
        with mock.patch.dict(vars(real)):
            del real.add_pagination_hint
            with self.assertRaisesRegex(NameError, "^name 'add_pagination_hint' is not defined$"):
                real.build_paginated_response([], 0, 0)


class EmptyAnswers(DifferentialTest):
    def test_each_answer_is_the_callers_own(self):
        tools = [line.split(" ", 1) for line in EMPTY_ANSWERS.splitlines()]
        fallback = '{"error":"Repository not initialized"}'
        for tool, text in [*tools, *((name, fallback) for name in ("", "Status", "index_status", "wiki ", "état"))]:
            answer = real.get_empty_response(tool)
            self.assert_exactly(answer, text, tool)
            spoil(answer)
            self.assert_exactly(real.get_empty_response(tool_name=tool), text, tool)
        table = "{" + ",".join(f'"{tool}":{text}' for tool, text in tools) + "}"
        self.assert_exactly(real.EMPTY_TOOL_RESPONSES, table, "the table")


if __name__ == "__main__":
    unittest.main()
