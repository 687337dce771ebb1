"""What the tests share."""

from __future__ import annotations

import os
import signal
import subprocess
import sys
from typing import Callable, Iterator

import pytest

import tavro
from tavro.testing import SimulatedModem


@pytest.fixture
def modem(simulated_modem: SimulatedModem) -> Iterator[tavro.Modem]:
    """Connected to the simulated one."""
    with simulated_modem.open() as opened:
        yield opened


@pytest.fixture
def interrupt() -> Callable[[str, str], str]:
    """Runs a program in another process, as `interrupt(program, device)`, sends it SIGINT when it says "now", and
    returns what it says behind that. It has to end by itself."""
    def run(program: str, device: str) -> str:
        with subprocess.Popen([sys.executable, "-c", program, device], stdout=subprocess.PIPE, text=True) as process:
            assert process.stdout is not None
            assert process.stdout.readline() == "now\n"
            os.kill(process.pid, signal.SIGINT)
            return process.communicate(timeout=20)[0]
    return run
