"""The simulated modem of tavro.testing, and finding what is no Python."""

from __future__ import annotations

import os
import shutil
import stat
import subprocess
import sys
import time
from pathlib import Path
from typing import Callable

import pytest

import tavro
from tavro.testing import SimulatedModem

# An SMS-DELIVER from +31641600986: "Test" (3GPP TS 23.040, 9.2.2.1).
DELIVER = "07911326040000F0040B911346610089F600008030504170902204D4F29C0E"


def test_what_happens_to_it(simulated_modems: Callable[..., SimulatedModem]) -> None:
    simulated = simulated_modems(inbox=[DELIVER], options=["--latency", "1"])
    with simulated.open() as modem:
        assert [message.text for message in modem.messages()] == ["Test"]
        simulated.ring("+447700900123")
        simulated.say("+SOMETHING: 1")
        simulated.ussd("Your balance is low")
        simulated.set("manufacturer", "A\\B")
        assert modem.manufacturer == "A\\B"
        assert "RING" in simulated.transcript and "+SOMETHING: 1" in simulated.transcript
    with pytest.raises(ValueError, match="one word"):
        simulated.receive("Alice Smith", "Hello")
    for command, why in (("sing", "no such command"), ("signal 50", "0 to 31"), ("set x=1", "no such setting"),
                         ("plug", "it is plugged in"), ("pdu 0", "no PDU"), ("a\nb", "one line")):
        with pytest.raises(ValueError, match=why):
            simulated.tell(command)
    simulated.close()
    simulated.close()
    with pytest.raises(ValueError, match="closed"):
        simulated.receive("0123", "Hello")
    assert not os.path.exists(simulated.device)
    for arguments in ({"settings": {"x": 1}}, {"pin": "12"}, {"faults": ["x"]}, {"inbox": ["07"]}):
        with pytest.raises(ValueError, match=r"--|inbox"):
            SimulatedModem(**arguments)  # type: ignore[arg-type]


def python(*arguments: str, **environment: str) -> tuple[int, str]:
    """What a Python says and how it ends, with another environment."""
    ended = subprocess.run([sys.executable, *arguments], env={**os.environ, **environment}, text=True,
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return ended.returncode, ended.stdout


def test_command_line(simulated_modem: SimulatedModem, tmp_path: Path) -> None:
    assert python("-m", "tavro", "-d", simulated_modem.device, "command", "AT+CGMM") == (0, "Tavro Modem\n")
    assert python("-m", "tavro", "sing")[0] == 2
    status, said = python("-m", "tavro", TAVRO_PROGRAMS="", PATH=str(tmp_path))
    assert status == 127 and said.startswith("there is no program tavro beside the package or on the PATH: ")
    program = tmp_path / "tavro"
    program.write_text('#!/bin/sh\necho "$0: $*"\n')
    program.chmod(program.stat().st_mode | stat.S_IXUSR)
    assert python("-m", "tavro", "a", "b c", TAVRO_PROGRAMS="", PATH=str(tmp_path)) == (0, f"{program}: a b c\n")


def test_life(tmp_path: Path) -> None:
    """It outlives a child made by fork, does not outlive a program that is killed, and leaves nothing when it fails."""
    with SimulatedModem() as simulated:
        child = os.fork()
        if child == 0:
            os._exit(0 if simulated._ending() is None else 1)
        assert os.waitpid(child, 0)[1] == 0
        simulated.receive("0123", "Hello")
        assert os.path.exists(simulated.device)
    status, device = python("-c", "import os, signal; from tavro.testing import SimulatedModem; it = SimulatedModem();"
                            "print(it.device, flush=True); os.kill(os.getpid(), signal.SIGKILL)")
    end = time.monotonic() + 10
    while os.path.lexists(device.strip()) and time.monotonic() < end:
        time.sleep(0.01)
    assert status == -9 and not os.path.lexists(device.strip())
    shutil.rmtree(os.path.dirname(device))
    fail = "from tavro.testing import SimulatedModem\ntry: SimulatedModem(inbox=['é'])\nexcept ValueError: print('no')"
    assert python("-c", fail, TMPDIR=str(tmp_path)) == (0, "no\n") and not list(tmp_path.iterdir())


USE = "import tavro\ntry: tavro.ports()\nexcept ImportError as error: print(error)"


def test_library(tmp_path: Path) -> None:
    status, said = python("-c", USE, TAVRO_LIBRARY=str(tmp_path / "none.so"))
    assert status == 0 and "none.so cannot be loaded" in said and "install the package libtavro1" in said
    assert "is not Tavro's library" in python("-c", USE, TAVRO_LIBRARY="libc.so.6")[1]
    source, old = tmp_path / "old.c", tmp_path / "old.so"
    for version, shown in ((10879, "1.8.79"), (20000, "2.0.0")):
        source.write_text(f"int tavro_version(void) {{ return {version}; }}\n")
        subprocess.run(["cc", "-shared", "-o", str(old), str(source)], check=True)
        said = python("-c", USE, TAVRO_LIBRARY=str(old))[1]
        assert said == f"the library {old} is version {shown}, and 1.8.80 or a later one of its series is needed\n"
