"""What the library gives, as values of Python's own."""

from __future__ import annotations

import ctypes
import enum
from dataclasses import dataclass
from datetime import datetime, timedelta, timezone
from typing import Any

from . import _declarations as c

_EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)


def aware(seconds: int, zone: int) -> datetime | None:
    """A time in its zone, so many minutes from UTC; None for what is no date."""
    if seconds == c.NO_TIME:
        return None
    try:
        return (_EPOCH + timedelta(seconds=seconds)).astimezone(timezone(timedelta(minutes=zone)))
    except (OverflowError, ValueError):
        return None


def optional(number: int) -> int | None:
    """None for -1, which stands for none."""
    return None if number == -1 else number


def copied(pointer: Any, length: int) -> bytes:
    return ctypes.string_at(pointer, length) if length > 0 else b""


class Recovery(enum.Flag):
    """What may be done about a modem that does not answer any more, in this order."""

    NONE = 0
    REPEAT = c.Flag.RECOVER_BY_REPEATING.value  # ask again
    RESTART = c.Flag.RECOVER_BY_RESTARTING.value  # restart the modem
    REOPEN = c.Flag.RECOVER_BY_REOPENING.value  # close the port and open it again
    ALL = REPEAT | RESTART | REOPEN


class LongMessage(enum.IntEnum):
    """What becomes of a text that does not fit one message."""

    CONCATENATE = 0  # at most 255 parts that the phone joins
    SPLIT = 1  # independent messages, nothing added
    FORMATTED_SPLIT = 2  # at most 9 independent messages, each ending in "-Msg i/n-"
    TRUNCATE = 3  # what fits one message; the rest is dropped


class WaitingKind(enum.IntEnum):
    VOICE = 0
    FAX = 1
    EMAIL = 2
    OTHER = 3
    VIDEO = 4

    @classmethod
    def _missing_(cls, value: object) -> WaitingKind:
        return cls.OTHER


@dataclass(frozen=True)
class Waiting:
    """That messages of a kind wait for the user at his network."""

    kind: WaitingKind
    is_active: bool  # whether there are any
    count: int | None  # up to 255 for more; None when the network does not say


def waiting_of(pointer: Any, count: int) -> tuple[Waiting, ...]:
    return tuple(Waiting(WaitingKind(pointer[i].kind), bool(pointer[i].active), optional(pointer[i].count))
                 for i in range(count))


class DeliveryState(enum.IntEnum):
    """What became of a message that was sent: how good it is, the best first."""

    DELIVERED = 0
    FORWARDED = 1  # handed on, and whether it arrived cannot be told
    REPLACED = 2  # by a later one, in the service centre
    UNKNOWN = 3  # nothing was heard of it yet
    TRYING = 4  # it could not be delivered yet, and the service centre goes on
    GIVEN_UP = 5  # it could not be delivered, and the service centre tries no more
    FAILED = 6  # it cannot be delivered

    @property
    def is_final(self) -> bool:
        return self not in (DeliveryState.UNKNOWN, DeliveryState.TRYING)

    @classmethod
    def _missing_(cls, value: object) -> DeliveryState:
        return cls.UNKNOWN


@dataclass(frozen=True)
class Report:
    """What the service centre says of a message, or of a part of one."""

    reference: int  # of the message, 0 to 255
    state: DeliveryState
    status: int | None  # the octet as received; None for a part that no report came for
    text: str  # the status in the standard's words
    recipient: str
    sent_time: datetime | None  # when the service centre received the message
    discharge_time: datetime | None  # when it was delivered, or tried last
    service_centre: str

    @classmethod
    def read(cls, it: c.Report) -> Report:
        return cls(it.reference, DeliveryState(it.state), optional(it.status), str(it.text), str(it.recipient),
                   aware(it.sent_time, it.sent_time_zone), aware(it.discharge_time, it.discharge_time_zone),
                   str(it.smsc))


@dataclass(frozen=True)
class Delivery:
    """What became of a message: the worst state of its parts, and of each the final report, else the latest one."""

    state: DeliveryState
    parts: tuple[Report, ...]

    @property
    def is_final(self) -> bool:
        return self.state.is_final


@dataclass(frozen=True)
class Memory:
    """How full a message memory is."""

    name: str  # "SM" the SIM, "ME" the equipment, "MT" both, or another
    used: int
    total: int

    @classmethod
    def read(cls, it: c.Memory) -> Memory:
        return cls(str(it.name), it.used, it.total)


@dataclass(frozen=True)
class UssdAnswer:
    text: str
    expects_reply: bool  # whether the session waits for another code

    def __str__(self) -> str:
        return self.text


@dataclass(frozen=True)
class Info:
    """What modem, SIM and network say of themselves; None where they do not."""

    manufacturer: str | None
    model: str | None
    revision: str | None
    imei: str | None
    imsi: str | None
    own_number: str | None
    network: str | None
    signal: int | None  # in percent
    signal_dbm: int | None
    battery: int | None  # in percent
    service_centre: str | None
    memories: tuple[Memory, ...] | None
