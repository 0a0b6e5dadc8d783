"""end_inside_a_callback.py NAME: the interpreter ends, which takes it a while, while a thread of it waits in the
service's own code in the middle of a call, and tries to go on meanwhile."""

import sys
import threading
import time

from callbacks import CALLBACKS, FINALIZERS

inside = threading.Event()


def hook(sleep=time.sleep):
    inside.set()
    sleep(0.1)


class LastMoment:
    def __del__(self, sleep=time.sleep):
        sleep(0.2)


sys.modules["last"] = LastMoment()
threading.Thread(target=(CALLBACKS | FINALIZERS)[sys.argv[1]], args=[hook], daemon=True).start()
inside.wait()
