"""The shared library: where it is, and calls of its functions."""

from __future__ import annotations

import ctypes
import functools
import os
import sys
import weakref
from ctypes import byref
from typing import Any, Callable, Iterator, TypeVar

from . import _declarations as c
from ._errors import Error, LibraryError, error_of
from ._programs import BESIDE

# What this package was written for: 10000 times the first number of the version, 100 times the second, and the third.
NEEDED_VERSION = 10880

Element = TypeVar("Element", bound=c.Sized)
Made = TypeVar("Made")


def _candidates() -> list[str]:
    if named := os.environ.get("TAVRO_LIBRARY"):
        return [named]
    name = "tavro_c.dll" if sys.platform == "win32" else "libtavro.so.1"
    return [str(path) for path in [BESIDE / name] if path.exists()] or [name]


@functools.lru_cache(maxsize=None)
def library() -> ctypes.CDLL:
    """The library. Of several the first counts: what TAVRO_LIBRARY names, the one beside the package, the system's.

    Raises LibraryError when there is none, or it is too old."""
    path = _candidates()[0]
    try:
        loaded = ctypes.CDLL(path)
        version = loaded.tavro_version()
    except OSError as error:
        hint = "install the package libtavro1, or name the file in TAVRO_LIBRARY"
        raise LibraryError(f"the library {path} cannot be loaded ({error}): {hint}", name="tavro", path=path) from None
    except AttributeError:
        raise LibraryError(f"{path} is not Tavro's library", name="tavro", path=path) from None
    if version < NEEDED_VERSION or version // 10000 != NEEDED_VERSION // 10000:
        raise LibraryError(f"the library {path} is version {_dotted(version)}, and {_dotted(NEEDED_VERSION)} or a "
                           "later one of its series is needed", name="tavro", path=path)
    for name, arguments in c.FUNCTIONS.items():
        getattr(loaded, name).argtypes = arguments
    loaded.tavro_version_text.restype = ctypes.c_char_p
    return loaded


def _dotted(version: int) -> str:
    return f"{version // 10000}.{version // 100 % 100}.{version % 100}"


def library_version() -> str:
    """The library's version: "1.8.80"."""
    return str(library().tavro_version_text().decode())


def last_error(code: int) -> Error:
    """The exception for the call of this thread that has just failed with this code."""
    text = ctypes.c_char_p()
    known = library().tavro_error(None, byref(text))
    return error_of(code, (text.value or b"").decode("utf-8", "replace") if known == code else "It failed")


def check(code: int) -> None:
    """Raises what a function's answer stands for, unless it is 0."""
    if code != 0:
        raise last_error(code)


class List:
    """A list that the library gave, freed with this object."""

    def __init__(self, give: Callable[[Any], Any]) -> None:
        """`give` calls the function that gives it, with the place for the handle."""
        handle = ctypes.c_void_p()
        check(give(byref(handle)))
        self.handle = handle.value
        if handle.value is not None:
            weakref.finalize(self, library().tavro_list_free, handle.value).atexit = False

    def elements(self, at: Callable[[int | None, int, Any], Any], kind: type[Element]) -> Iterator[Element]:
        """Its elements, by the function that tells one. Each is valid until the next one, its texts as long as this."""
        element = kind()
        index = 0
        while self.handle is not None:
            code = at(self.handle, index, byref(element))
            if code == c.Code.NOT_IN_LIST:
                return
            check(code)
            yield element
            index += 1

    def read(self, at: Callable[[int | None, int, Any], Any], kind: type[Element],
             make: Callable[[Element], Made]) -> list[Made]:
        """What is made of each element."""
        return [make(element) for element in self.elements(at, kind)]
