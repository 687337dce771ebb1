"""A modem's handle: its life, and how its calls are made."""

from __future__ import annotations

import atexit
import collections
import contextlib
import os
import threading
import time
import warnings
import weakref
from ctypes import byref, c_int32, c_void_p
from typing import TYPE_CHECKING, Any, Callable, Generic, NoReturn, TypeVar, overload

from . import _declarations as c
from ._arguments import int32, milliseconds, text, truth
from ._calls import Job, run
from ._errors import AfterForkError, ClosedError, Error
from ._library import check, last_error, library
from ._listening import Turns
from ._values import LongMessage

if TYPE_CHECKING:
    from ._messages import Message

Result = TypeVar("Result")

# How long a wait that was cancelled is given to end before the modem is interrupted, or said to be in use; in seconds.
_PATIENCE = 0.5

_open_handles: weakref.WeakSet[Handle] = weakref.WeakSet()


class Handle:
    """An open tavro_modem. Calls are made by _talk, when they may take their time, and by _quick."""

    # So that a setting that is misspelled is an error.
    __slots__ = ("_handle", "_process", "_turns", "_heard", "_memory", "_has_wide_references", "_is_closing",
                 "_counting", "_under_way", "_is_interrupted", "__weakref__")

    def __init__(self, options: c.Options) -> None:
        self._handle: int | None = None
        self._process = os.getpid()
        self._turns = Turns()
        self._heard: collections.deque[Message] = collections.deque()  # what came and nobody was given yet
        self._memory: bytes | None = None  # to select before anything else is asked
        self._has_wide_references = bool(options.flags & c.Flag.WIDE_REFERENCES)
        self._is_closing = False
        self._counting = threading.Lock()  # of these two
        self._under_way = 0  # calls that ask the modem, of which one gets it
        self._is_interrupted = False
        handle = c_void_p()
        check(library().tavro_open(byref(options), byref(handle)))
        self._handle = handle.value
        _open_handles.add(self)

    def _opened(self) -> int:
        if self._handle is None or self._is_closing:
            raise ClosedError(c.Code.INVALID_HANDLE, "The modem is closed")
        if self._process != os.getpid():
            raise AfterForkError(c.Code.AFTER_FORK, "The modem belongs to the process that made this one")
        return self._handle

    def _is_open(self) -> bool:
        return self._handle is not None and not self._is_closing

    def _quick(self, work: Callable[[int], Result]) -> Result:
        """What `work` returns, which is given the handle and asks the modem nothing."""
        handle = self._opened()
        with self._turns.caller(self._cancel_quietly):
            return work(handle)

    def _talk(self, work: Callable[[int], Result], *, gently: bool = False,
              interrupted: Callable[[BaseException, Job[Any]], None] | None = None) -> Result:
        """What `work` returns, which is given the handle and asks the modem; a signal may end that. A wait is ended
        `gently` at first. `interrupted` is told how a call ended that a signal ended."""
        self._opened()

        def ended(reason: BaseException, job: Job[Result]) -> None:
            self._resume()
            if interrupted is not None:
                interrupted(reason, job)

        ends: list[Callable[[], object]] = [self._cancel_quietly] if gently else []
        with self._turns.caller(self._cancel_quietly):
            return run(lambda: self._ask(work), [*ends, self._interrupt], ended)

    def _ask(self, work: Callable[[int], Result]) -> Result:
        """The same, in the thread that makes the call."""
        with self._counting:
            if self._under_way == 0:  # else the interruption is for another call, which ends by it
                self._resume()
            self._under_way += 1
        try:
            handle, memory = self._opened(), self._memory
            if memory is not None:
                check(library().tavro_set_text(handle, c.Property.MESSAGE_MEMORY, memory))
                self._memory = None
            return work(handle)
        finally:
            with self._counting:
                self._under_way -= 1

    def _cancel_quietly(self) -> None:
        if self._handle is not None:
            library().tavro_cancel(self._handle)

    def _interrupt(self) -> None:
        self._is_interrupted = True
        if self._handle is not None:
            library().tavro_interrupt(self._handle, 1)

    def _resume(self) -> None:
        if self._is_interrupted and self._handle is not None:
            library().tavro_interrupt(self._handle, 0)
        self._is_interrupted = False

    def close(self) -> None:
        """Closes the port and ends the modem; nothing when it is closed. A wait in another thread ends with
        ClosedError; raises InUseError when another thread is about something else, and the modem then stays open."""
        handle = self._handle
        if handle is None:
            return
        if self._process != os.getpid():
            self._handle = None
            check(library().tavro_close(handle))
            return
        self._is_closing = True
        try:
            self._end_listening()
            end = time.monotonic() + _PATIENCE
            while (code := library().tavro_close(handle)) == c.Code.IN_USE:
                failure = last_error(code)
                if time.monotonic() >= end:
                    raise failure
                library().tavro_cancel(handle)
                time.sleep(0.005)
            self._handle = None
            check(code)
        except BaseException:
            self._resume()
            raise
        finally:
            self._is_closing = False

    def _end_listening(self) -> None:
        turns = self._turns
        with turns.condition:
            if turns.listening is not None:
                turns.listening.stop()
            while not turns.condition.wait_for(lambda: not turns.is_waiting, _PATIENCE):
                self._interrupt()

    def __del__(self) -> None:
        handle = getattr(self, "_handle", None)
        if handle is not None:
            if self._process == os.getpid():
                warnings.warn(f"unclosed modem {self!r}", ResourceWarning, source=self)
            library().tavro_close(handle)

    def __reduce__(self) -> NoReturn:
        raise TypeError("a modem cannot be copied or pickled")


@atexit.register
def _close_all() -> None:
    for handle in list(_open_handles):
        with contextlib.suppress(Error):
            handle.close()


class Kind(Generic[Result]):
    """How a property is shown: what the library has, as Python's, and the other way round."""

    def __init__(self, is_text: bool, shown: Callable[[Any], Result], given: Callable[[Any, str], Any]) -> None:
        self.is_text = is_text
        self.shown = shown
        self.given = given


TEXT = Kind(True, str, text)
PATH = Kind(True, str, lambda value, what: text(os.fspath(value), what))
NUMBER = Kind(False, int, int32)
FLAG = Kind(False, bool, lambda value, what: int(truth(value, what)))
SECONDS = Kind(False, lambda value: float(value / 1000), milliseconds)
LONG_MESSAGE = Kind(False, LongMessage, int32)


class Property(Generic[Result]):
    """A property that cannot be set. One that `asks` asks the modem."""

    def __init__(self, number: c.Property, kind: Kind[Result], doc: str, asks: bool = False) -> None:
        self._number = number
        self._kind = kind
        self._asks = asks
        self.__doc__ = doc

    def __set_name__(self, owner: type, name: str) -> None:
        self._name = name

    @overload
    def __get__(self, modem: None, owner: type) -> Property[Result]: ...

    @overload
    def __get__(self, modem: Handle, owner: type) -> Result: ...

    def __get__(self, modem: Handle | None, owner: type) -> Property[Result] | Result:
        if modem is None:
            return self
        return modem._talk(self.read) if self._asks else modem._quick(self.read)

    def __set__(self, modem: Handle, value: NoReturn) -> None:
        raise AttributeError(f"{self._name} cannot be set")

    def read(self, handle: int) -> Result:
        """What it is, in a call that is being made."""
        if self._kind.is_text:
            value = c.Text()
            check(library().tavro_get_text(handle, self._number, byref(value)))
            return self._kind.shown(value)
        number = c_int32()
        check(library().tavro_get_int(handle, self._number, byref(number)))
        return self._kind.shown(number.value)


class Setting(Property[Result]):
    """A property that can be set."""

    def __set__(self, modem: Handle, value: Any) -> None:
        given = self._kind.given(value, self._name)
        work = lambda handle: self.write(handle, given)
        modem._talk(work) if self._asks else modem._quick(work)

    def write(self, handle: int, given: Any) -> None:
        set_it = library().tavro_set_text if self._kind.is_text else library().tavro_set_int
        check(set_it(handle, self._number, given))
