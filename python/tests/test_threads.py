"""Threads, one modem each; and that calls leave nothing behind."""

from __future__ import annotations

import gc
import threading
import tracemalloc
from pathlib import Path
from typing import Any, Callable

import tavro
from tavro.testing import SimulatedModem


def test_one_modem_each(simulated_modems: Callable[..., SimulatedModem]) -> None:
    simulated = [simulated_modems(number=f"+4477009001{number:02}") for number in range(6)]
    received: dict[str, list[str]] = {}

    def live(modem: SimulatedModem) -> None:
        with modem.open() as opened:
            texts: list[str] = []
            for count in range(5):
                opened.send(modem.number, f"{modem.number} {count}")
                texts += [message.text for message in opened.wait(10)]
            received[modem.number] = texts

    threads = [threading.Thread(target=live, args=(modem,)) for modem in simulated]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(30)
    assert received == {modem.number: [f"{modem.number} {count}" for count in range(5)] for modem in simulated}


def test_others_run_while_one_waits(modem: tavro.Modem) -> None:
    counted = 0
    ends = threading.Event()

    def count() -> None:
        nonlocal counted
        while not ends.is_set():
            counted += 1

    counter = threading.Thread(target=count)
    counter.start()
    waiter = threading.Thread(target=modem.wait, args=(0.3,))  # the call of the library itself, in this thread
    before = counted
    waiter.start()
    waiter.join()
    ends.set()
    counter.join()
    assert counted - before > 1000


def resident() -> int:
    """Memory in KiB."""
    line = next(line for line in Path("/proc/self/status").read_text().splitlines() if line.startswith("VmRSS"))
    return int(line.split()[1])


def test_calls_leave_nothing(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    simulated_modem.receive("0123", "Hello")
    modem.wait(10)
    pdu = tavro.encode("0123", "Hello")[0].hex

    def fail() -> None:
        try:
            setattr(modem, "timeout", 0)
        except tavro.ConnectError:
            pass

    def reopen() -> None:
        simulated_modem.open(connect=False).close()

    # (a call, how often)
    calls: list[tuple[Callable[[], Any], int]] = [
        (lambda: modem.joined, 60000), (lambda: setattr(modem, "timeout", 1.5), 20000), (fail, 10000),
        (modem.inbox, 5000), (lambda: tavro.decode(pdu, direction=tavro.Direction.SENT), 1000),
        (lambda: tavro.encode("0123", "Hello"), 3000), (reopen, 1000), (lambda: modem.wait(0), 200)]
    assert sum(times for _, times in calls) > 100000
    for call, times in calls:
        for _ in range(times // 10):
            call()
    gc.collect()
    memory = resident()
    tracemalloc.start()
    before = tracemalloc.get_traced_memory()[0]
    for call, times in calls[3:]:  # tracing is slow
        for _ in range(min(times, 200)):
            call()
    gc.collect()
    grown = tracemalloc.get_traced_memory()[0] - before
    tracemalloc.stop()
    assert grown < 20000, f"{grown} octets more"
    for call, times in calls:
        for _ in range(times):
            call()
    gc.collect()
    assert resident() - memory < 2048, f"{resident() - memory} KiB more"
