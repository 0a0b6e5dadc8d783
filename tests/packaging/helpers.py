"""Folders, services and commands for the packaging tests, which run the commands of a user."""

import os
import re
import shlex
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["BUILD_FOLDER"])

# The commands use neither this build, nor the user's settings, nor a network.
ENVIRONMENT = {name: value for name, value in os.environ.items() if not name.startswith(("PIP_", "PYTHON"))} | {
    "PIP_CONFIG_FILE": os.devnull,
    "PIP_DISABLE_PIP_VERSION_CHECK": "1",
    "PIP_NO_INDEX": "1",
    "PIP_FIND_LINKS": "/usr/share/python-wheels",
}


def empty_folder(name: str) -> Path:
    folder = BUILD / "packaging" / name
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def write_service(folder: Path) -> None:
    shutil.copytree(ROOT / "examples" / "service", folder, dirs_exist_ok=True)


def contents(folder: Path) -> dict[str, bytes]:
    """The files below a folder, except compiled Python."""
    files = (path for path in folder.rglob("*") if path.is_file() and "__pycache__" not in path.parts)
    return {str(path.relative_to(folder)): path.read_bytes() for path in files}


def make_environment(folder: Path, *options: str) -> Path:
    """A virtual environment of the interpreter that runs the tests; returns its interpreter."""
    run(sys.executable, "-m", "venv", *options, folder)
    return folder / "bin" / "python"


def run(*command: object, **variables: object) -> str:
    """Returns the standard output of the command. Raises AssertionError if it fails."""
    environment = ENVIRONMENT | {name: str(value) for name, value in variables.items()}
    words = [*map(str, command)]
    text = {"encoding": "utf-8", "errors": "surrogateescape"}  # like file names
    done = subprocess.run(words, capture_output=True, **text, env=environment, timeout=600)
    if done.returncode:
        raise AssertionError(f"{shlex.join(words)} ended with {done.returncode}\n{done.stdout}\n{done.stderr}")
    return done.stdout


def newest_release() -> str:
    """The version of the first dated entry of the changelog."""
    return re.search(r"^## \[(\S+)\] - \d{4}-\d\d-\d\d$", (ROOT / "CHANGELOG.md").read_text(encoding="utf-8"), re.M)[1]
