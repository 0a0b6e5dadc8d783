"""embed_namespace.py SOURCE HEADER: writes the code object of a Python source file as a C++ array.

The array has the format of `marshal`. All releases of CPython 3.11 read it, on every platform.
"""

import marshal
import sys
from pathlib import Path

source, header = map(Path, sys.argv[1:])
code = compile(source.read_text("utf-8"), "<hollin.mcp_responses>", "exec", dont_inherit=True, optimize=0)
header.write_text(
    f"""// Generated from {source.name}.
#pragma once

namespace mcp_responses {{

inline constexpr unsigned char namespace_code[] = {{{", ".join(map(str, marshal.dumps(code)))}}};

}}  // namespace mcp_responses
"""
)
