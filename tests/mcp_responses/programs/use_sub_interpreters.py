"""Sub-interpreters call every function, also of a second module. Three exist at a time, and the first one is destroyed
last."""

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
for _ in range(7):
    three = [interpreters.create() for _ in range(3)]
    for one in three + three[:1]:
        interpreters.run_string(one, USE)
    for one in three[1:] + three[:1]:
        interpreters.destroy(one)
    exec(USE)
