"""Folders for a test's files, and fresh interpreters for what might end the one that runs the tests."""

import os
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent


def make_folder(add_cleanup):
    folder = tempfile.TemporaryDirectory()
    add_cleanup(folder.cleanup)
    return Path(folder.name).resolve()


def run_program(name, *arguments, **environment):
    """What a program of programs/ writes. It can import this folder's modules, and has to end well and silently."""
    command = [sys.executable, "-X", "faulthandler", HERE / "programs" / name, *map(str, arguments)]
    paths = os.pathsep.join([os.environ["PYTHONPATH"], str(HERE)])
    environment = os.environ | {"PYTHONPATH": paths} | environment
    done = subprocess.run(command, env=environment, capture_output=True, timeout=300)
    if done.returncode or done.stderr:
        said = (done.stdout + done.stderr).decode()
        raise AssertionError(f"{name} {arguments} ended with {done.returncode}: {said[-3000:]}")
    return done.stdout.decode()
