"""A modem: its connection, its properties, what it says of itself."""

from __future__ import annotations

from pathlib import Path
from typing import Callable

import pytest

import tavro
from tavro.testing import SimulatedModem

Modems = Callable[..., SimulatedModem]


def test_settings(simulated_modem: SimulatedModem) -> None:
    given = {"baud_rate": 115200, "parity": "E", "data_bits": 7, "stop_bits": "2", "timeout": 2.5, "joined": False,
             "init_string": "AT+CMEE=0", "log_level": 1}
    with simulated_modem.open(connect=False, recover=True, wide_references=True, **given) as modem:
        assert not modem.is_connected
        assert {name: getattr(modem, name) for name in given} == given
        modem.pin = "1234"
        with pytest.raises(AttributeError, match="cannot be read"):
            modem.pin
        for name, value in (("command_delay", 0.05), ("delay_after_pin", 1.5), ("send_delay", 0.001), ("send_retry", 3),
                            ("long_message", tavro.LongMessage.SPLIT), ("disable_check_pin", True)):
            setattr(modem, name, value)
            assert getattr(modem, name) == value
        with pytest.raises(AttributeError, match="imei cannot be set"):
            setattr(modem, "imei", "1")


def test_connection(simulated_modem: SimulatedModem) -> None:
    with simulated_modem.open(memory="ME") as modem:
        assert modem.is_connected and modem.memory == "ME"
        with pytest.raises(tavro.ConnectError) as caught:
            modem.baud_rate = 9600
        assert (caught.value.code, str(caught.value)) == (1009, "error 1009: Cannot change port setting when connected")
        modem.disconnect()
        assert not modem.is_connected
        modem.baud_rate = 9600
        assert modem.command("AT+CGSN") == modem.imei  # connects
        assert modem.is_connected
        assert simulated_modem.device in repr(modem)
    modem.close()  # as often as one likes


def test_memory_that_is_not_there(simulated_modem: SimulatedModem) -> None:
    with simulated_modem.open(memory="XX", connect=False) as modem:
        wrong: list[Callable[[], object]] = [modem.messages, lambda: setattr(modem, "memory", "YY"), modem.connect]
        for call in wrong:
            with pytest.raises(tavro.DeviceError):
                call()
        modem.memory = "ME"
        assert modem.messages() == [] and modem.memory == "ME"


def test_what_it_says(simulated_modems: Modems) -> None:
    simulated = simulated_modems(settings={"model": "Żółw", "imsi": "262011234567890", "signal": 31},
                                 answers={"AT+CBC": "\r\nERROR\r\n"})
    with simulated.open() as modem:
        info = modem.info()
        assert (info.model, info.imsi, info.own_number, info.network) == (
            modem.model, "262011234567890", simulated.number, "TAVRONET")
        assert (info.signal, info.signal_dbm, info.battery) == (100, -51, None)
        assert info.memories == tuple(modem.memories())
        assert info.memories is not None and info.memories[0] == tavro.Memory("SM", 0, 100)
        simulated.set_signal(99)
        with pytest.raises(tavro.NetworkError, match="3001"):
            modem.signal
        with pytest.raises(tavro.DeviceError, match="2022"):
            modem.battery
        modem.validity = "12H"
        assert modem.validity == "12H"
        modem.service_centre = "+447700900999"
        assert modem.service_centre == "+447700900999"
        simulated.unplug()
        with pytest.raises(tavro.ConnectError):
            modem.info()


def test_pin(simulated_modems: Modems) -> None:
    simulated = simulated_modems(pin="1234")
    with pytest.raises(tavro.DeviceError) as caught:
        simulated.open(pin="4321")
    assert (caught.value.code, caught.value.text) == (2013, "Invalid PIN")
    with simulated.open() as modem:
        assert modem.own_number == simulated.number


def test_log(simulated_modem: SimulatedModem, tmp_path: object) -> None:
    with simulated_modem.open(log_folder=tmp_path) as modem:
        lines = modem.log_size
        assert lines > 5 and modem.log_level == 2
        modem.clear_log(2)
        assert modem.log_size < lines
        with pytest.raises(tavro.LogError) as caught:
            modem.log_folder = "/nowhere/at/all"
        assert caught.value.code == 8003 and isinstance(caught.value, ValueError)


def test_ports(simulated_modems: Modems) -> None:
    good, locked = simulated_modems(), simulated_modems(pin="1234")
    found = tavro.ports(probe=True, devices=[Path(good.device), locked.device, "/nowhere/at/all"])
    assert [port.outcome.name for port in found] == ["ANSWERED", "ANSWERED", "FAILED"]
    assert [port.sim_state for port in found] == ["READY", "SIM PIN", ""]
    assert (found[0].path, found[0].modem_model, found[0].interface_number) == (good.device, "Tavro Modem", None)
    assert all(port.outcome is tavro.ProbeOutcome.NONE for port in tavro.ports())
