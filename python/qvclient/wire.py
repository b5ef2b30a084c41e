"""Frames over a socket: 20 bytes that begin with the payload's length in decimal digits and a NUL,
then the payload. Each frame that is sent is answered by one."""

from __future__ import annotations

import socket
import sys
import time
from typing import Optional

HEADER_SIZE = 20
# A longer length is not believed.
MAX_LENGTH = 1 << 30

_BUFFER_SIZE = 64 * 1024
_CONNECT_TIMEOUT = 10.0
# Windows does not interrupt a wait for Ctrl-C, so there it is made of short ones.
_LONGEST_WAIT = 0.5 if sys.platform == "win32" else None


class FrameError(Exception):
    """What came is no frame, or the peer closed the connection inside one."""


def frame(payload: bytes) -> bytes:
    """Header and payload in one piece: a receiver may insist on getting a header whole."""
    return (b"%d" % len(payload)).ljust(HEADER_SIZE, b"\0") + payload


def payload_length(header: bytes) -> int:
    digits, nul, _ = header.partition(b"\0")
    if not nul or not digits.isdigit():
        raise FrameError(f"this is no frame: {bytes(header)!r}")
    length = int(digits)
    if length > MAX_LENGTH:
        raise FrameError(f"a frame of {length} bytes is more than the limit of {MAX_LENGTH}")
    return length


class Wire:
    """A connection. After an exception of any kind it is good for nothing but close()."""

    def __init__(self, host: str, port: int, timeout: Optional[float]) -> None:
        limit = _CONNECT_TIMEOUT if timeout is None else timeout
        self._socket = socket.create_connection((host, port), limit)
        self._socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self._buffer = memoryview(bytearray(_BUFFER_SIZE))
        self._deadline: Optional[float] = None

    def exchange(self, payload: bytes, timeout: Optional[float]) -> bytes:
        """Sends a frame and waits for the payload of the answer; TimeoutError when sending or the
        answer takes longer than `timeout` seconds."""
        self._deadline = None if timeout is None else time.monotonic() + timeout
        if self._socket.gettimeout() != timeout:
            self._socket.settimeout(timeout)
        self._socket.sendall(frame(payload))
        received = 0
        while received < HEADER_SIZE:
            received += self._receive(self._buffer[received:])
        length = payload_length(bytes(self._buffer[:HEADER_SIZE]))
        end = HEADER_SIZE + length
        if received > end:
            raise FrameError("more was answered than one frame")
        if end <= len(self._buffer):
            while received < end:
                received += self._receive(self._buffer[received:end])
            return bytes(self._buffer[HEADER_SIZE:end])
        return self._rest(self._buffer[HEADER_SIZE:received], length)

    def close(self) -> None:
        self._socket.close()

    def __del__(self) -> None:
        if hasattr(self, "_socket"):
            self._socket.close()

    def _rest(self, begun: memoryview, length: int) -> bytes:
        payload = bytearray(length)
        view = memoryview(payload)
        received = len(begun)
        view[:received] = begun
        while received < length:
            received += self._receive(view[received:])
        return bytes(payload)

    def _receive(self, view: memoryview) -> int:
        while True:
            wait = _LONGEST_WAIT
            if self._deadline is not None:
                remaining = self._deadline - time.monotonic()
                if remaining <= 0:
                    raise socket.timeout("timed out")
                wait = remaining if wait is None else min(wait, remaining)
            if wait is not None:
                self._socket.settimeout(wait)
            try:
                count = self._socket.recv_into(view)
            except socket.timeout:
                continue
            if count == 0:
                raise FrameError("the application closed the connection")
            return count
