"""What programs give, looked at before the library sees it: ctypes would cut it off without a word."""

from __future__ import annotations

import math
import operator
import time
from typing import SupportsIndex

from ._declarations import INT32_MAX


def octets(value: str, what: str) -> bytes:
    """A text as UTF-8. Raises ValueError for half of a surrogate pair."""
    if not isinstance(value, str):
        raise TypeError(f"{what} must be a str, not {type(value).__name__}")
    return value.encode("utf-8")


def text(value: str, what: str) -> bytes:
    """The same of a text that ends in a NUL. Raises ValueError for another NUL in it."""
    encoded = octets(value, what)
    if b"\0" in encoded:
        raise ValueError(f"{what} has a NUL in it")
    return encoded


def int32(value: SupportsIndex, what: str) -> int:
    """A number that fits. Raises ValueError for one that does not."""
    try:
        number = operator.index(value)
    except TypeError:
        raise TypeError(f"{what} must be an int, not {type(value).__name__}") from None
    if not -INT32_MAX - 1 <= number <= INT32_MAX:
        raise ValueError(f"{what} is out of range: {number}")
    return number


def truth(value: bool, what: str) -> bool:
    if not isinstance(value, bool):
        raise TypeError(f"{what} must be a bool, not {type(value).__name__}")
    return value


def milliseconds(seconds: float, what: str) -> int:
    """Seconds in milliseconds, rounded. Raises ValueError for what is no time: below 0, NaN, longer than 24 days."""
    if isinstance(seconds, bool) or not isinstance(seconds, (int, float)):
        raise TypeError(f"{what} must be a number of seconds, not {type(seconds).__name__}")
    if not 0 <= seconds <= INT32_MAX / 1000:
        raise ValueError(f"{what} is out of range: {seconds}")
    return round(seconds * 1000)


class Deadline:
    """So many seconds from now, for a wait; None is never."""

    def __init__(self, timeout: float | None) -> None:
        if timeout is not None and timeout != math.inf:
            self._end: float | None = time.monotonic() + milliseconds(timeout, "timeout") / 1000
        else:
            self._end = None

    def milliseconds(self, longest: int = INT32_MAX) -> int:
        """What is left, `longest` at most."""
        if self._end is None:
            return longest
        return min(max(math.ceil((self._end - time.monotonic()) * 1000), 0), longest)

    def is_over(self) -> bool:
        return self.milliseconds() == 0
