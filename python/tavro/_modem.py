"""A modem."""

from __future__ import annotations

import os
from ctypes import byref
from typing import TYPE_CHECKING, Callable, TypeVar

from . import _declarations as c
from ._arguments import int32, text, truth
from ._errors import Error
from ._handle import FLAG, NUMBER, PATH, SECONDS, TEXT, Property, Setting
from ._library import check, library
from ._receiving import read_memories
from ._sending import Sending
from ._values import Info, Recovery

if TYPE_CHECKING:
    from types import TracebackType

Result = TypeVar("Result")
P = c.Property


class Modem(Sending):
    """A modem at a serial port, or behind a network, connected from the start unless `connect` is False.

    It is used by one thread at a time: a call while another thread is in one raises InUseError. Ctrl-C ends a call."""

    __slots__ = ("_device",)

    def __init__(self, device: str | os.PathLike[str], *, pin: str | None = None, baud_rate: int | None = None,
                 parity: str | None = None, data_bits: int | None = None, stop_bits: str | None = None,
                 timeout: float | None = None, classic: bool = False, recover: Recovery | bool = False,
                 pin_on_last_attempt: bool = False, wide_references: bool = False, memory: str | None = None,
                 joined: bool = True, init_string: str | None = None, log_folder: str | os.PathLike[str] | None = None,
                 log_level: int | None = None, connect: bool = True) -> None:
        """`device` is "/dev/ttyUSB0", "COM3", "tcp://host:4001" or "rfc2217://host:4002". Most of the rest are the
        properties of these names; None leaves them.

        classic: the exact behaviour of the COM component, which is slower, and deletes what is not understood.
        recover: what may be done about a modem that does not answer any more; True for all of it.
        pin_on_last_attempt: the PIN is sent also when a wrong one would lock the SIM.
        wide_references: long messages are numbered with 16 bits.
        joined: the parts of a long message are shown as one.
        log_folder: everything said on the line, PINs left out, goes to "Tavro.log" in it; log_level is then 2."""
        if isinstance(recover, bool):
            recover = Recovery.ALL if recover else Recovery.NONE
        elif not isinstance(recover, Recovery):
            raise TypeError(f"recover must be a tavro.Recovery or a bool, not {type(recover).__name__}")
        flags = recover.value
        for is_wanted, flag, what in ((classic, c.Flag.CLASSIC, "classic"),
                                      (wide_references, c.Flag.WIDE_REFERENCES, "wide_references"),
                                      (pin_on_last_attempt, c.Flag.PIN_ON_LAST_ATTEMPT, "pin_on_last_attempt")):
            flags |= flag if truth(is_wanted, what) else 0
        self._device = os.fspath(device)
        super().__init__(c.Options(flags=flags, device=text(self._device, "device")))
        try:
            if log_level is None and log_folder is not None:
                log_level = 2
            for name, value in (("baud_rate", baud_rate), ("parity", parity), ("data_bits", data_bits),
                                ("stop_bits", stop_bits), ("timeout", timeout), ("joined", joined), ("pin", pin),
                                ("init_string", init_string), ("log_folder", log_folder), ("log_level", log_level)):
                if value is not None:
                    setattr(self, name, value)
            if memory is not None:
                self._memory = text(memory, "memory")
            if truth(connect, "connect"):
                self.connect()
        except BaseException:
            self.close()
            raise

    def __enter__(self) -> Modem:
        self._opened()
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 traceback: TracebackType | None) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<tavro.Modem {self._device!r}{' closed' if self._handle is None else ''}>"

    @property
    def device(self) -> str:
        return self._device

    # --- Its connection ----------------------------------------------------------------------------------------------

    def connect(self) -> None:
        """Opens the port and brings the modem into a known state; nothing when it is connected. Every call that needs
        the modem does so by itself."""
        self._talk(lambda handle: check(library().tavro_connect(handle)))

    def disconnect(self) -> None:
        """Closes the port until the next call that needs the modem. The settings stay."""
        self._quick(lambda handle: check(library().tavro_disconnect(handle)))

    is_connected = Property(P.IS_CONNECTED, FLAG, "Whether the port is open.")

    # While connected these cannot be set: ConnectError 1009.
    baud_rate = Setting(P.BAUD_RATE, NUMBER, "Bits per second, 19200 at the start.")
    parity = Setting(P.PARITY, TEXT, '"N" (the start), "O", "E", "M" or "S".')
    data_bits = Setting(P.DATA_BITS, NUMBER, "4 to 8, 8 at the start.")
    stop_bits = Setting(P.STOP_BITS, TEXT, '"1" (the start), "1.5" or "2".')

    timeout = Setting(P.TIMEOUT, SECONDS, "For an answer, in seconds: 0.001 to 60, 30 at the start.")
    command_delay = Setting(P.MODEM_COMMAND_DELAY, SECONDS, "Between two commands, in seconds: 0.05 to 5.")
    init_string = Setting(P.MODEM_INIT_STRING, TEXT, "A command to send while connecting.")
    disable_check_pin = Setting(P.DISABLE_CHECK_PIN, FLAG, "Whether the PIN is taken as given without asking.")
    delay_after_pin = Setting(P.DELAY_AFTER_PIN, SECONDS, "In seconds: 0.001 to 60; none before it is set.")

    @property
    def pin(self) -> str:
        """Of the SIM, sent when it is asked for. It can only be set."""
        raise AttributeError("pin cannot be read")

    @pin.setter
    def pin(self, value: str) -> None:
        given = text(value, "pin")
        self._quick(lambda handle: check(library().tavro_set_text(handle, P.PIN, given)))

    # --- What it says of itself --------------------------------------------------------------------------------------

    manufacturer = Property(P.MANUFACTURER, TEXT, "Asks.", asks=True)
    model = Property(P.MODEL, TEXT, "Asks.", asks=True)
    revision = Property(P.REVISION, TEXT, "Of the firmware; asks.", asks=True)
    imei = Property(P.IMEI, TEXT, "Asks.", asks=True)
    imsi = Property(P.IMSI, TEXT, "Asks.", asks=True)
    own_number = Property(P.OWN_NUMBER, TEXT, "Asks.", asks=True)
    network = Property(P.NETWORK, TEXT, "The operator's name, in capitals; asks.", asks=True)
    network_long_name = Property(P.NETWORK_EX, TEXT, "From the list of operators; asks, for a while.", asks=True)
    signal = Property(P.SIGNAL_STRENGTH, NUMBER, "In percent; asks. NetworkError when it is not known.", asks=True)
    signal_dbm = Property(P.SIGNAL_STRENGTH_DB, NUMBER, "-113 to -51; asks.", asks=True)
    battery = Property(P.BATTERY_LEVEL, NUMBER, "In percent; asks.", asks=True)

    def info(self) -> Info:
        """All of it that the modem knows. Raises Error when it knows nothing, or is lost meanwhile."""
        return self._talk(_info)

    def command(self, command: str) -> str:
        """Sends an AT command, and returns the answer without "OK" and line ends."""
        given = text(command, "command") + b"\r"

        def ask(handle: int) -> str:
            answer = c.Text()
            check(library().tavro_command(handle, given, byref(answer)))
            return str(answer)

        return self._talk(ask)

    # --- The log -----------------------------------------------------------------------------------------------------

    log_folder = Setting(P.LOG_FOLDER_PATH, PATH, 'Of "Tavro.log".')
    log_level = Setting(P.LOG_TYPE, NUMBER, "0 nothing (the start), 1 errors, 2 errors and activity.")
    log_size = Property(P.LOG_SIZE, NUMBER, "One more than the log has lines, 0 without a log.")

    def clear_log(self, keep_lines: int = 0) -> None:
        """Empties the log, or keeps its last lines, 32767 at most."""
        lines = int32(keep_lines, "keep_lines")
        self._quick(lambda handle: check(library().tavro_clear_log(handle, lines)))


def _info(handle: int) -> Info:
    failures: list[Error] = []

    def answer(ask: Callable[[int], Result]) -> Result | None:
        """What it says; None for what it refuses."""
        try:
            return ask(handle)
        except Error as error:
            if error.code < 2000:  # the connection, of which the rest will say no more
                raise
            failures.append(error)
            return None

    info = Info(
        manufacturer=answer(Modem.manufacturer.read),
        model=answer(Modem.model.read),
        revision=answer(Modem.revision.read),
        imei=answer(Modem.imei.read),
        imsi=answer(Modem.imsi.read),
        own_number=answer(Modem.own_number.read),
        network=answer(Modem.network.read),
        signal=answer(Modem.signal.read),
        signal_dbm=answer(Modem.signal_dbm.read),
        battery=answer(Modem.battery.read),
        service_centre=answer(Modem.service_centre.read),
        memories=answer(read_memories),
    )
    if all(value is None for value in vars(info).values()):
        raise failures[-1]
    return info
