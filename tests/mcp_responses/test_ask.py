"""The ask answer: citations, and the budget, which plain Python fits by encoding the whole answer at every step."""

import random

import random_input
from comparing import ComparingTest
from samples import plain, real

WORDS = [f"w{number:03}" for number in range(100)]
# Token budget, the words that each section kept shows, and the bytes of the answer.
BUDGETS = [(None, [100, 100], 1377), (344, [100, 97], 1365), (250, [82, 40], 993), (150, [69], 591), (16, [], 66)]
BUDGETS += [(-(2**63), [], 66), (2**61, [100, 100], 1377)]
# Token budget, which of the two are kept, and the bytes of the answer.
ATTACHED = [(None, {"code", "memories"}, 702), (176, {"code", "memories"}, 702), (175, {"code"}, 382)]
ATTACHED += [(96, {"code"}, 382), (95, set(), 66)]


class KnownAnswers(ComparingTest):
    def ask(self, size, **named):
        answer = real.build_wiki_ask_response(**{"mode": "m", "query": "q", "answer": "a", "sections": []} | named)
        self.assertEqual(real._encoded_size(answer), size, named["token_budget"])
        return answer

    def test_excerpts_shrink_from_the_bottom_and_then_sections_go(self):
        cited = [{"path": f"f{n // 2}.py", "line_start": n, "line_end": n} for n in (2, 3, 4)]
        sections = [
            {"page_id": f"p{n}", "title": f"T{n}", "heading": f"H{n}", "excerpt": " ".join(WORDS), "citations": some}
            for n, some in ((1, cited[:2]), (2, cited[2:]))
        ]
        for budget, words, size in BUDGETS:
            answer = self.ask(size, sections=sections, token_budget=budget)
            shown = [" ".join(WORDS[:count]) + "…" * (count < 100) for count in words]
            self.assertEqual([row["excerpt"] for row in answer["sections"]], shown, budget)

    def test_memories_go_before_the_code(self):
        for budget, kept, size in ATTACHED:
            answer = self.ask(size, memories={"k": "y" * 300}, code={"k": "z" * 300}, token_budget=budget)
            self.assertEqual({*answer} & {"code", "memories"}, kept, budget)


class Citations(ComparingTest):
    def test_a_place_made_of_a_container_is_refused(self):
        for entry in ([], {"a": 1}):
            self.assertRaises(TypeError, real._ask_citations, [], [{"path": entry}])
        # A candidate past the cap is not looked at.
        whole = [{"path": number} for number in range(24)]
        self.assertEqual(real._ask_citations([], [*whole, {"path": []}]), whole)

    def test_random_lists(self):
        rng = random.Random(21)
        for _ in range(1500):
            sections = random_input.sections(rng, rng.choice((0, 1, 3, 12)))
            self.assert_same("_ask_citations", sections, random_input.citations(rng) or ())


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
    some = random_input.arguments(rng, plain.build_wiki_ask_response)
    return some | {"query": random_input.text(rng), "token_budget": None}


class Budgets(ComparingTest):
    def assert_same_answer(self, arguments, **changed):
        self.assert_same("build_wiki_ask_response", **arguments | changed)

    def test_any_budget(self):
        rng = random.Random(22)
        far = [0, 1, -1, 2**61 - 1, 2**61, 2**62, 2**63 - 1, -(2**61), -(2**61) - 1, -(2**63)]
        for _ in range(250):
            arguments = question(rng)
            size = plain._encoded_size(plain.build_wiki_ask_response(**arguments))
            for budget in [None, rng.choice(far), *(rng.randint(0, size // 3) for _ in range(4))]:
                self.assert_same_answer(arguments, token_budget=budget)
        for budget in (3000, 9000, 15000):
            self.assert_same_answer(question(rng), sections=random_input.sections(rng, 40), token_budget=budget)

    def test_budgets_that_a_decision_meets_exactly_or_misses_by_one_byte(self):
        rng = random.Random(23)
        for _ in range(150):
            arguments = question(rng)
            sizes = sorted(set(sizes_at_decisions(arguments)))
            for size in rng.sample(sizes, min(4, len(sizes))):
                # A budget is a multiple of four bytes: a longer query brings the size to it, and to one byte past it.
                for past in (0, 1):
                    query = arguments["query"] + "q" * (-size % 4 + past)
                    self.assert_same_answer(arguments, query=query, token_budget=(size + 3) // 4)
