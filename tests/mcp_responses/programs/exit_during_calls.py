"""exit_during_calls.py callbacks|collector PART PARTS: the interpreter exits while a daemon thread is inside Python
code that a call of the extension runs. The thread then tries to take the GIL, and is ended by unwinding its stack.

With "callbacks", the Python code is that of callbacks.py, or several threads call functions in a loop. With
"collector", it is a finalizer that the collector runs at the first, second, ... allocation of a container in a call of
each function, and in calls that fail. Each case is a process of its own. Makes the calls of one of PARTS parts of the
cases.
"""

import functools
import os
import resource
import select
import sys
import threading
import time

from callbacks import CALLBACKS, FILES, FINALIZERS, collecting, owning_record
from comparison import outcome
from samples import HERE, ROW, SYMBOL, good_calls, real, record
from script_helper import EMULATED, IS_SANITIZED

PROCESSES = 8  # at a time
MAX_ALLOCATIONS = 8  # that are tested of a call


LONG = "\x01" * 10**7
MEMORY_ERRORS = [MemoryError() for _ in range(20)]  # as many as a free list has, so that the next one is allocated


def exceed_memory():
    """Fails an allocation of C++ while another exception is handled: then the interpreter creates a MemoryError."""
    limits = resource.getrlimit(resource.RLIMIT_AS)
    try:
        LONG.missing
    except AttributeError:
        resource.setrlimit(resource.RLIMIT_AS, (1, limits[1]))
        try:
            real.tool_result_text(LONG)
        except MemoryError as error:
            MEMORY_ERRORS.append(error)
            raise
        finally:
            resource.setrlimit(resource.RLIMIT_AS, limits)


CYCLE = []
CYCLE.append(CYCLE)
# One call for each C++ exception that becomes a Python error.
FAILING = [
    lambda: real.tool_result_text([{"k": object()}]),
    lambda: real.tool_result_text({(): 1}),
    lambda: real.tool_result_text({7: [2**63]}),
    lambda: real.tool_result_text(CYCLE),
    lambda: real.build_test_coverage("", CYCLE),
    lambda: real._encoded_size("\ud800"),
    lambda: real.without_nulls("not a dict"),
    lambda: real.build_file_symbol(record(SYMBOL, fqn=7), "module"),
    lambda: real.code_lines("/", [("a\0", 1)]),
]
if not EMULATED and not IS_SANITIZED:  # there the limit does not work, or ends the process
    FAILING.append(exceed_memory)


def fail(call):
    assert outcome(call)[0] != "returned"


def at_allocation(number, call):
    """The call as a function of a hook, which runs at the allocation with this number."""

    def call_with_hook(hook):
        earlier = iter(range(number))
        collecting(lambda: next(earlier, None) is not None or hook(), call)

    return call_with_hook


def loop(hook):
    while True:
        hook()
        real.code_lines(HERE, FILES)
        real.build_paginated_response([ROW], 9, 0)


def loop_in_threads(hook):
    for _ in range(3):
        threading.Thread(target=loop, args=(int,), daemon=True).start()
    loop(hook)


def cases():
    """The label of each case, and a function that makes its call with a hook."""
    if sys.argv[1] == "callbacks":
        yield from (CALLBACKS | FINALIZERS).items()
        yield from [("threads", loop_in_threads)] * 20
        return
    calls = {name: functools.partial(getattr(real, name), **good) for name, good in good_calls().items()}
    for name in ("build_component", "build_symbol_full_details", "build_api_endpoint"):
        calls[f"{name} of an owning record"] = functools.partial(getattr(real, name), owning_record(int))
    calls |= {f"error {number}": functools.partial(fail, call) for number, call in enumerate(FAILING)}
    for name, good_call in calls.items():
        good_call()
        for number in range(MAX_ALLOCATIONS):
            runs = []
            call = at_allocation(number, good_call)
            call(lambda: runs.append(True))
            if not runs:
                break
            yield f"{name}, finalizer {number}", call


def start(call):
    """In a child process: starts the call in a thread, and returns while its hook waits for the interpreter to exit."""
    # Pipes and not threading.Events, whose locks the main thread may hold when the collector runs the hook there. For
    # the same reason the hook does not wait for ever.
    reading, writing = os.pipe()
    is_exiting, exiting = os.pipe()

    def hook(write=os.write, select=select.select):
        write(writing, b"inside")
        select([is_exiting], [], [], 5)

    def run():
        try:
            call(hook)
        finally:
            os.write(writing, b"after the call")

    class Last:
        def __del__(self, write=os.write, sleep=time.sleep):
            write(exiting, b"exiting")
            sleep(0.3)

    sys.modules["last"] = Last()
    threading.Thread(target=run, daemon=True).start()
    assert os.read(reading, 1)


def wait_for_one(running):
    child, status = os.wait()
    label = running.pop(child)
    assert status == 0, f"{label} ended with status {os.waitstatus_to_exitcode(status)}"


def main():
    running = {}
    part, parts = map(int, sys.argv[2:])
    all_cases = [*cases()][part::parts]
    assert len(all_cases) > 3, len(all_cases)
    for label, call in all_cases:
        if len(running) == PROCESSES:
            wait_for_one(running)
        child = os.fork()
        if child == 0:
            start(call)
            return
        running[child] = label
    while running:
        wait_for_one(running)


main()
