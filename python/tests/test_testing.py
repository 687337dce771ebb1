"""The simulated modem of tavro.testing, and finding what is no Python."""

from __future__ import annotations

import os
import stat
import subprocess
import sys
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
