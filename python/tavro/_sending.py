"""What a modem sends."""

from __future__ import annotations

from ctypes import byref, c_int32
from datetime import datetime
from typing import Any, Literal

from . import _declarations as c
from ._arguments import int32, octets, text, truth
from ._calls import Job
from ._errors import Error, SendInterrupted
from ._handle import LONG_MESSAGE, NUMBER, SECONDS, TEXT, Setting
from ._library import check, library
from ._receiving import Receiving
from ._messages import Sent
from ._pdus import coding_of, require_room, submit_parts
from ._values import UssdAnswer

_ACTIONS = {"low": 1, "medium": 2, "high": 3}


class Sending(Receiving):
    """A modem that sends."""

    __slots__ = ()

    service_centre = Setting(c.Property.SMSC, TEXT, "The service centre's number; asks, setting too.", asks=True)
    validity = Setting(c.Property.VALIDITY, TEXT, 'How long it tries: "30M", "12H", "1D" (the start), "2W"; asks.',
                       asks=True)
    long_message = Setting(c.Property.LONG_MESSAGE, LONG_MESSAGE, "Of a text that does not fit one message.")
    send_delay = Setting(c.Property.SEND_DELAY, SECONDS, "Between two messages, in seconds: 0.001 to 30.")
    send_retry = Setting(c.Property.SEND_RETRY, NUMBER, "0 to 10, 2 at the start: sends again what was refused.")

    def send(self, number: str, message: str, *, report: bool = False, flash: bool = False,
             coding: int | None = None) -> Sent:
        """Sends a text.

        report: asks for a report on its delivery. flash: it is shown at once and not stored. coding: 7 the GSM
        alphabet, 8 octets, 16 UCS2; None: 7 when that has all characters, else 16.

        Raises ValueError for a text that is longer than all parts, unless `long_message` is TRUNCATE, and SendError;
        one that `is_result_unknown` says that the message may be out all the same. Ctrl-C raises
        SendInterrupted, a KeyboardInterrupt that says what is known of the message."""
        recipient, content = text(number, "number"), octets(message, "message")
        flags = c.FLASH if truth(flash, "flash") else 0
        wants_report = int(truth(report, "report"))
        given_coding = None if coding is None else int32(coding, "coding")
        is_long = False

        def work(handle: int) -> Sent:
            nonlocal is_long
            options = c.EncodeOptions(flags=c.ENCODE_WIDE_REFERENCES if self._has_wide_references else 0,
                                      coding=given_coding or 0, long_message=Sending.long_message.read(handle))
            try:
                parts = submit_parts(recipient, content, options)
            except Error:  # for sending to refuse
                parts = []
            require_room(recipient, content, options, parts)
            is_long = len(parts) > 1
            chosen = given_coding
            if chosen is None:  # what the GSM alphabet lacks would be question marks
                chosen = coding_of(parts[0]) if parts else 7
            check(library().tavro_set_int(handle, c.Property.CHARACTER, chosen))
            check(library().tavro_set_int(handle, c.Property.STATUS_REPORT, wants_report))
            references = c.Text()
            check(library().tavro_send_n(handle, recipient, content, len(content), flags, byref(references)))
            return Sent(tuple(int(each) for each in str(references).split(",") if each), self)

        return self._talk(work, interrupted=lambda reason, job: _send_interrupted(reason, job, is_long))

    def push(self, number: str, message: str, url: str, *, action: Literal["low", "medium", "high"] = "medium",
             created: datetime | None = None, expiry: str = "0") -> None:
        """Sends a WAP push: a text, and an address to open. `action` is when the phone shows it, `expiry` "0" for
        never, "1H" to "24H", "1D" to "31D" or "1M" to "12M". Raises PushError."""
        push = _push(number, message, url, action, created, expiry)
        self._talk(lambda handle: check(library().tavro_send_push(handle, byref(push))),
                   interrupted=_send_interrupted)

    def push_fits(self, number: str, message: str, url: str, *, action: Literal["low", "medium", "high"] = "medium",
                  created: datetime | None = None, expiry: str = "0") -> bool:
        """Whether it fits one short message."""
        push, fits = _push(number, message, url, action, created, expiry), c_int32()
        self._quick(lambda handle: check(library().tavro_push_fits(handle, byref(push), byref(fits))))
        return bool(fits)

    # --- USSD --------------------------------------------------------------------------------------------------------

    def ussd(self, code: str) -> UssdAnswer:
        """Sends a code such as "*100#", or a reply in the session that it began, and waits for the answer, `timeout`
        and 60 seconds at least. Raises UssdError."""
        given = text(code, "code")

        def ask(handle: int) -> UssdAnswer:
            answer, expects_reply = c.Text(), c_int32()
            check(library().tavro_ussd(handle, given, byref(answer), byref(expects_reply)))
            return UssdAnswer(str(answer), bool(expects_reply))

        return self._talk(ask)

    def ussd_cancel(self) -> None:
        """Ends a session that expects a reply."""
        self._talk(lambda handle: check(library().tavro_ussd_cancel(handle)))


def _send_interrupted(reason: BaseException, job: Job[Any], is_long: bool = False) -> None:
    if type(reason) is KeyboardInterrupt and isinstance(job.error, (Error, type(None))):
        raise SendInterrupted(job.result, job.error, is_long) from job.error
    reason.__cause__ = job.error


def _push(number: str, message: str, url: str, action: str, created: datetime | None, expiry: str) -> c.Push:
    if action not in _ACTIONS:
        raise ValueError(f'action must be "low", "medium" or "high", not {action!r}')
    if created is not None and not isinstance(created, datetime):
        raise TypeError(f"created must be a datetime, not {type(created).__name__}")
    if created is not None and created.utcoffset() is None:
        raise ValueError("created must have a time zone")
    return c.Push(action=_ACTIONS[action], created=0 if created is None else int(created.timestamp()),
                  destination=text(number, "number"), text=text(message, "message"), url=text(url, "url"),
                  expiry=text(expiry, "expiry"))
