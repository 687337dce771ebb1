"""PDUs without a modem (3GPP TS 23.040, 9.2.2)."""

from __future__ import annotations

import enum
from ctypes import byref
from dataclasses import dataclass
from datetime import datetime
from typing import Any

from . import _declarations as c
from ._arguments import int32, octets, text, truth
from ._errors import Error
from ._library import List, check, library
from ._values import DeliveryState, LongMessage, Waiting, aware, copied, optional, waiting_of


class PduKind(enum.IntEnum):
    UNKNOWN = 0
    DELIVER = 1
    SUBMIT = 2
    STATUS_REPORT = 3

    @classmethod
    def _missing_(cls, value: object) -> PduKind:
        return cls.UNKNOWN


class Direction(enum.Enum):
    RECEIVED = c.PDU_RECEIVED
    SENT = c.PDU_SENT


@dataclass(frozen=True)
class PduField:
    """Some bits of a PDU and what they say."""

    offset: int  # the octet in which it begins, from 0
    length: int  # how many octets it has, or has a part of
    first_bit: int  # of the octet in which it begins, from the least significant one, 0
    bit_count: int  # 8 for each octet, unless it is a part of one
    name: str  # "TP-MTI", "TP-OA Address-Value"
    value: str  # in words


@dataclass(frozen=True)
class Pdu:
    """A PDU taken apart. What its kind does not have is 0, empty or None."""

    kind: PduKind
    number: str  # the sender, or the recipient of what was sent
    text: str
    service_centre: str  # "+" and digits for an international number
    time: datetime | None  # when the service centre received it
    coding: int  # 7 the GSM alphabet, 8 octets, 16 UCS2
    protocol: int  # TP-PID
    data_coding: int  # TP-DCS
    message_class: int | None  # 0 to 3
    destination_port: int | None  # of an application
    source_port: int | None
    long_reference: int | None  # that the parts of a long message share
    has_wide_reference: bool  # whether that has 16 bits
    part: int  # from 1; or 1
    parts: int  # or 1
    reference: int  # TP-MR of what was sent
    asks_for_report: bool
    validity: str  # how long the service centre tries: "1D"; empty for none, or
    validity_time: datetime | None  # until when
    status: int  # of a status report: TP-ST
    state: DeliveryState  # of a status report
    status_text: str
    discharge_time: datetime | None  # of a status report: when it was delivered, or tried last
    octets: bytes  # of the PDU
    data: bytes  # the user data behind its header
    waiting: tuple[Waiting, ...]
    fields: tuple[PduField, ...]


class PduError(Error, ValueError):
    """A PDU that is wrong: code -2. `octet` is where, from 0, and `pdu` has what stands before it."""

    def __init__(self, text: str, octet: int, pdu: Pdu) -> None:
        super().__init__(c.Code.INVALID_ARGUMENT, text)
        self.args = (text, octet, pdu)
        self.octet = octet
        self.pdu = pdu


@dataclass(frozen=True)
class PduPart:
    """One SMS-SUBMIT."""

    hex: str  # as it is written to the modem, the service centre's address in front
    tpdu_length: int  # octets without that address, as AT+CMGS takes it

    def __str__(self) -> str:
        return self.hex


def decode(pdu: str, *, service_centre: bool = True, direction: Direction | None = None) -> Pdu:
    """Takes a PDU apart: hex digits, blanks between them.

    Without a direction it is what modems list: SMS-DELIVER, SMS-SUBMIT or SMS-STATUS-REPORT. Without `service_centre`
    that address does not stand in front. Raises PduError for one that is wrong."""
    digits = text(pdu, "pdu")
    flags = 0 if truth(service_centre, "service_centre") else c.PDU_WITHOUT_SMSC
    if direction is not None:
        flags |= Direction(direction).value
    given = List(lambda place: library().tavro_decode(digits, flags, place))
    it = c.Pdu()
    check(library().tavro_decoded(given.handle, byref(it)))
    decoded = Pdu(
        kind=PduKind(it.kind),
        number=str(it.number),
        text=str(it.text),
        service_centre=str(it.service_centre),
        time=aware(it.time, it.time_zone),
        coding=it.coding,
        protocol=it.protocol,
        data_coding=it.data_coding,
        message_class=optional(it.message_class),
        destination_port=optional(it.destination_port),
        source_port=optional(it.source_port),
        long_reference=optional(it.long_reference),
        has_wide_reference=bool(it.is_wide),
        part=it.part,
        parts=it.parts,
        reference=it.reference,
        asks_for_report=bool(it.asks_for_report),
        validity=str(it.validity),
        validity_time=aware(it.validity_time, it.validity_time_zone),
        status=it.status,
        state=DeliveryState(it.state),
        status_text=str(it.status_text),
        discharge_time=aware(it.discharge_time, it.discharge_time_zone),
        octets=copied(it.octets, it.octet_count),
        data=copied(it.data, it.data_length),
        waiting=waiting_of(it.waiting, it.waiting_count),
        fields=tuple(given.read(library().tavro_pdu_field_at, c.PduField, _field)),
    )
    if error := str(it.error):
        raise PduError(error, it.error_octet, decoded)
    return decoded


def _field(it: c.PduField) -> PduField:
    return PduField(it.offset, it.length, it.first_bit, it.bit_count, str(it.name), str(it.value))


def encode(number: str, message: str, *, coding: int | None = None, report: bool = False, flash: bool = False,
           long_message: LongMessage = LongMessage.CONCATENATE, validity: str | None = None,
           service_centre: str | None = None, wide_references: bool = False,
           reference: int | None = None) -> list[PduPart]:
    """The PDUs that Modem.send sends, in order.

    `coding` is 7, 8 or 16; None: 7 when that has all characters, else 16. `validity` is "30M", "12H", "1D" (for None)
    or "2W". Parts of a long message share the `reference`, 0 to 255, or 65535 with `wide_references`; None: some
    value by the time. Raises SendValueError, ReadValueError 5010 for the reference, and ValueError for a text that is
    longer than all parts, unless `long_message` is TRUNCATE."""
    given: dict[str, Any] = {"flags": 0}
    for is_wanted, flag, what in ((flash, c.ENCODE_FLASH, "flash"), (report, c.ENCODE_STATUS_REPORT, "report"),
                                  (wide_references, c.ENCODE_WIDE_REFERENCES, "wide_references")):
        given["flags"] |= flag if truth(is_wanted, what) else 0
    if coding is not None:
        given["coding"] = int32(coding, "coding")
        if given["coding"] == 0:
            raise ValueError("coding must be 7, 8 or 16")
    given["long_message"] = int32(long_message, "long_message")
    if reference is not None:
        given["reference"] = int32(reference, "reference")
        given["flags"] |= c.ENCODE_WITH_REFERENCE
    if validity is not None:
        given["validity"] = text(validity, "validity")
    if service_centre is not None:
        given["service_centre"] = text(service_centre, "service_centre")
    options = c.EncodeOptions(**given)
    recipient, content = text(number, "number"), octets(message, "message")
    parts = submit_parts(recipient, content, options)
    require_room(recipient, content, options, parts)
    return parts


def submit_parts(number: bytes, content: bytes, options: c.EncodeOptions) -> list[PduPart]:
    parts = List(lambda place: library().tavro_encode_n(number, content, len(content), byref(options), place))
    return parts.read(library().tavro_pdu_part_at, c.PduPart, lambda it: PduPart(str(it.hex), it.tpdu_length))


def require_room(number: bytes, content: bytes, options: c.EncodeOptions, parts: list[PduPart]) -> None:
    """Raises ValueError when these parts of a text lack its end, which the library drops beyond 9 or 255 parts: then
    they are the same without the last character."""
    if len(parts) < 9 or options.long_message == LongMessage.TRUNCATE:
        return
    same = c.EncodeOptions(flags=options.flags | c.ENCODE_WITH_REFERENCE, coding=coding_of(parts[0]),
                           long_message=options.long_message)
    shorter = content.decode("utf-8")[:-1].encode("utf-8")
    # Without validity and service centre, which stand in front, both times.
    if submit_parts(number, content, same) == submit_parts(number, shorter, same):
        raise ValueError(f"message is too long: {len(parts)} parts do not hold it")


def coding_of(part: PduPart) -> int:
    return decode(part.hex, direction=Direction.SENT).coding
