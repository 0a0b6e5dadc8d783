"""read_in_another_encoding.py FOLDER ENCODING: file names have the encoding of the interpreter's file system.

FOLDER contains one file.
"""

import os
import sys

from comparison import outcome
from samples import real

folder, encoding = sys.argv[1:]
assert sys.getfilesystemencoding() == encoding, sys.getfilesystemencoding()
(name,) = os.listdir(folder)
assert real.code_lines(folder, [(name, 1)]) == {(name, 1): "one"}, ascii(name)
for path in ("\u6f22.py", "\ud800"):
    error, text = outcome(os.fsencode, [path])
    for name, args in {"places[0][0]": [folder, [(path, 1)]], "root": [path, []]}.items():
        assert outcome(real.code_lines, args) == (error, f"{text} in {name}"), ascii(args)
