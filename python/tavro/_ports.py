"""Finding modems."""

from __future__ import annotations

import ctypes
import enum
import os
from ctypes import byref
from dataclasses import dataclass
from typing import Iterable

from . import _declarations as c
from ._arguments import milliseconds, text, truth
from ._calls import run
from ._library import List, library
from ._values import optional


class ProbeOutcome(enum.IntEnum):
    NONE = 0  # it was not asked
    ANSWERED = 1  # a modem
    SILENT = 2  # it can be opened and does not answer as a modem does
    BUSY = 3  # another program has it
    NO_PERMISSION = 4  # this user may not open it
    FAILED = 5  # it cannot be opened or set, or was lost meanwhile

    @classmethod
    def _missing_(cls, value: object) -> ProbeOutcome:
        return cls.FAILED


@dataclass(frozen=True)
class Port:
    """A serial device. Texts that are not known are empty; those from `baud_rate` on are of a modem that answered."""

    path: str  # "/dev/ttyUSB0", "COM3"
    stable_path: str  # that names the same device after the next start: under /dev/serial/by-id
    maker: str
    product: str
    serial_number: str
    friendly_name: str  # of Windows
    driver: str
    usb_path: str  # where the stick is plugged in: ports with the same one belong to one
    interface_number: int | None  # of a USB device with several
    outcome: ProbeOutcome
    error: str  # of the probe: why it is busy, not permitted or failed
    baud_rate: int  # bits per second at which it answered
    modem_maker: str
    modem_model: str
    imei: str
    sim_state: str  # "READY", "SIM PIN", "SIM PUK" ..., "NO SIM"
    takes_indications: bool  # whether it can tell of new messages
    gave_indications: bool  # whether it was heard to say something of its own accord
    is_recommended: bool  # whether it is the one to use of all ports of its stick

    @classmethod
    def read(cls, it: c.Device) -> Port:
        return cls(
            str(it.path), str(it.stable_path), str(it.maker), str(it.product), str(it.serial_number),
            str(it.friendly_name), str(it.driver), str(it.usb_path), optional(it.interface_number),
            ProbeOutcome(it.outcome), str(it.error), it.baud_rate, str(it.modem_maker), str(it.modem_model),
            str(it.imei), str(it.sim_state), bool(it.takes_indications), bool(it.gave_indications),
            bool(it.is_recommended))


def ports(probe: bool = False, *, patience: float = 1.0,
          devices: Iterable[str | os.PathLike[str]] | None = None) -> list[Port]:
    """The serial devices of this machine, in natural order.

    With `probe` each is opened and asked what it is, all at the same time, `patience` seconds for each answer (0.1 to
    60); that changes nothing, and never sends a PIN. `devices` are others to ask, by path or address."""
    if not truth(probe, "probe"):
        if devices is not None:
            raise ValueError("devices are there to be probed")
        return _read(List(library().tavro_devices))
    options = c.ProbeOptions(patience=milliseconds(patience, "patience") or -1)
    if devices is not None:
        if isinstance(devices, str):
            raise TypeError("devices must be several, not a str")
        paths = [text(os.fspath(device), "a device") for device in devices]
        options.path_count = len(paths)
        options.paths = (ctypes.c_char_p * max(len(paths), 1))(*paths)
    return run(lambda: _read(List(lambda place: library().tavro_probe(byref(options), place))),
               [library().tavro_interrupt_probes])


def _read(devices: List) -> list[Port]:
    return devices.read(library().tavro_device_at, c.Device, Port.read)
