"""Tavro: send and receive short messages (SMS) through a GSM modem.

    import tavro

    with tavro.Modem("/dev/ttyUSB0", pin="1234") as modem:
        modem.send("+447700900123", "Hello")
        for message in modem.messages():
            print(message.time, message.sender, message.text)
"""

from ._errors import (
    AfterForkError,
    ClosedError,
    ConnectError,
    ConnectValueError,
    DeleteError,
    DeviceError,
    DeviceValueError,
    Error,
    InternalError,
    InUseError,
    InvalidArgumentError,
    LibraryError,
    LogError,
    LogValueError,
    NetworkError,
    OutOfMemoryError,
    PushError,
    PushValueError,
    ReadError,
    ReadValueError,
    SendError,
    SendInterrupted,
    SendValueError,
    UssdError,
    UssdValueError,
)
from ._library import library_version
from ._listening import Listener
from ._messages import Message, Sent
from ._modem import Modem
from ._pdus import Direction, Pdu, PduError, PduField, PduKind, PduPart, decode, encode
from ._ports import Port, ProbeOutcome, ports
from ._values import (
    Delivery,
    DeliveryState,
    Info,
    LongMessage,
    Memory,
    Recovery,
    Report,
    UssdAnswer,
    Waiting,
    WaitingKind,
)

__version__ = "1.8.80"

__all__ = [
    "AfterForkError",
    "ClosedError",
    "ConnectError",
    "ConnectValueError",
    "DeleteError",
    "Delivery",
    "DeliveryState",
    "DeviceError",
    "DeviceValueError",
    "Direction",
    "Error",
    "InUseError",
    "Info",
    "InternalError",
    "InvalidArgumentError",
    "LibraryError",
    "Listener",
    "LogError",
    "LogValueError",
    "LongMessage",
    "Memory",
    "Message",
    "Modem",
    "NetworkError",
    "OutOfMemoryError",
    "Pdu",
    "PduError",
    "PduField",
    "PduKind",
    "PduPart",
    "Port",
    "ProbeOutcome",
    "PushError",
    "PushValueError",
    "ReadError",
    "ReadValueError",
    "Recovery",
    "Report",
    "SendError",
    "SendInterrupted",
    "SendValueError",
    "Sent",
    "UssdAnswer",
    "UssdError",
    "UssdValueError",
    "Waiting",
    "WaitingKind",
    "decode",
    "encode",
    "library_version",
    "ports",
]

# Errors and values are named as they are found: tavro.SendError.
for _name in __all__:
    if getattr(globals()[_name], "__module__", "").startswith("tavro._"):
        globals()[_name].__module__ = "tavro"
del _name
