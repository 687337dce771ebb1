"""The wheel: the same each time, and all that is needed."""

from __future__ import annotations

import os
import subprocess
import sys
import zipfile
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parents[1]
BUILD = Path(os.environ.get("TAVRO_BUILD", HERE.parent / "build/release")).resolve()
# A program and its test, where Tavro is installed and pytest finds the fixture by itself.
TEST = """
import tavro, tavro._library

def test_installed(simulated_modem):
    assert "site-packages/tavro/_native" in tavro._library.library()._name
    with simulated_modem.open() as modem:
        modem.send(simulated_modem.number, "Hello")
        assert modem.wait(10)[0].text == "Hello"
"""


def wheel(folder: Path, mask: int) -> Path:
    folder.mkdir()
    made = subprocess.run([sys.executable, str(HERE / "wheel_backend.py"), str(BUILD), str(folder)], check=True,
                          env={**os.environ, "SOURCE_DATE_EPOCH": "1700000000"}, stdout=subprocess.PIPE, text=True,
                          umask=mask)
    return folder / made.stdout.strip()


def test_wheel(tmp_path: Path) -> None:
    made, again = wheel(tmp_path / "a", 0o022), wheel(tmp_path / "b", 0o077)
    assert made.read_bytes() == again.read_bytes()
    with zipfile.ZipFile(made) as files:
        assert {name for name in files.namelist() if name.startswith("tavro/") and "_native" not in name} == {
            f"tavro/{path.name}" for path in (HERE / "tavro").iterdir() if path.is_file()}
        assert {entry.date_time for entry in files.infolist()} == {(2023, 11, 14, 22, 13, 20)}

    venv = tmp_path / "venv"
    bare = {name: value for name, value in os.environ.items() if not name.startswith(("PYTHON", "TAVRO", "PYTEST"))}
    subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", "--without-pip", str(venv)], check=True)
    pip = next(Path("/usr/share/python-wheels").glob("pip-*.whl"))
    subprocess.run([str(venv / "bin/python"), str(pip / "pip"), "install", "--quiet", "--no-index", "--no-deps",
                    "--disable-pip-version-check", str(made)], check=True, env=bare)
    (tmp_path / "test_it.py").write_text(TEST)
    tested = subprocess.run([str(venv / "bin/python"), "-m", "pytest", "-q", "-p", "no:cacheprovider", "test_it.py"],
                            cwd=tmp_path, env=bare, stdout=subprocess.PIPE, text=True)
    assert tested.returncode == 0, tested.stdout
    for command in ([str(venv / "bin/tavro"), "--version"], [str(venv / "bin/python"), "-m", "tavro", "--version"]):
        shown = subprocess.run(command, cwd=tmp_path, env=bare, stdout=subprocess.PIPE, check=True, text=True).stdout
        assert made.name.split("-")[1] in shown
    with pytest.raises(subprocess.CalledProcessError):
        subprocess.run([str(venv / "bin/tavro-modem"), "--nonsense"], env=bare, check=True, stderr=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL)


def test_incomplete_build(tmp_path: Path) -> None:
    made = subprocess.run([sys.executable, str(HERE / "wheel_backend.py"), str(tmp_path), str(tmp_path)],
                          stderr=subprocess.PIPE, text=True)
    assert made.returncode == 1 and "has no src/libtavro.so.1" in made.stderr and "scripts/wheel" in made.stderr
