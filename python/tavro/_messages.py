"""Messages: received ones, and what is kept of those that were sent."""

from __future__ import annotations

import weakref
from dataclasses import dataclass, field
from datetime import datetime
from typing import TYPE_CHECKING, Any, Callable

from . import _declarations as c
from ._errors import ClosedError
from ._library import List, library
from ._values import Delivery, Waiting, aware, copied, optional, waiting_of

if TYPE_CHECKING:
    from ._receiving import Receiving


class Place:
    """Where a message stands, for its deletion: in a list of a modem. A copy in another process has none."""

    def __init__(self, modem: weakref.ref[Receiving] | None = None, messages: List | None = None,
                 index: int = 0) -> None:
        self._modem = modem
        self.messages = messages
        self.index = index

    def modem(self) -> Receiving:
        found = self._modem() if self._modem else None
        if found is None:
            raise ClosedError(c.Code.INVALID_HANDLE, "The modem of this message is gone")
        return found

    def __reduce__(self) -> tuple[type[Place], tuple[()]]:
        return (Place, ())


@dataclass(frozen=True)
class Message:
    """A received message. The classic manner knows nothing from `message_class` on."""

    sender: str  # "+" and digits for an international number, digits, or a name
    text: str
    time: datetime | None  # when the service centre received it (its last part), in the sender's zone; None for no date
    service_centre: str  # empty when the modem gave none
    index: int  # its place in the inbox, from 1, when it was read
    message_class: int | None  # 0 to 3
    destination_port: int | None  # of an application
    source_port: int | None
    is_replacement: bool  # whether it replaces an earlier message of its kind from the same sender
    parts: int  # of how many parts the long message consists that it shows, or shows a part of; or 1
    missing_parts: tuple[int, ...]  # the numbers, from 1, of the parts that it does not show
    waiting: tuple[Waiting, ...]  # at most one of each kind
    data: bytes  # the user data behind its header; of a message that cannot be decoded all its octets
    _place: Place = field(default_factory=Place, repr=False, compare=False)

    def delete(self) -> None:
        """As Modem.delete, of the modem that gave it."""
        self._place.modem().delete(self)


def read_messages(modem: Receiving, give: Callable[[Any], Any]) -> list[Message]:
    """The messages of the list that a function gives for this modem, none when it gives no list."""
    messages = List(give)
    owner = weakref.ref(modem)
    return [
        Message(
            sender=str(it.phone),
            text=str(it.text),
            time=aware(it.time, it.time_zone),
            service_centre=str(it.smsc),
            index=it.index,
            message_class=optional(it.message_class),
            destination_port=optional(it.destination_port),
            source_port=optional(it.source_port),
            is_replacement=bool(it.is_replacement),
            parts=it.parts,
            missing_parts=tuple(it.missing_parts[: it.missing_part_count]),
            waiting=waiting_of(it.waiting, it.waiting_count),
            data=copied(it.data, it.data_length),
            _place=Place(owner, messages, number),
        )
        for number, it in enumerate(messages.elements(library().tavro_message_at, c.Message))
    ]


@dataclass(frozen=True)
class Sent:
    """A message that was sent."""

    references: tuple[int, ...]  # the modem's, one for each part
    _modem: Receiving = field(repr=False, compare=False)

    def __str__(self) -> str:
        return ",".join(map(str, self.references))

    def delivery(self) -> Delivery:
        """What became of it, as far as reports on it came; it has to be sent with report=True."""
        return self._modem.delivery(self)

    def wait(self, timeout: float | None = None) -> Delivery:
        """The same, when it is final, or after so many seconds."""
        return self._modem.wait_for_delivery(self, timeout)
