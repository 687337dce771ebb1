"""Fixtures for pytest, which finds them by itself where Tavro is installed."""

from __future__ import annotations

import contextlib
from typing import TYPE_CHECKING, Callable, Iterator

import pytest

if TYPE_CHECKING:
    from .testing import SimulatedModem


@pytest.fixture
def simulated_modems() -> Iterator[Callable[..., SimulatedModem]]:
    """Makes simulated modems, with the arguments of tavro.testing.SimulatedModem; they end with the test."""
    from .testing import SimulatedModem

    with contextlib.ExitStack() as modems:
        yield lambda **arguments: modems.enter_context(SimulatedModem(**arguments))


@pytest.fixture
def simulated_modem(simulated_modems: Callable[..., SimulatedModem]) -> SimulatedModem:
    """A tavro.testing.SimulatedModem."""
    return simulated_modems()
