"""Python values as texts of the command language."""

from __future__ import annotations

import numbers
import os
import re
import sys
from typing import Any, Optional

from .errors import QvQuotingError

_ESCAPES = str.maketrans({"\\": "\\\\", '"': '\\"', "\n": "\\n", "\r": "\\r", "\t": "\\t"})
_NO_NAME = re.compile(r"""[\s.\[\]()=;,"\\\x00-\x1f]|//""")


def quote(value: Any) -> str:
    """As an argument of a call. Texts are quoted, so that no character in them has a meaning."""
    text = _number_text(_plain(value))
    if text is None:
        return _quoted(value)
    return f'"{text}"' if text.startswith("(") else text


def quote_assigned(value: Any) -> str:
    """As the right side of an assignment."""
    text = _number_text(_plain(value))
    return _quoted(value) if text is None else text


def check_name(name: str) -> str:
    """A name that goes into a path as it stands."""
    if not name or _NO_NAME.search(name):
        raise QvQuotingError(f"{name!r} cannot be the name of a member")
    return check_text(name)


def check_text(text: str) -> str:
    encode(text)
    return text


def encode(text: str) -> bytes:
    """The bytes that are sent. Those of a shown text that are no UTF-8 go back as they were; a NUL
    and half of a surrogate pair cannot be sent."""
    if not isinstance(text, str):
        raise TypeError(f"a command is a text, not {type(text).__name__}: {text!r:.80}")
    if "\0" in text:
        raise QvQuotingError("a text with a NUL character cannot be sent")
    try:
        return text.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError as error:
        raise QvQuotingError(f"this text is no Unicode: {error}") from None


def is_array(value: Any) -> bool:
    """Whether it is an array of NumPy with at least one dimension."""
    numpy = sys.modules.get("numpy")
    return numpy is not None and isinstance(value, numpy.ndarray) and value.ndim > 0


def _plain(value: Any) -> Any:
    """NumPy's scalars, and arrays without dimensions, as Python's own numbers."""
    numpy = sys.modules.get("numpy")
    if numpy is None or not isinstance(value, (numpy.generic, numpy.ndarray)):
        return value
    return value.item() if value.ndim == 0 else value


def _number_text(value: Any) -> Optional[str]:
    if isinstance(value, numbers.Integral):  # a bool too
        return str(int(value))
    if isinstance(value, numbers.Real):
        return repr(float(value))
    if isinstance(value, numbers.Complex):
        number = complex(value)
        return f"({number.real!r},{number.imag!r})"
    return None


def _quoted(value: Any) -> str:
    if isinstance(value, os.PathLike):
        value = os.fspath(value)
    if not isinstance(value, str):
        raise QvQuotingError(
            f"only numbers and texts can be sent, not {type(value).__name__}: {value!r:.80}"
        )
    return '"' + check_text(value).translate(_ESCAPES) + '"'
