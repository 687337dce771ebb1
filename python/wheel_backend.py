"""Makes the wheel: the package with the library and the programs tavro and tavro-modem inside (PEP 427, PEP 517).

    python3 python/wheel_backend.py BUILD OUT    of the build in the folder BUILD, into the folder OUT

`pip install ./python` does the same, of the build that TAVRO_BUILD names, build/release when it names none. Needs
Python 3.9 and strip. The wheel is for this kind of machine, and for its C library or a later one, so that its tag is
"linux" and no promise of more. The same files and SOURCE_DATE_EPOCH give the same wheel.

  wheel = zip of: tavro/*.py, tavro/py.typed, tavro/_native/{libtavro.so.1,tavro,tavro-modem},
                  tavro-VERSION.dist-info/{METADATA,WHEEL,entry_points.txt,LICENSE,RECORD}"""

from __future__ import annotations

import base64
import hashlib
import os
import re
import subprocess
import sys
import tempfile
import time
import zipfile
from pathlib import Path
from typing import Any

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent
NATIVE = ("src/libtavro.so.1", "apps/tavro", "apps/tavro-modem")
SCRIPTS = """
[console_scripts]
tavro = tavro.__main__:tavro
tavro-modem = tavro.__main__:tavro_modem
"""


def project() -> dict[str, str]:
    """VERSION and DESCRIPTION, as CMakeLists.txt has them."""
    text = (ROOT / "CMakeLists.txt").read_text("utf-8")
    found = re.search(r'^project\(\w+ VERSION (?P<VERSION>[0-9.]+) .*DESCRIPTION "(?P<DESCRIPTION>.*)"\)', text, re.M)
    if found is None:
        raise RuntimeError("CMakeLists.txt names no version")
    return found.groupdict()


def metadata() -> str:
    return re.sub("@PROJECT_([A-Z]+)@", lambda name: project()[name[1]], (HERE / "METADATA.in").read_text("utf-8"))


def stripped(path: Path) -> bytes:
    with tempfile.TemporaryDirectory() as folder:
        small = Path(folder, path.name)
        subprocess.run(["strip", "--strip-unneeded", "-o", str(small), str(path.resolve())], check=True)
        return small.read_bytes()


def contents(build: Path, tag: str) -> dict[str, bytes]:
    """Every file but RECORD."""
    info = f"tavro-{project()['VERSION']}.dist-info"
    files = {f"tavro/{path.name}": path.read_bytes() for path in (HERE / "tavro").iterdir()
             if path.suffix == ".py" or path.name == "py.typed"}
    for name in NATIVE:
        files[f"tavro/_native/{Path(name).name}"] = stripped(build / name)
    wheel = f"Wheel-Version: 1.0\nGenerator: tavro\nRoot-Is-Purelib: false\nTag: {tag}\n"
    files[f"{info}/METADATA"] = metadata().encode()
    files[f"{info}/WHEEL"] = wheel.encode()
    files[f"{info}/entry_points.txt"] = (HERE / "entry_points.txt").read_bytes() + SCRIPTS.encode()
    files[f"{info}/LICENSE"] = (ROOT / "LICENSE").read_bytes()
    return files


def record_line(name: str, data: bytes) -> str:
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(data)}\n"


def build_wheel(wheel_directory: str, config_settings: Any = None, metadata_directory: Any = None,
                build: Path | None = None) -> str:
    """Writes the wheel, and returns its name. Raises FileNotFoundError when the build lacks something."""
    build = build or Path(os.environ.get("TAVRO_BUILD", ROOT / "build/release"))
    missing = [name for name in NATIVE if not (build / name).exists()]
    if missing:
        raise FileNotFoundError(f"{build} has no {' and no '.join(missing)}; scripts/wheel builds them")
    tag = f"py3-none-linux_{os.uname().machine}"
    files = contents(build, tag)
    record = f"tavro-{project()['VERSION']}.dist-info/RECORD"
    lines = [record_line(name, data) for name, data in sorted(files.items())]
    files[record] = "".join([*lines, f"{record},,\n"]).encode()

    name = f"tavro-{project()['VERSION']}-{tag}.whl"
    earliest = 315532800  # 1980-01-01, with which the time of a zip begins
    date = time.gmtime(max(int(os.environ.get("SOURCE_DATE_EPOCH", earliest)), earliest))[:6]
    with zipfile.ZipFile(Path(wheel_directory, name), "w", zipfile.ZIP_DEFLATED) as wheel:
        for path, data in sorted(files.items(), key=lambda file: (".dist-info/" in file[0], file[0])):
            entry = zipfile.ZipInfo(path, date)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (0o100755 if "/_native/" in path else 0o100644) << 16
            entry.create_system = 3  # Unix, as the modes are
            wheel.writestr(entry, data)
    return name


if __name__ == "__main__":
    print(build_wheel(sys.argv[2], build=Path(sys.argv[1])))
