"""Where the packaging tests work, with what, and how they run what a user would run."""

import os
import re
import shlex
import shutil
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["BUILD_FOLDER"])
DEBIAN_WHEELS = Path("/usr/share/python-wheels")

# Nothing of this build, of the user's settings or of a network may help.
ENVIRONMENT = {name: value for name, value in os.environ.items() if not name.startswith(("PIP_", "PYTHON"))} | {
    "PIP_CONFIG_FILE": os.devnull,
    "PIP_DISABLE_PIP_VERSION_CHECK": "1",
    "PIP_NO_INDEX": "1",
    "PIP_FIND_LINKS": str(DEBIAN_WHEELS),
}


def empty_folder(name: str) -> Path:
    folder = BUILD / "packaging" / name
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def run(*command: object, **variables: object) -> str:
    """What the command says on its standard output."""
    environment = ENVIRONMENT | {name: str(value) for name, value in variables.items()}
    words = [*map(str, command)]
    text = {"encoding": "utf-8", "errors": "surrogateescape"}  # as file names are
    done = subprocess.run(words, capture_output=True, **text, env=environment, timeout=300)
    if done.returncode:
        raise AssertionError(f"{shlex.join(words)} ended with {done.returncode}\n{done.stdout}\n{done.stderr}")
    return done.stdout


def newest_release() -> str:
    """The version that the changelog's first entry is about."""
    return re.search(r"^## (\S+) - \d{4}-\d\d-\d\d$", (ROOT / "CHANGELOG.md").read_text(encoding="utf-8"), re.M)[1]
