"""The declarations are those of the header."""

from __future__ import annotations

import ctypes
import enum
import re
from ctypes import POINTER, c_char_p, c_int, c_int32, c_int64, c_size_t, c_uint8, c_uint32, c_void_p
from pathlib import Path

import tavro
from tavro import _declarations as c
from tavro._library import NEEDED_VERSION

ROOT = Path(__file__).resolve().parents[2]
HEADER = re.sub(r" *//.*", "", (ROOT / "include/tavro/tavro.h").read_text("utf-8"))
STRUCTURES = {"tavro_" + re.sub(r"(?<!^)(?=[A-Z])", "_", name).lower(): kind for name, kind in vars(c).items()
              if isinstance(kind, type) and issubclass(kind, ctypes.Structure) and name != "Sized"}
TYPES = {"uint32_t": c_uint32, "int32_t": c_int32, "int64_t": c_int64, "size_t": c_size_t, "int": c_int,
         "const char*": c_char_p, "const uint8_t*": POINTER(c_uint8), "const int32_t*": POINTER(c_int32),
         "int32_t*": POINTER(c_int32), "size_t*": POINTER(c_size_t), "const char**": POINTER(c_char_p),
         "const char* const*": POINTER(c_char_p), "tavro_modem*": c_void_p, "tavro_list*": c_void_p,
         "tavro_modem**": POINTER(c_void_p), "tavro_list**": POINTER(c_void_p)}
for each, kind in STRUCTURES.items():
    TYPES.update({each: kind, f"{each}*": POINTER(kind), f"const {each}*": POINTER(kind)})


def test_structures() -> None:
    found = {}
    for name, body in re.findall(r"typedef struct (\w+) \{(.*?)\}", HEADER, re.DOTALL):
        members = re.findall(r"([\w *]+?)\b(\w+);", body)
        found[name] = [(member, TYPES[kind.strip()]) for kind, member in members]
    found["tavro_text"][0] = ("data", c_void_p)  # which ctypes does not take for a text that ends at a NUL
    assert found == {name: kind._fields_ for name, kind in STRUCTURES.items()}


def test_functions() -> None:
    found = {}
    for name, given in re.findall(r"TAVRO_API [\w *]+?\b(\w+)\(([^)]*)\);", HEADER):
        found[name] = () if given == "void" else tuple(
            TYPES[re.sub(r"\s*\b\w+$", "", argument.strip())] for argument in given.split(","))
    unused = {"tavro_send", "tavro_encode"}  # those that take texts without a length
    assert {name: given for name, given in found.items() if name not in unused} == c.FUNCTIONS
    used = {name for path in Path(tavro.__file__).parent.glob("*.py")
            for name in re.findall(r"\.(tavro_\w+)", path.read_text("utf-8"))}
    assert used <= c.FUNCTIONS.keys()


def test_constants() -> None:
    found = {name: int(value, 0) for name, value in re.findall(r"\bTAVRO_(\w+) = (-?\w+)", HEADER)}
    groups: list[type[enum.IntEnum]] = [c.Code, c.Flag, c.Property]  # type: ignore[list-item]
    ours = {member.name: member.value for group in groups for member in group}
    ours.update({name: value for name, value in vars(c).items() if name.isupper() and isinstance(value, int)})
    prefixed = {"LONG_": tavro.LongMessage, "WAITING_": tavro.WaitingKind, "PROBE_": tavro.ProbeOutcome,
                "PDU_": tavro.PduKind}
    ours.update({prefix + member.name: member.value for prefix, group in prefixed.items() for member in group})
    renamed = {"UNKNOWN": "DELIVERY_UNKNOWN", "FAILED": "DELIVERY_FAILED"}
    ours.update({renamed.get(member.name, member.name): member.value for member in tavro.DeliveryState})
    own = {"NO_TIME", "INT32_MAX"}
    # Of the rest there are other words: exceptions, and texts for numbers.
    rest = {"OK", "OUT_OF_MEMORY", "INTERNAL_ERROR", "UNREAD_MESSAGES", "READ_MESSAGES",
            "ALL_MESSAGES"}
    assert {name: value for name, value in found.items() if name not in rest} == {
        name: value for name, value in ours.items() if name not in own}


def test_versions() -> None:
    assert f"TAVRO_VERSION_NUMBER {NEEDED_VERSION}\n" in HEADER
    assert tavro.__version__ == tavro.library_version()
