"""What programs do wrong is an exception each time, and never more than that."""

from __future__ import annotations

import copy
import gc
import os
import threading
from datetime import datetime
from typing import Any, Callable

import pytest

import tavro
from tavro.testing import SimulatedModem

Misuse = Callable[[tavro.Modem], Any]
WRONG: list[tuple[type[Exception], Misuse]] = [
    # Types.
    (TypeError, lambda modem: modem.send(447700900123, "Hello")),  # type: ignore[arg-type]
    (TypeError, lambda modem: modem.send("0123", b"Hello")),  # type: ignore[arg-type]
    (TypeError, lambda modem: modem.send("0123", None)),  # type: ignore[arg-type]
    (TypeError, lambda modem: modem.send("0123", "Hello", flash=1)),  # type: ignore[arg-type]
    (TypeError, lambda modem: modem.send("0123", "Hello", coding="7")),  # type: ignore[arg-type]
    (TypeError, lambda modem: modem.wait("1")),  # type: ignore[arg-type]
    (TypeError, lambda modem: modem.wait(True)),
    (TypeError, lambda modem: modem.delete("1")),  # type: ignore[arg-type]
    (TypeError, lambda modem: modem.delivery(1)),  # type: ignore[arg-type]
    (TypeError, lambda modem: modem.push("0123", "Hello", "http://a", created=1)),  # type: ignore[arg-type]
    (TypeError, lambda modem: modem.command(None)),  # type: ignore[arg-type]
    (TypeError, lambda modem: setattr(modem, "baud_rate", 9600.0)),
    (TypeError, lambda modem: setattr(modem, "joined", 1)),
    (TypeError, lambda modem: setattr(modem, "timeout", "1")),
    (TypeError, lambda modem: setattr(modem, "pin", 1234)),
    (TypeError, lambda _: tavro.Modem(1)),  # type: ignore[arg-type]
    (TypeError, lambda _: tavro.Modem("a", connect=None)),  # type: ignore[arg-type]
    (TypeError, lambda _: tavro.decode(b"00")),  # type: ignore[arg-type]
    (TypeError, lambda _: tavro.encode("0123", "Hello", reference="1")),  # type: ignore[arg-type]
    (TypeError, lambda _: tavro.ports(True, devices="/dev/ttyUSB0")),
    (TypeError, copy.copy),
    (TypeError, lambda _: SimulatedModem(pin=1234)),  # type: ignore[arg-type]
    (AttributeError, lambda modem: setattr(modem, "baudrate", 9600)),
    # Ranges.
    *((ValueError, lambda modem, timeout=timeout: modem.wait(timeout)) for timeout in (-1, -0.01, float("nan"), 1e12)),
    *((ValueError, lambda modem, value=value: setattr(modem, "timeout", value)) for value in (0, 61, 1e300, -1)),
    *((ValueError, lambda modem, value=value: setattr(modem, "send_retry", value)) for value in (-1, 11, 2**31, 2**64)),
    (ValueError, lambda modem: setattr(modem, "long_message", 4)),
    (ValueError, lambda modem: modem.clear_log(-1)),
    (ValueError, lambda modem: modem.clear_log(2**32)),
    (ValueError, lambda modem: modem.messages("some")),  # type: ignore[arg-type]
    (ValueError, lambda modem: modem.send("0123", "Hello", coding=2**32 + 7)),
    (ValueError, lambda modem: modem.send("0123", "Hello", coding=9)),
    (ValueError, lambda modem: modem.delivery("12,x")),
    (ValueError, lambda modem: modem.push("0123", "Hello", "http://a", action="now")),  # type: ignore[arg-type]
    (ValueError, lambda modem: modem.push("0123", "Hello", "http://a", created=datetime(2024, 1, 1))),
    (ValueError, lambda modem: modem.send("0123", "a" * 255 * 152 + "b")),
    (ValueError, lambda _: tavro.Modem("")),
    (TypeError, lambda _: tavro.Modem("a", recover=8)),  # type: ignore[arg-type]
    (ValueError, lambda _: tavro.Modem("a", baud_rate=1, connect=False)),
    (ValueError, lambda _: tavro.decode("00", direction=9)),  # type: ignore[arg-type]
    (ValueError, lambda _: tavro.decode("")),
    (ValueError, lambda _: tavro.encode("0123", "Hello", coding=0)),
    (ValueError, lambda _: tavro.encode("0123", "a" * 9 * 148 + "Ż", long_message=tavro.LongMessage.FORMATTED_SPLIT)),
    (ValueError, lambda _: tavro.ports(True, patience=0)),
    (ValueError, lambda _: tavro.ports(True, patience=61)),
    (ValueError, lambda _: tavro.ports(devices=[])),
    # NULs, and halves of surrogate pairs.
    *((ValueError, lambda modem, text=text: modem.send(text, "Hello")) for text in ("01\x0023", "01\ud83d")),
    *((ValueError, lambda modem, text=text: modem.ussd(text)) for text in ("*100#\0", "\udc80")),
    *((ValueError, lambda modem, text=text: modem.command(text)) for text in ("AT\0", "AT\udfff", "AT\rAT")),
    *((ValueError, lambda modem, text=text: setattr(modem, "pin", text)) for text in ("12\x0034", "\ud800")),
    *((ValueError, lambda _, text=text: tavro.Modem(text)) for text in ("/dev/\0", "/dev/\udcff")),
    *((ValueError, lambda _, text=text: tavro.decode(text)) for text in ("00\x0000", "\ud800")),
    (ValueError, lambda modem: modem.send("0123", "\ud83d")),
    (ValueError, lambda _: tavro.encode("0123", "\ud83d")),
]


def test_wrong_values(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    for number, (expected, misuse) in enumerate(WRONG):
        try:
            with pytest.raises(expected):
                misuse(modem)
        except BaseException as error:
            raise AssertionError(f"misuse {number}: {error!r}") from error
    assert simulated_modem.sent == []
    assert modem.send("0123", "It works all the same").references == (1,)


USES: list[Misuse] = [
    lambda modem: modem.signal,
    lambda modem: modem.joined,
    lambda modem: modem.send("0123", "Hello"),
    lambda modem: modem.wait(0),
    lambda modem: modem.inbox(),
    lambda modem: modem.delivery("1"),
    lambda modem: setattr(modem, "joined", True),
    lambda modem: modem.connect(),
]
CLOSED: list[Misuse] = [*USES, lambda modem: modem.cancel(), lambda modem: modem.listen(),
                        lambda modem: modem.__enter__()]


def test_closed(simulated_modem: SimulatedModem) -> None:
    modem = simulated_modem.open()
    simulated_modem.receive("0123", "Hello")
    (message,) = modem.wait(10)
    with simulated_modem.open(connect=False) as other, pytest.raises(ValueError, match="another modem"):
        other.delete(message)
    with simulated_modem.open(connect=False) as other, pytest.raises(ValueError, match="another modem"):
        other.delivery(tavro.Sent((1,), modem))
    modem.close()
    assert "closed" in repr(modem)
    uses: list[Misuse] = [*CLOSED, lambda _: message.delete()]
    for use in uses:
        with pytest.raises(tavro.ClosedError) as caught:
            use(modem)
        assert isinstance(caught.value, ValueError)
    assert message.text == "Hello"
    del modem, use, uses, caught
    gc.collect()
    with pytest.raises(tavro.ClosedError):
        message.delete()


def test_forgotten(simulated_modem: SimulatedModem) -> None:
    modem = simulated_modem.open()
    with pytest.warns(ResourceWarning, match="unclosed modem"):
        del modem
        gc.collect()
    simulated_modem.open().close()  # the port was closed


def test_two_threads(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    simulated_modem.set("send-ms", 600000)
    begun = threading.Event()
    outcome: list[BaseException] = []

    def send() -> None:
        begun.set()
        with pytest.raises(tavro.Error) as caught:
            modem.send("0123", "Hello")
        outcome.append(caught.value)

    sender = threading.Thread(target=send)
    sender.start()
    while "<sub>" not in simulated_modem.transcript:
        begun.wait(0.01)
    uses: list[Misuse] = [*USES, lambda modem: modem.close()]
    for use in uses:
        with pytest.raises(tavro.InUseError) as caught:
            use(modem)
        assert isinstance(caught.value, RuntimeError)
    simulated_modem.unplug()
    sender.join(20)
    assert isinstance(outcome[0], tavro.SendError) and outcome[0].is_result_unknown
    simulated_modem.plug()

    waiter = threading.Thread(target=lambda: outcome.append(pytest.raises(tavro.ClosedError, modem.wait).value))
    waiter.start()
    while "+CNMI=" not in simulated_modem.transcript.rsplit("+CMGS", 1)[1]:
        begun.wait(0.01)
    modem.close()
    waiter.join(20)
    assert isinstance(outcome[1], tavro.ClosedError)


def test_after_fork(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    simulated_modem.receive("0123", "Hello")
    (message,) = modem.wait(10)
    uses: list[Misuse] = [*CLOSED, lambda _: message.delete()]
    before = simulated_modem.transcript
    reading, writing = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            for use in uses:
                try:
                    use(modem)
                except tavro.AfterForkError as error:
                    os.write(writing, b"." if isinstance(error, RuntimeError) else b"?")
            modem.close()
            os.write(writing, message.text.encode())
        except BaseException as error:
            os.write(writing, repr(error).encode())
        finally:
            os._exit(0)
    os.close(writing)
    with open(reading, "rb") as said:
        assert said.read() == b"." * len(uses) + b"Hello"
    assert os.waitpid(child, 0)[1] == 0
    assert simulated_modem.transcript == before
    message.delete()
