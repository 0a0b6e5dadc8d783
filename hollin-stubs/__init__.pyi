# The service's own names, about which nothing is said here. Without this file mypy ends at once ("can't read file
# hollin") where the service is installed without types of its own.
from typing import Any

def __getattr__(name: str) -> Any: ...
