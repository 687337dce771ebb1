"""`python -m tavro ARGUMENT...` runs the program tavro."""

from __future__ import annotations

import os
import subprocess
import sys

from ._programs import require_program


def run(name: str) -> int:
    """Becomes the program, or runs it where that cannot be; 127 when there is none."""
    try:
        program = require_program(name)
    except FileNotFoundError as error:
        print(error, file=sys.stderr)
        return 127
    arguments = [name, *sys.argv[1:]]
    if sys.platform == "win32":
        return subprocess.call(arguments, executable=program)
    os.execv(program, arguments)


def tavro() -> int:
    return run("tavro")


def tavro_modem() -> int:
    return run("tavro-modem")


if __name__ == "__main__":
    sys.exit(tavro())
