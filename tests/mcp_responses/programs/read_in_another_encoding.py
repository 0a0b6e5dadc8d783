"""read_in_another_encoding.py FOLDER ENCODING: file names have the encoding of the interpreter's file system.

FOLDER contains one file.
"""

import os
import sys

import hollin.mcp_responses as real

folder, encoding = sys.argv[1:]
assert sys.getfilesystemencoding() == encoding, sys.getfilesystemencoding()
(name,) = os.listdir(folder)
assert real.code_lines(folder, [(name, 1)]) == {(name, 1): "one"}, ascii(name)
for path in ("\u6f22.py", "\ud800"):
    try:
        os.fsencode(path)
    except UnicodeEncodeError as error:
        expected = ascii(error)
    for call in (lambda: real.code_lines(folder, [(path, 1)]), lambda: real.code_lines(path, [])):
        try:
            call()
        except UnicodeEncodeError as error:
            assert ascii(error) == expected, ascii(error)
        else:
            raise AssertionError(ascii(path))
assert ascii(real.tool_result_text(["\xe9\U0001f600"])) == ascii('["\xe9\U0001f600"]')
