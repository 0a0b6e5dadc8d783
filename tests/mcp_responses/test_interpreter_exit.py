"""The interpreter exits while daemon threads are inside calls. It ends such a thread by unwinding its stack."""

import unittest

from script_helper import run_program


class InterpreterExit(unittest.TestCase):
    def test_during_callbacks(self):
        run_program("exit_during_calls.py", "callbacks", 0, 1)

    def test_during_finalizers_that_the_collector_runs(self):
        for part in range(4):
            run_program("exit_during_calls.py", "collector", part, 4)
