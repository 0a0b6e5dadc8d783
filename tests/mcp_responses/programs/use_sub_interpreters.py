"""Sub-interpreters call every function, also of a second module, at the same time in threads. Since CPython 3.12 each has
a GIL of its own. Three exist at a time, and the first one is destroyed last."""

import threading

try:
    import _interpreters as interpreters
except ModuleNotFoundError:  # before 3.13
    import _xxsubinterpreters as interpreters

USE = """
import sys
import samples
for _ in range(3):
    for name, arguments in samples.good_calls().items():
        getattr(samples.real, name)(**arguments)
samples.real.EMPTY_TOOL_RESPONSES.clear()
del sys.modules["hollin.mcp_responses"]
import hollin.mcp_responses as again
assert again.first_sentence("One. Two.") == samples.real.first_sentence("One. Two.") == "One."
assert len(again.EMPTY_TOOL_RESPONSES) == 14
"""
failures = []


def use_functions(interpreter):
    # Until 3.12 it raises an error of the code, since then it returns it.
    failures.append(interpreters.run_string(interpreter, USE))


for _ in range(7):
    three = [interpreters.create() for _ in range(3)]
    for one in three:
        # CPython 3.11.2 never ends the destruction of an interpreter in which a thread has imported it first.
        interpreters.run_string(one, "import threading")
    threads = [threading.Thread(target=use_functions, args=[one]) for one in three]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    use_functions(three[0])
    for one in three[1:] + three[:1]:
        interpreters.destroy(one)
    exec(USE)
assert failures == [None] * 28, failures
