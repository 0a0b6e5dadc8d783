"""The ask answer: citations, and the budget, which plain Python fits by encoding the whole answer at every step."""

import random

import generators
from differential import DifferentialTest, plain, real

WORDS = [f"w{number:03}" for number in range(100)]
E = " ".join(WORDS)
CITED = [{"path": "f1.py", "line_start": 1, "line_end": 1}, {"path": "f1.py", "line_start": 2, "line_end": 2}]
SECTION_1 = {"page_id": "p1", "title": "T1", "heading": "H1", "excerpt": E, "citations": CITED}
CITED_2 = [{"path": "f2.py", "line_start": 3, "line_end": 3}]
SECTION_2 = {"page_id": "p2", "title": "T2", "heading": "H2", "excerpt": E, "citations": CITED_2}
CITATION_TEXTS = [
    '{"path":"f1.py","line_start":1,"line_end":1},{"path":"f1.py","line_start":2,"line_end":2}',
    '{"path":"f2.py","line_start":3,"line_end":3}',
]

# Excerpt of section 2, then: token budget, words that each kept section shows, bytes of the answer.
BUDGETS = [
    (E, None, [100, 100], 1377),
    (E, 344, [100, 97], 1365),
    (E, 250, [82, 40], 993),
    (E, 150, [69], 591),
    (E, 16, [], 66),
    (E, -(2**63), [], 66),
    (E, 2**61, [100, 100], 1377),
    ("x", 320, [100, "x"], 879),
    ("x", 220, [58, "x"], 672),
]
ATTACHED = [(None, "cm", 702), (176, "cm", 702), (175, "c", 382), (96, "c", 382), (95, "", 66)]


def ask(**named):
    return real.build_wiki_ask_response(**{"mode": "m", "query": "q", "answer": "a", "sections": []} | named)


def shown(words):
    return words if isinstance(words, str) else " ".join(WORDS[:words]) + "…" * (words < 100)


class KnownAnswers(DifferentialTest):
    def test_budget(self):
        for second, budget, words, size in BUDGETS:
            rows = [
                f'{{"page_id":"p{n}","title":"T{n}","heading":"H{n}","similarity":null,"stale":false,'
                f'"excerpt":"{shown(w)}"}}'
                for n, w in enumerate(words, 1)
            ]
            cited = ",".join(CITATION_TEXTS[: len(words)])
            text = f'{{"mode":"m","query":"q","answer":"a","sections":[{",".join(rows)}],"citations":[{cited}]}}'
            answer = ask(sections=[SECTION_1, SECTION_2 | {"excerpt": second}], token_budget=budget)
            self.assert_exactly(answer, text, budget)
            self.assertEqual(real._encoded_size(answer), size, budget)

    def test_memories_go_before_the_code(self):
        for budget, kept, size in ATTACHED:
            text = '{"mode":"m","query":"q","answer":"a","sections":[],"citations":[]'
            text += (',"code":{"k":"' + "z" * 300 + '"}') * ("c" in kept)
            text += (',"memories":{"k":"' + "y" * 300 + '"}') * ("m" in kept) + "}"
            answer = ask(memories={"k": "y" * 300}, code={"k": "z" * 300}, token_budget=budget)
            self.assert_exactly(answer, text, budget)
            self.assertEqual(real._encoded_size(answer), size, budget)


class Citations(DifferentialTest):
    def test_a_place_made_of_a_container_is_refused(self):
        for entry in ([], {"a": 1}):
            self.assertRaises(TypeError, real._ask_citations, [], [{"path": entry}])
        # A candidate past the cap is not looked at.
        whole = [{"path": number} for number in range(24)]
        self.assertEqual(real._ask_citations([], [*whole, {"path": []}]), whole)

    def test_random_lists(self):
        rng = random.Random(21)
        for _ in range(1500):
            sections = generators.sections(rng, rng.choice((0, 1, 3, 12)))
            self.assert_same("_ask_citations", sections, generators.citations(rng) or ())


def sizes_at_decisions(arguments):
    """The sizes that the budget's rules compare with the limit, whatever the limit is, reserves included."""
    sections = arguments["sections"]
    for kept in range(len(sections) + 1):
        for whole in range(kept + 1):
            rows = sections[:whole] + [section | {"excerpt": None} for section in sections[whole:kept]]
            size = plain._encoded_size(plain.build_wiki_ask_response(**arguments | {"sections": rows}))
            yield size + plain._ASK_MIN_EXCERPT_CHARS * (kept - whole)
    for dropped in ({"memories": None}, {"memories": None, "code": None}):
        yield plain._encoded_size(plain.build_wiki_ask_response(**arguments | {"sections": []} | dropped))


def question(rng):
    """The arguments of an ask answer, without a budget."""
    some = generators.arguments(rng, plain.build_wiki_ask_response)
    return some | {"query": generators.text(rng), "token_budget": None}


class BudgetProperty(DifferentialTest):
    def test_any_budget(self):
        rng = random.Random(22)
        far = [0, 1, -1, 2**61 - 1, 2**61, 2**62, 2**63 - 1, -(2**61), -(2**61) - 1, -(2**63)]
        for _ in range(250):
            arguments = question(rng)
            size = plain._encoded_size(plain.build_wiki_ask_response(**arguments))
            for budget in [None, rng.choice(far), *(rng.randint(0, size // 3) for _ in range(4))]:
                self.assert_same("build_wiki_ask_response", **arguments | {"token_budget": budget})

    def test_budgets_that_a_decision_meets_exactly_or_misses_by_one_byte(self):
        rng = random.Random(23)
        for _ in range(150):
            arguments = question(rng)
            sizes = sorted(set(sizes_at_decisions(arguments)))
            for size in rng.sample(sizes, min(4, len(sizes))):
                # A budget is a multiple of four bytes: a longer query brings the size to it, and to one byte past it.
                for past in (0, 1):
                    query = arguments["query"] + "q" * (-size % 4 + past)
                    budget = (size + 3) // 4
                    self.assert_same("build_wiki_ask_response", **arguments | {"query": query, "token_budget": budget})

    def test_many_sections(self):
        rng = random.Random(24)
        for budget in (3000, 9000, 15000):
            arguments = question(rng) | {"sections": generators.sections(rng, 40), "token_budget": budget}
            self.assert_same("build_wiki_ask_response", **arguments)
