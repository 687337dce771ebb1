"""Messages for asyncio: a thread waits for them, and lets the calls of others in between."""

from __future__ import annotations

import asyncio
import contextlib
import threading
from typing import TYPE_CHECKING, Callable, Iterator

from ._errors import InUseError
from . import _declarations as c

if TYPE_CHECKING:
    from types import TracebackType

    from ._messages import Message
    from ._receiving import Receiving

# How long one wait of a listener lasts at most, in ms. A loop that was closed is noticed then.
_WAIT = 60_000


class Turns:
    """Who may use the modem: a listener whenever no other call wants to."""

    def __init__(self) -> None:
        self.condition = threading.Condition()
        self.listening: Listening | None = None
        self.callers = 0
        self.is_waiting = False  # the listener, in the library

    def require_silence(self) -> None:
        """Raises InUseError when somebody awaits messages of a listener."""
        listening = self.listening
        if listening is not None and listening.is_awaited:
            raise InUseError(c.Code.IN_USE, "The modem is being listened to")

    @contextlib.contextmanager
    def caller(self, cancel: Callable[[], object]) -> Iterator[None]:
        """Keeps the listener out; `cancel` ends its wait."""
        is_counted = False
        try:
            with self.condition:
                self.callers += 1
                is_counted = True
                if self.is_waiting:
                    cancel()
                while self.is_waiting:
                    self.condition.wait(0.1)
            yield
        finally:
            with self.condition:
                self.callers -= is_counted
                self.condition.notify_all()


class Listening:
    """The thread. What it hears stands in the modem's `_heard`, where the next one who asks finds it."""

    def __init__(self, modem: Receiving) -> None:
        """In the loop that is to be told. Takes the place of one that nobody awaits, as that of a cancelled task is,
        and raises InUseError when somebody does."""
        self.has_news = asyncio.Event()
        self.awaiting = 0  # tasks
        self.error: BaseException | None = None
        self.has_ended = False
        self._stops = False
        self._modem = modem
        self._turns = modem._turns
        self.loop = asyncio.get_running_loop()
        with self._turns.condition:
            self._turns.require_silence()
            if self._turns.listening is not None:
                self._turns.listening.stop()
            self._turns.listening = self
        try:
            threading.Thread(target=self._run, name="tavro-listen", daemon=True).start()
        except BaseException:
            self._leave()
            raise

    @property
    def is_awaited(self) -> bool:
        return self.awaiting > 0

    def stop(self) -> None:
        """Has the thread end soon; nothing is lost by it."""
        with self._turns.condition:
            self._stops = True
            self._leave()
            if self._turns.is_waiting:
                self._modem._cancel_quietly()
            self._turns.condition.notify_all()

    def _run(self) -> None:
        try:
            while self._may_wait():
                try:
                    self._modem._ask(lambda _: self._modem._hear(_WAIT))
                finally:
                    with self._turns.condition:
                        self._turns.is_waiting = False
                        self._turns.condition.notify_all()
                self._tell()
        except BaseException as error:
            if not self._stops:
                self.error = error
        finally:
            with self._turns.condition:
                self._leave()
                self._turns.condition.notify_all()
            self.has_ended = True
            self._tell()

    def _leave(self) -> None:
        """Another one may listen, whose thread takes its turn behind this one."""
        if self._turns.listening is self:
            self._turns.listening = None

    def _may_wait(self) -> bool:
        """True when it is the listener's turn, False when it is to end."""
        with self._turns.condition:
            while (self._turns.callers > 0 or self._turns.is_waiting) and not self._stops:
                self._turns.condition.wait()
            if not self._stops:
                self._turns.is_waiting = True
            return not self._stops

    def _tell(self) -> None:
        try:
            self.loop.call_soon_threadsafe(self.has_news.set)
        except RuntimeError:  # the loop was closed
            self._stops = True


class Listener:
    """The messages that come, for `async for`; as a context of `async with` it ends with it.

    It may be cancelled at any time, and asked again: a message that was not given yet stays, for this listener, the
    next one, or Modem.wait."""

    def __init__(self, modem: Receiving) -> None:
        self._modem = modem
        self._listening: Listening | None = None
        self._is_closed = False

    def __aiter__(self) -> Listener:
        return self

    async def __anext__(self) -> Message:
        heard = self._modem._heard
        while not self._is_closed:
            if heard:
                return heard.popleft()
            self._leave_other_loop()
            if self._listening is None:
                self._listening = Listening(self._modem)
            self._listening.has_news.clear()
            if heard:
                continue
            if self._listening.has_ended:
                error, self._listening = self._listening.error, None
                if error is not None:
                    raise error
                if self._modem._is_open():
                    continue  # another listener came
                self._is_closed = True
                break
            listening = self._listening
            listening.awaiting += 1
            try:
                await listening.has_news.wait()
            finally:
                listening.awaiting -= 1
        raise StopAsyncIteration

    def _leave_other_loop(self) -> None:
        """Stops what listens for a loop that is not the running one; raises InUseError when it is awaited there."""
        listening = self._listening
        if listening is None or listening.has_ended or listening.loop is asyncio.get_running_loop():
            return
        if not listening.loop.is_closed():
            self._modem._turns.require_silence()
        listening.stop()
        self._listening = None

    async def __aenter__(self) -> Listener:
        return self

    async def __aexit__(self, kind: type[BaseException] | None, error: BaseException | None,
                        traceback: TracebackType | None) -> None:
        await self.aclose()

    async def aclose(self) -> None:
        """Ends it. Other calls wait for its end by themselves."""
        self._is_closed = True
        if self._listening is not None:
            self._listening.stop()
            self._listening.has_news.set()

    def __del__(self) -> None:
        if self._listening is not None:
            self._listening.stop()
