"""Ctrl-C while a call is under way: it ends at once, nothing is lost, and what is known is said."""

from __future__ import annotations

import contextlib
import signal
import time
from types import FrameType
from typing import Callable

import tavro
from tavro.testing import SimulatedModem

Interrupt = Callable[[str, str], str]
BEGIN = """
import sys, tavro
modem = tavro.Modem(sys.argv[1])
"""


def test_in_wait(simulated_modem: SimulatedModem, interrupt: Interrupt) -> None:
    start = time.monotonic()
    assert interrupt(BEGIN + """
try:
    print("now", flush=True)
    modem.wait(600)
except KeyboardInterrupt as error:
    print(repr(error), error.__cause__)
    print(modem.is_connected, modem.wait(0), modem.manufacturer)
""", simulated_modem.device) == "KeyboardInterrupt() None\nTrue [] Simulated\n"
    assert time.monotonic() - start < 10


def test_in_wait_of_a_silent_modem(simulated_modems: Callable[..., SimulatedModem], interrupt: Interrupt) -> None:
    simulated = simulated_modems(answers={"AT+CMGL=*": ""})
    start = time.monotonic()
    assert interrupt(BEGIN + """
try:
    print("now", flush=True)
    modem.wait(600)
except KeyboardInterrupt:
    print("ended")
""", simulated.device) == "ended\n"
    assert time.monotonic() - start < 10


def test_in_send(simulated_modem: SimulatedModem, interrupt: Interrupt) -> None:
    """Another thread tries to use the modem all the while."""
    simulated_modem.set("send-ms", 600000)
    said = interrupt(BEGIN + """
import threading, time
def tell():
    while "<sub>" not in open(sys.argv[1].replace("modem", "transcript")).read():
        time.sleep(0.01)
    print("now", flush=True)
    while tries:
        try: modem.signal
        except tavro.InUseError: pass
tries = True
threading.Thread(target=tell, daemon=True).start()
try:
    modem.send("0123", "Hello")
except KeyboardInterrupt as error:
    tries = False
    print(type(error).__name__, error.may_be_out, error.sent, error.error.code, error)
""", simulated_modem.device)
    assert said.startswith("SendInterrupted True None 4012 interrupted: the message may be out (error 4012: ")
    assert "Result unknown" in said
    assert len(simulated_modem.sent) == 1


def test_may_be_out() -> None:
    # (code, of one part, of several)
    for code, short, is_long in ((1043, True, True), (-5, True, True), (-7, True, True), (-3, False, False),
                                 (4004, False, False), (1012, False, True), (4012, True, True), (7022, False, True)):
        found = [tavro.SendInterrupted(None, tavro.Error(code, ""), several).may_be_out for several in (False, True)]
        assert found == [short, is_long], code


class Alarm(Exception):
    pass


def ring(_: int, frame: FrameType | None) -> None:
    """Raises wherever a call is being waited for, be it over by then."""
    if frame is not None and frame.f_code.co_filename.endswith("_calls.py"):
        raise Alarm


def test_other_signals(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    """What comes with the very signal is there for the next call."""
    before = signal.signal(signal.SIGALRM, ring)
    got: list[str] = []
    try:
        for number in range(40):
            simulated_modem.receive("0123", str(number))
            signal.setitimer(signal.ITIMER_REAL, 0.0005 + number * 0.0002)
            with contextlib.suppress(Alarm):
                got += [message.text for message in modem.wait(600)]
        signal.setitimer(signal.ITIMER_REAL, 0)
        while len(got) < 40:
            got += [message.text for message in modem.wait(10)]
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, before)
    assert got == [str(number) for number in range(40)]


def test_cancel_by_a_handler(modem: tavro.Modem) -> None:
    before = signal.signal(signal.SIGALRM, lambda *_: modem.cancel())
    try:
        signal.setitimer(signal.ITIMER_REAL, 0.05)
        assert modem.wait(600) == []
    finally:
        signal.signal(signal.SIGALRM, before)
