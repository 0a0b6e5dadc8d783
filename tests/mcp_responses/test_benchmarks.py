"""The benchmarks measure the same answers on both sides, and their tables refer to existing cases and payloads."""

import unittest

import samples  # noqa: F401  adds benchmarks/ to the path

import cases
import payloads
import timing


class Benchmarks(unittest.TestCase):
    def test_each_case_has_the_answer_of_plain_python(self):
        for case in cases.CASES:
            with self.subTest(case=str(case)):
                timing.Result(case)  # compares the answers

    def test_tables_refer_to_existing_cases(self):
        group, *names, _ = cases.GROWTH
        names = [(group, name) for name in names]
        for group, start in [*cases.CHART, *names]:
            matching = [case for case in cases.CASES if case.group == group and case.name.startswith(start)]
            self.assertEqual(len(matching), 1, (group, start))

    def test_tables_refer_to_existing_payloads(self):
        names = [payload for payload, _ in cases.FRESH.values()] + [payload for _, payload, _ in cases.MEMORY]
        for name in [*names, *cases.ENCODED]:
            self.assertTrue(hasattr(payloads, name), name)
