# Types for the names of the service's own package, which are not part of this distribution. Without this file mypy
# fails ("can't read file hollin") if the service is installed without types.
from typing import Any

def __getattr__(name: str) -> Any: ...
