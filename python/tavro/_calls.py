"""Calls that take their time, and can be interrupted by a signal.

Python handles signals in the main thread, between two of its own steps: a call of the library that lasts a minute would
keep Ctrl-C waiting for a minute. So calls of the main thread are made in a thread of their own. When the handler of a
signal raises, as that of Ctrl-C does, the call is ended, its end awaited, and what was raised goes on its way."""

from __future__ import annotations

import _thread
import itertools
import math
import threading
import time
from typing import Callable, Generic, Sequence, TypeVar

Result = TypeVar("Result")

# How long a way of ending a call is given, in seconds, before the next one.
_PATIENCE = 0.5
# How long a wait for a call is at a time, in seconds. A signal ends such a wait, but for one that comes right before it
# begins, while this thread waits for the interpreter's lock; and on Windows none does.
_SLICE = 0.1


class Job(Generic[Result]):
    """A call, and how it ended."""

    def __init__(self, work: Callable[[], Result]) -> None:
        self.error: BaseException | None = None
        self.result: Result | None = None
        self._work = work
        self._has_ended = False
        self._claim = threading.Lock()  # taken by the thread that makes the call, or by the one that gives it up
        self._done = threading.Lock()
        self._done.acquire()

    def run(self) -> None:
        if not self._claim.acquire(False):
            return
        try:
            self.result = self._work()
        except BaseException as error:
            self.error = error
        self._has_ended = True
        self._done.release()

    def give_up(self) -> bool:
        """Whether the call was not begun; then it never will be."""
        return self._claim.acquire(False)

    def wait(self, seconds: float = math.inf) -> bool:
        """Whether it ended, within so many seconds."""
        end = time.monotonic() + seconds
        while not self._has_ended:
            left = end - time.monotonic()
            if left <= 0:
                return False
            self._done.acquire(timeout=min(left, _SLICE))
        return True

    def outcome(self) -> Result:
        error, self.error = self.error, None
        if error is not None:
            try:
                raise error
            finally:
                del error
        return self.result  # type: ignore[return-value]


def run(work: Callable[[], Result], ends: Sequence[Callable[[], object]],
        interrupted: Callable[[BaseException, Job[Result]], None] | None = None) -> Result:
    """What `work` returns or raises, which is called once, in whichever thread.

    When the handler of a signal raises meanwhile, the call is ended by each of `ends`, the gentlest first, the last one
    again and again: the call may have been about to begin. `interrupted` is told what was raised, and how the call
    ended. A second signal leaves at once a call that will not end; the modem is then in use until it does."""
    if threading.get_ident() != threading.main_thread().ident:
        return work()
    job = Job(work)
    try:
        try:
            _thread.start_new_thread(job.run, ())
        except RuntimeError:  # there can be no more threads, as while the program ends
            job.run()
        job.wait()
    except BaseException as reason:
        if job.give_up():
            raise
        for end in itertools.chain(ends, itertools.repeat(ends[-1])):
            end()
            if job.wait(_PATIENCE):
                break
        if interrupted is not None:
            interrupted(reason, job)
        raise
    return job.outcome()
