"""Temporary folders, and programs that run in an interpreter of their own because they may crash or hang."""

import os
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
EMULATED = "EMULATED" in os.environ  # the processor and the system calls are an emulator's
IS_SANITIZED = "libasan" in os.environ.get("LD_PRELOAD", "")
PROGRAM_TIMEOUT = 300 if EMULATED else 60  # seconds


def make_folder(add_cleanup):
    folder = tempfile.TemporaryDirectory()
    add_cleanup(folder.cleanup)
    return Path(folder.name).resolve()


def run_program(name, *arguments, **environment):
    """Runs a program of programs/, which can import the modules of this folder, and returns its output. Fails with the
    program's name if it hangs, ends with an error or writes to standard error."""
    command = [sys.executable, "-X", "faulthandler", HERE / "programs" / name, *map(str, arguments)]
    paths = os.pathsep.join([os.environ["PYTHONPATH"], str(HERE)])
    environment = os.environ | {"PYTHONPATH": paths} | environment
    with subprocess.Popen(command, env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as program:
        try:
            output, errors = program.communicate(timeout=PROGRAM_TIMEOUT)
        except subprocess.TimeoutExpired:
            program.send_signal(signal.SIGABRT)  # faulthandler writes the stack of each thread
            output, errors = program.communicate()
            errors += f"\n{name} did not end within {PROGRAM_TIMEOUT} s".encode()
    if program.returncode or errors:
        text = (output + errors).decode()
        raise AssertionError(f"{name} {arguments} ended with {program.returncode}: {text[-3000:]}")
    return output.decode()
