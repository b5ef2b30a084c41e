"""Texts that the application shows, and the values they stand for."""

from __future__ import annotations

import re
from typing import Any, Optional, Sequence, Union

Number = Union[int, float, complex]

NO_TEXT = "????"
"""What is shown of an object."""

_INTEGER = re.compile(r"0|-?[1-9][0-9]{0,9}")
_ENTRY = re.compile(r"^ {5}\[(-?[0-9]+)\](?:\[(-?[0-9]+)\])? {5}", re.MULTILINE)


def parse_integer(text: str) -> Optional[int]:
    if not _INTEGER.fullmatch(text):
        return None
    value = int(text)
    return value if -(2**31) <= value < 2**31 else None


def parse_float(text: str) -> Optional[float]:
    """Only a text that is a number as "%.16g" or "%g" writes it."""
    try:
        value = float(text)
    except ValueError:
        return None
    if "%.16g" % value == text or "%g" % value == text or text == "-nan":
        return value
    return None


def parse_complex(text: str) -> Optional[complex]:
    parts = text[1:-1].split(",")
    if len(parts) != 2 or text[0] != "(" or text[-1] != ")":
        return None
    real, imaginary = parse_float(parts[0]), parse_float(parts[1])
    return None if real is None or imaginary is None else complex(real, imaginary)


def parse_number(text: str) -> Optional[Number]:
    """The number whose text this is exactly, so that 007 and 1.0 stay texts."""
    value: Optional[Number] = parse_integer(text)
    if value is None:
        value = parse_float(text)
    return parse_complex(text) if value is None else value


def parse(text: str) -> Any:
    """A value of unknown type: None for nothing, a number, a list of values, or the text."""
    if not text:
        return None
    number = parse_number(text)
    if number is not None:
        return number
    if text.startswith("     [1]     "):
        count = len(_ENTRY.findall(text))
        entries = split_entries(text, [(i,) for i in range(1, count + 1)])
        if entries is not None:
            return [parse(entry) for entry in entries]
    return text


_PARSERS: dict[str, Any] = {
    "INTEGER": parse_integer,
    "FLOAT": parse_float,
    "COMPLEX": parse_complex,
    "STRING": str,
    "CHARACTER": str,
}


def is_value_type(type_name: str) -> bool:
    return type_name in _PARSERS


def parse_typed(type_name: str, text: str) -> Any:
    value = _PARSERS[type_name](text)
    return text if value is None else value


def split_entries(text: str, indices: Sequence[tuple[int, ...]]) -> Optional[list[str]]:
    """The entries of a shown list or matrix, when exactly those that `indices` names are there in
    their order; an entry may have several lines. None when the text can be read in another way."""
    heads = list(_ENTRY.finditer(text))
    found = [tuple(int(index) for index in head.groups() if index is not None) for head in heads]
    if found != list(indices) or (heads and heads[0].start() != 0):
        return None
    ends = [head.start() for head in heads[1:]] + [len(text)]
    entries = [text[head.end() : end] for head, end in zip(heads, ends)]
    return [entry[:-1] if entry.endswith("\n") else entry for entry in entries]
