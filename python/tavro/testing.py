"""A simulated modem, for the tests of programs that use Tavro.

    from tavro.testing import SimulatedModem

    with SimulatedModem(ussd={"*100#": "5.20 EUR"}) as simulated:
        with simulated.open() as modem:
            simulated.receive("+447700900123", "Hello!")
            assert modem.wait(10)[0].text == "Hello!"
            modem.send("+447700900123", "Hello yourself!")
        assert simulated.sent[0].text == "Hello yourself!"

With pytest there are the fixtures `simulated_modem`, which is one, and `simulated_modems`, which makes them: a function
that takes the same arguments."""

from __future__ import annotations

import os
import re
import select
import shutil
import subprocess
import tempfile
import time
import weakref
from pathlib import Path
from typing import TYPE_CHECKING, Any, Iterable, Mapping, Sequence

from ._arguments import octets
from ._modem import Modem
from ._pdus import Direction, Pdu, decode
from ._programs import require_program

if TYPE_CHECKING:
    from types import TracebackType

# How long the program may take for anything, in seconds.
_PATIENCE = 30.0


class SimulatedModem:
    """The program tavro-modem on a pseudo-terminal, at `device`."""

    def __init__(self, *, pin: str | None = None, number: str = "+491701234567",
                 settings: Mapping[str, object] | None = None, ussd: Mapping[str, str] | None = None,
                 ussd_menus: Mapping[str, str] | None = None, answers: Mapping[str, str] | None = None,
                 faults: Iterable[str] = (), inbox: Iterable[str] = (), options: Sequence[str] = ()) -> None:
        """Returns when it can be opened.

        pin: that the SIM asks for. number: its own; a message to it comes back. settings: as those of --set, of which
        `tavro-modem --help` tells, with their values: {"report-delay-ms": 100}. ussd: what the network answers to
        codes; ussd_menus: the same, asking for a reply. answers: what it answers to AT commands, "" for nothing.
        faults: as those of --fault. inbox: PDUs that were received before. options: others of the program.

        Raises FileNotFoundError without the program, and ValueError with what it says of options it does not take."""
        if pin is not None:
            octets(pin, "pin")
        octets(number, "number")
        program = require_program("tavro-modem")
        self.pin = pin
        self.number = number
        self._said = b""
        self._commands = 0
        self._folder = tempfile.mkdtemp(prefix="tavro-")
        try:
            self._start(program, settings, ussd, ussd_menus, answers, faults, inbox, options)
        except BaseException:
            shutil.rmtree(self._folder, ignore_errors=True)
            raise
        self._ending = weakref.finalize(self, _end, self._process, self._folder, os.getpid())
        if not (line := self._line()).startswith("/"):
            self.close()
            raise ValueError(line)

    def _start(self, program: str, settings: Mapping[str, object] | None, ussd: Mapping[str, str] | None,
               ussd_menus: Mapping[str, str] | None, answers: Mapping[str, str] | None, faults: Iterable[str],
               inbox: Iterable[str], options: Sequence[str]) -> None:
        self.device = os.path.join(self._folder, "modem")  # the same when it is unplugged and plugged in again
        self._transcript = Path(self._folder, "transcript")
        arguments = [program, "--link", self.device, "--transcript", str(self._transcript), "--number",
                     self.number, "--end-with-input"]
        if self.pin is not None:
            arguments += ["--pin", self.pin]
        for name, value in (settings or {}).items():
            shown = str(int(value)) if isinstance(value, bool) else _escaped(str(value))
            arguments += ["--set", f"{name}={shown}"]
        for option, pairs in (("--ussd", ussd), ("--ussd-menu", ussd_menus), ("--answer", answers)):
            for name, text in (pairs or {}).items():
                arguments += [option, name, _escaped(text)]
        for fault in faults:
            arguments += ["--fault", fault]
        if received := list(inbox):
            path = Path(self._folder, "inbox")
            path.write_text("\n".join(received), "ascii")
            arguments += ["--inbox", str(path)]
        # A session of its own: Ctrl-C is for the program under test.
        self._process = subprocess.Popen([*arguments, *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=subprocess.STDOUT, start_new_session=True)

    def __enter__(self) -> SimulatedModem:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 traceback: TracebackType | None) -> None:
        self.close()

    def close(self) -> None:
        """Ends it; nothing when it has ended."""
        self._ending()

    def open(self, **settings: Any) -> Modem:
        """A tavro.Modem at it, with its PIN."""
        settings.setdefault("pin", self.pin)
        return Modem(self.device, **settings)

    # --- What happens to it ------------------------------------------------------------------------------------------

    def receive(self, sender: str, text: str) -> None:
        """A message arrives, from a number or a name of one word. Raises ValueError for another."""
        if sender.split() != [sender]:
            raise ValueError(f"sender must be one word, not {sender!r}")
        self.tell(f"receive {sender} {_escaped(text)}")

    def receive_pdu(self, pdu: str) -> None:
        """An SMS-DELIVER or SMS-STATUS-REPORT in hexadecimal digits arrives."""
        self.tell(f"pdu {pdu}")

    def ussd(self, text: str, *, expects_reply: bool = False) -> None:
        """USSD comes from the network."""
        self.tell(f"ussd{'-menu' if expects_reply else ''} {_escaped(text)}")

    def ring(self, number: str) -> None:
        """A call rings once."""
        self.tell(f"ring {number}")

    def say(self, line: str) -> None:
        """A line comes of the modem's own accord."""
        self.tell(f"say {_escaped(line)}")

    def set(self, name: str, value: object) -> None:
        """Any of the `settings`."""
        self.tell(f"set {name}={str(int(value)) if isinstance(value, bool) else _escaped(str(value))}")

    def set_signal(self, strength: int) -> None:
        """What AT+CSQ says: 0 to 31, or 99."""
        self.tell(f"signal {strength}")

    def fault(self, name: str) -> None:
        """Any of the `faults`."""
        self.tell(f"fault {name}")

    def unplug(self) -> None:
        """The device disappears, as a USB stick does."""
        self.tell("unplug")

    def plug(self) -> None:
        """It is back at the same place, asking for its PIN again."""
        self.tell("plug")

    def tell(self, command: str) -> None:
        """Any command of the program's standard input. Returns when it was done; raises ValueError when the program
        refuses it."""
        if "\n" in command:
            raise ValueError("a command is one line")
        self._commands += 1
        done = f"done-{self._commands}"
        assert self._process.stdin is not None
        self._process.stdin.write(f"{command}\necho {done}\n".encode("utf-8"))
        self._process.stdin.flush()
        refusal = None
        while (line := self._line()) != done:
            if not line.startswith("/"):  # the place where it was plugged in
                refusal = line
        if refusal is not None:
            raise ValueError(refusal)

    # --- What it was told by the program under test ------------------------------------------------------------------

    @property
    def sent(self) -> list[Pdu]:
        """The messages that were sent, part by part."""
        return [decode(digits, direction=Direction.SENT) for digits in self.sent_pdus]

    @property
    def sent_pdus(self) -> list[str]:
        """The same in hexadecimal digits."""
        said = "".join(re.findall(r"^ *[0-9.]+ > (.*)$", self.transcript, re.MULTILINE))
        return re.findall(r"([0-9A-F]+)<sub>", said)

    @property
    def transcript(self) -> str:
        """All that was said on the line, with the time in seconds, ">" to the modem and "<" from it."""
        return self._transcript.read_text("ascii")

    def _line(self) -> str:
        """The next line that the program says. Raises RuntimeError when it ended, TimeoutError when it says nothing."""
        assert self._process.stdout is not None
        descriptor, end = self._process.stdout.fileno(), time.monotonic() + _PATIENCE
        while b"\n" not in self._said:
            if not select.select([descriptor], [], [], max(end - time.monotonic(), 0))[0]:
                raise TimeoutError("the simulated modem says nothing")
            piece = os.read(descriptor, 65536)
            if not piece:
                raise RuntimeError(f"the simulated modem ended: {self._said.decode('utf-8', 'replace')}")
            self._said += piece
        line, self._said = self._said.split(b"\n", 1)
        return line.decode("utf-8", "replace")


def _escaped(text: str) -> str:
    """As the program takes texts: a line, with a blank in front that is not taken for the end of a word."""
    escaped = re.sub(r"[\x00-\x1f\x7f]|^ ", lambda found: f"\\x{ord(found[0]):02X}", text.replace("\\", "\\\\"))
    return escaped


def _end(process: subprocess.Popen[bytes], folder: str, owner: int) -> None:
    if os.getpid() != owner:  # a child made by fork ends
        return
    process.kill()
    process.wait()
    for pipe in (process.stdin, process.stdout):
        assert pipe is not None
        pipe.close()
    shutil.rmtree(folder, ignore_errors=True)
