"""Every program in docs/python.md, as it stands there, but for the device."""

from __future__ import annotations

import os
import re
import subprocess
import sys
from pathlib import Path
from typing import Callable

import pytest

from tavro.testing import SimulatedModem

DOCS = (Path(__file__).resolve().parents[2] / "docs/python.md").read_text("utf-8")
PROGRAMS = dict(re.findall(r"^## ([^\n]+)\n(?:(?!\n## ).)*?```python\n(.*?)```", DOCS, re.MULTILINE | re.DOTALL))


def start(title: str, simulated: SimulatedModem) -> subprocess.Popen[str]:
    program = PROGRAMS[title].replace('"/dev/ttyUSB0"', repr(simulated.device))
    return subprocess.Popen([sys.executable, "-W", "error", "-c", program], stdout=subprocess.PIPE, text=True,
                            env={**os.environ, "PYTHONUNBUFFERED": "1"})


def said(process: subprocess.Popen[str]) -> str:
    output = process.communicate(timeout=20)[0]
    assert process.returncode == 0, output
    return output


def test_all_are_run() -> None:
    assert list(PROGRAMS) == ["A first program", "Sending, and what became of it", "Answering what comes", "A test",
                              "asyncio", "Without a modem"]
    assert DOCS.count("```python") == len(PROGRAMS)
    assert len(PROGRAMS["Answering what comes"].splitlines()) <= 20


def test_first_program(simulated_modems: Callable[..., SimulatedModem]) -> None:
    simulated = simulated_modems(pin="1234")
    simulated.receive("Alice", "Are you there?")
    assert said(start("A first program", simulated)).endswith("Alice: Are you there?\n")
    assert [(pdu.number, pdu.text) for pdu in simulated.sent] == [("+447700900123", "Hello")]


@pytest.mark.parametrize("status, shown", [
    (0, "DELIVERED\n1: Short message received by the SME\n"),
    (70, "FAILED\n1: SM Validity Period Expired\n")])
def test_sending(simulated_modem: SimulatedModem, status: int, shown: str) -> None:
    simulated_modem.set("report-delay-ms", 20)
    simulated_modem.set("report-status", status)
    assert said(start("Sending, and what became of it", simulated_modem)) == shown


@pytest.mark.parametrize("title", ["Answering what comes", "asyncio"])
def test_answering(simulated_modem: SimulatedModem, title: str) -> None:
    simulated_modem.set("report-delay-ms", 600000)
    process = start(title, simulated_modem)
    assert process.stdout is not None
    for number, text in enumerate(("one", "two")):
        simulated_modem.receive("+447700900123", text)
        assert process.stdout.readline() == f"+447700900123: {text}\n"
    simulated_modem.receive("+447700900123", "stop")
    said(process)
    assert [pdu.text for pdu in simulated_modem.sent] == ["You said: one", "You said: two"]
    with simulated_modem.open() as modem:
        assert modem.messages() == []  # they were deleted


def test_test(tmp_path: Path) -> None:
    (tmp_path / "test_it.py").write_text(PROGRAMS["A test"])
    subprocess.run([sys.executable, "-m", "pytest", "-q", "-p", "tavro.pytest_plugin", "-p", "no:cacheprovider",
                    "test_it.py"], cwd=tmp_path, check=True)


def test_without_a_modem(simulated_modem: SimulatedModem) -> None:
    lines = said(start("Without a modem", simulated_modem)).splitlines()
    assert lines[0] == "0011000B916407281553F80000A70AE8329BFD4697D9EC37"  # 3GPP TS 23.040 and 23.038
    assert "TP-DA Address-Value: +46708251358" in lines and "+46708251358 hellohello" in lines
