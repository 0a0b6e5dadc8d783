"""Calls every function, also of a second module. use_sub_interpreters.py runs this text in sub-interpreters."""

import sys

import samples

for _ in range(3):
    for name, arguments in samples.good_calls().items():
        getattr(samples.real, name)(**arguments)
samples.real.EMPTY_TOOL_RESPONSES.clear()
del sys.modules["hollin.mcp_responses"]
import hollin.mcp_responses as again  # noqa: E402

assert again.first_sentence("One. Two.") == samples.real.first_sentence("One. Two.") == "One."
assert len(again.EMPTY_TOOL_RESPONSES) == 14
