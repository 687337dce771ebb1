"""What goes wrong: an exception for each group of the library's codes, and one for each misuse."""

from __future__ import annotations


class Error(Exception):
    """Something failed. `code` is the library's number of it, below 0 for a misuse, and `text` says it in words."""

    def __init__(self, code: int, text: str) -> None:
        super().__init__(code, text)
        self.code = code
        self.text = text

    def __str__(self) -> str:
        return f"error {self.code}: {self.text}" if self.code > 0 else self.text


class ConnectError(Error):
    """1001 to 1042: the port, the line and the connection to the modem."""


class DeviceError(Error):
    """2001 to 2027: the modem itself, its SIM and the PIN."""


class NetworkError(Error):
    """3001 to 3010: the network."""


class SendError(Error):
    """4001 to 4020: sending. Of a message whose `is_result_unknown` the modem said nothing: it may be out."""

    @property
    def is_result_unknown(self) -> bool:
        return self.code == 4012 and "Result unknown" in self.text


class ReadError(Error):
    """5001 to 5010: reading and waiting."""


class DeleteError(Error):
    """6002 to 6011: deleting."""


class PushError(Error):
    """7001 to 7023: WAP push."""


class LogError(Error):
    """8001 to 8008: the log file."""


class UssdError(Error):
    """9001 to 9008: USSD."""


# A value that the library does not take is also a ValueError.


class ConnectValueError(ConnectError, ValueError):
    """1001 to 1005, 1008, 1041, 1042: a setting of the line, or a command."""


class DeviceValueError(DeviceError, ValueError):
    """2001, 2024: a setting of the modem."""


class SendValueError(SendError, ValueError):
    """4002 to 4005, 4013, 4015 to 4018: a number, an empty text, or a setting for sending."""


class ReadValueError(ReadError, ValueError):
    """5010: what is no list of references."""


class PushValueError(PushError, ValueError):
    """7001 to 7004, 7017 to 7019: what a push cannot have."""


class LogValueError(LogError, ValueError):
    """8001 to 8003: a setting of the log."""


class UssdValueError(UssdError, ValueError):
    """9001: a code that cannot be sent."""


# Misuse.


class ClosedError(Error, ValueError):
    """The modem was closed, as a file can be."""


class InvalidArgumentError(Error, ValueError):
    """What the library never takes, such as an empty device."""


class InUseError(Error, RuntimeError):
    """Another thread is in a call with this modem."""


class AfterForkError(Error, RuntimeError):
    """The modem belongs to the process that made this one."""


class OutOfMemoryError(Error, MemoryError):
    """The library had no memory: -5, or 1043 when it broke a call off."""


class InternalError(Error, RuntimeError):
    """A fault of the library."""


class LibraryError(ImportError):
    """There is no libtavro, or one that is too old."""


class SendInterrupted(KeyboardInterrupt):
    """Ctrl-C while a message was sent. `sent` is the Sent of one that went out all the same, `error` what else the
    call ended with. When `may_be_out` is False, nothing of it was sent. `is_long`: it has several parts."""

    def __init__(self, sent: object, error: Error | None, is_long: bool = False) -> None:
        super().__init__(sent, error, is_long)
        self.sent = sent
        self.error = error
        self.is_long = is_long
        self.may_be_out = error is None or not _is_before_sending(error.code, is_long)

    def __str__(self) -> str:
        if self.error is None:
            return f"interrupted, but the message was sent ({self.sent})"
        what = "the message may be out" if self.may_be_out else "the message was not sent"
        return f"interrupted: {what} ({self.error})"


def _is_before_sending(code: int, is_long: bool) -> bool:
    """Whether a call that ended with this code has written no PDU."""
    if code in (-5, -7, 1043):  # broken off anywhere
        return False
    if is_long:  # the rest may be of a later part
        return code < 0 or code == 4004
    # The settings, the connection, the SIM, the registration, the preparation.
    return code < 4009 or code in (7008, 7009, 7010, 7022)


_MISUSES: dict[int, type[Error]] = {
    -1: ClosedError,
    -2: InvalidArgumentError,
    -3: InUseError,
    -4: AfterForkError,
    -5: OutOfMemoryError,
    1043: OutOfMemoryError,
}
_GROUPS = (ConnectError, DeviceError, NetworkError, SendError, ReadError, DeleteError, PushError, LogError, UssdError)
_VALUES: dict[type[Error], tuple[type[Error], set[int]]] = {
    ConnectError: (ConnectValueError, {1001, 1002, 1003, 1004, 1005, 1008, 1041, 1042}),
    DeviceError: (DeviceValueError, {2001, 2024}),
    SendError: (SendValueError, {4002, 4003, 4004, 4005, 4013, 4015, 4016, 4017, 4018}),
    ReadError: (ReadValueError, {5010}),
    PushError: (PushValueError, {7001, 7002, 7003, 7004, 7017, 7018, 7019}),
    LogError: (LogValueError, {8001, 8002, 8003}),
    UssdError: (UssdValueError, {9001}),
}


def error_of(code: int, text: str) -> Error:
    """The exception for a code of the library."""
    if code in _MISUSES:
        return _MISUSES[code](code, text)
    if not 1000 <= code <= 9999:
        return InternalError(code, text)
    group = _GROUPS[code // 1000 - 1]
    narrower, codes = _VALUES.get(group, (group, set()))
    return (narrower if code in codes else group)(code, text)
