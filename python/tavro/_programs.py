"""Finding what is no Python: the library and the programs."""

from __future__ import annotations

import os
import shutil
from pathlib import Path

# Beside the modules, in a wheel.
BESIDE = Path(__file__).parent / "_native"


def find_program(name: str) -> str | None:
    """The path of a program: in the folder that TAVRO_PROGRAMS names, beside the package, or on the PATH."""
    folders = [os.environ.get("TAVRO_PROGRAMS"), str(BESIDE), os.environ.get("PATH", os.defpath)]
    return next((found for folder in folders if folder and (found := shutil.which(name, path=folder))), None)


def require_program(name: str) -> str:
    """The same; raises FileNotFoundError with what can be done about it."""
    found = find_program(name)
    if found is None:
        raise FileNotFoundError(
            f"there is no program {name} beside the package or on the PATH: install the package tavro, or name its "
            "folder in TAVRO_PROGRAMS"
        )
    return found
