"""What comes to a modem: messages, and reports on those that were sent."""

from __future__ import annotations

from ctypes import byref, c_int32
from typing import Any, Literal

from . import _declarations as c
from ._arguments import Deadline, text
from ._errors import DeleteError
from ._handle import FLAG, TEXT, Handle, Property, Setting
from ._library import List, check, library
from ._listening import Listener
from ._messages import Message, Sent, read_messages
from ._values import Delivery, DeliveryState, Memory, Report

_WHICH = {"unread": 0, "read": 1, "all": 2}


class MemorySetting(Setting[str]):
    """The memory, in the place of one that is still to be selected."""

    def __set__(self, modem: Handle, value: Any) -> None:
        pending, modem._memory = modem._memory, None
        try:
            super().__set__(modem, value)
        except BaseException:
            modem._memory = pending
            raise


class Receiving(Handle):
    """A modem that receives."""

    __slots__ = ("_is_cancelled",)

    def __init__(self, options: c.Options) -> None:
        self._is_cancelled = False
        super().__init__(options)

    memory = MemorySetting(c.Property.MESSAGE_MEMORY, TEXT, '"SM" (the SIM, the start) or "ME"; asks, setting too.',
                     asks=True)
    joined = Setting(c.Property.CONCATENATE, FLAG, "Whether the parts of a received message are shown as one.")
    is_memory_full = Property(c.Property.IS_MEMORY_FULL, FLAG, "Whether the memory was full when the modem last told.")

    def messages(self, which: Literal["all", "unread", "read"] = "all") -> list[Message]:
        """The messages in the modem's memory. Reading makes them read."""
        if which not in _WHICH:
            raise ValueError(f'which must be "all", "unread" or "read", not {which!r}')
        return self._talk(lambda handle: read_messages(
            self, lambda place: library().tavro_read(handle, _WHICH[which], place)))

    def inbox(self) -> list[Message]:
        """The messages that are known of messages(), wait() and listen(). Asks nothing."""
        return self._quick(lambda handle: read_messages(
            self, lambda place: library().tavro_inbox(handle, place)))

    def wait(self, timeout: float | None = None) -> list[Message]:
        """The messages that came since the last call, as soon as there are any; empty after so many seconds, or when
        cancel() ended it. The first time it is what is unread in the memory, too. Other threads run meanwhile.

        Nothing is lost by a failure or by Ctrl-C: the next call goes on. Raises ReadError, or ConnectError 1012 when
        the modem is gone."""
        end = Deadline(timeout)
        is_first = True
        while True:
            self._turns.require_silence()
            if self._heard:
                heard, count = self._heard, len(self._heard)
                return [heard.popleft() for _ in range(count)]
            if self._take_cancelled() or (end.is_over() and not is_first):
                return []
            self._talk(lambda _: self._hear(end.milliseconds()), gently=True)
            is_first = False

    def _hear(self, milliseconds: int) -> None:
        handle = self._opened()
        self._heard.extend(read_messages(self, lambda place: library().tavro_wait(handle, milliseconds, place)))

    def cancel(self) -> None:
        """From any thread, and from a signal's handler: ends the wait that is under way, or the next one."""
        handle = self._opened()
        self._is_cancelled = True
        check(library().tavro_cancel(handle))

    def _take_cancelled(self) -> bool:
        is_cancelled, self._is_cancelled = self._is_cancelled, False
        return is_cancelled

    def listen(self) -> Listener:
        """The messages that come, for `async for`. Between them the modem can be used as always."""
        self._opened()
        return Listener(self)

    def delete(self, message: Message) -> None:
        """Removes a message, all its parts, from the modem's memory. Raises DeleteError 6007 when it is not there."""
        if not isinstance(message, Message):
            raise TypeError(f"message must be a tavro.Message, not {type(message).__name__}")
        place = message._place
        place.modem()
        messages = place.messages.handle if place.messages else None
        self._talk(lambda handle: check(library().tavro_delete(handle, messages, place.index)))

    def delete_all(self) -> None:
        """Removes every message that inbox() has."""
        try:
            self._talk(lambda handle: check(library().tavro_delete_all(handle)))
        except DeleteError as error:
            if error.code != 6009:  # there is none
                raise

    def memories(self) -> list[Memory]:
        """How full each memory is that the modem can read from."""
        return list(self._talk(read_memories))

    # --- Reports on messages that were sent --------------------------------------------------------------------------

    def reports(self) -> list[Report]:
        """Those that came so far, each once."""
        return self._quick(lambda handle: List(lambda place: library().tavro_reports(handle, place)).read(
            library().tavro_report_at, c.Report, Report.read))

    def clear_reports(self) -> None:
        """From now on reports() gives those that come later."""
        self._quick(lambda handle: check(library().tavro_clear_reports(handle)))

    def delivery(self, sent: Sent | str) -> Delivery:
        """What became of a message that was sent with report=True; also by its references, "12" or "12,13"."""
        references, state = self._references(sent), c_int32()

        def look(handle: int) -> Delivery:
            parts = List(lambda place: library().tavro_delivery(handle, references, byref(state), place))
            return Delivery(DeliveryState(state.value),
                            tuple(parts.read(library().tavro_report_at, c.Report, Report.read)))

        return self._quick(look)

    def wait_for_delivery(self, sent: Sent | str, timeout: float | None = None) -> Delivery:
        """The same, when it is final, after so many seconds, or when cancel() ended it. Messages that come meanwhile
        are what the next wait() gives."""
        references, end = self._references(sent), Deadline(timeout)
        while True:
            if self._turns.listening is None:
                self._talk(lambda handle: check(library().tavro_wait_for_delivery(
                    handle, references, end.milliseconds(), None)), gently=True)
            delivery = self.delivery(sent)
            if delivery.is_final or self._take_cancelled() or end.is_over():
                return delivery
            if self._turns.listening is not None:  # it hears the reports
                with self._turns.condition:
                    self._turns.condition.wait(end.milliseconds(250) / 1000)

    def _references(self, sent: Sent | str) -> bytes:
        if not isinstance(sent, (Sent, str)):
            raise TypeError(f"sent must be what send() returned, not {type(sent).__name__}")
        if isinstance(sent, Sent) and sent._modem is not self:
            raise ValueError("sent is of another modem")
        return text(str(sent), "references")


def read_memories(handle: int) -> tuple[Memory, ...]:
    memories = List(lambda place: library().tavro_memories(handle, place))
    return tuple(memories.read(library().tavro_memory_at, c.Memory, Memory.read))
