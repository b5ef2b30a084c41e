"""Commands and their answers over a connection that is made anew after it broke."""

from __future__ import annotations

import itertools
import numbers
import os
import socket
import threading
from typing import Optional

from .errors import QvConnectionError, QvError, QvTimeout
from .quoting import encode
from .wire import FrameError, Wire

_RESULT = b"RETVAL:"
_ERROR = b"ERROR:"

_numbers = itertools.count(1)


def check_timeout(seconds: Optional[float]) -> Optional[float]:
    if seconds is None:
        return None
    if not isinstance(seconds, numbers.Real):
        raise TypeError(f"a timeout is a number of seconds or None, not {seconds!r}")
    if not seconds > 0:
        raise ValueError(f"a timeout is more than 0 s, not {seconds!r}")
    # The system's clock has an end.
    return float(seconds) if seconds < threading.TIMEOUT_MAX else None


class Held:
    """A global variable of the application that refers to an object for as long as this lives."""

    __slots__ = ("name", "_session")

    def __init__(self, session: Session, name: str) -> None:
        self.name = name
        self._session = session

    def __del__(self) -> None:
        # Nothing is sent: this may happen in the middle of an exchange.
        self._session.free_names.append(self.name)


class Session:
    """One command at a time, from whatever thread."""

    def __init__(self, host: str, port: int, timeout: Optional[float]) -> None:
        self.host = host
        self.port = port
        self.timeout = check_timeout(timeout)
        self.lock = threading.RLock()
        self.free_names: list[str] = []
        self._wire: Optional[Wire] = None
        self._closed = False
        self._process = os.getpid()

    def open(self) -> None:
        """Connects, unless there is a connection."""
        with self.lock:
            self._closed = False
            if self._wire is not None:
                return
            try:
                self._wire = Wire(self.host, self.port, self.timeout)
            except OSError as error:
                raise QvConnectionError(
                    f"no application answers at {self.host}:{self.port}: {error}"
                ) from error

    def close(self) -> None:
        """Disconnects for good; open() connects again."""
        with self.lock:
            while self._wire is not None and self.free_names:
                try:
                    self.command(f"Del {self.free_names.pop()}")
                except QvError:
                    pass  # the object is gone, and the variable with it
            self._drop()
            self._closed = True

    def reopen(self) -> None:
        with self.lock:
            self._drop()
            self.open()

    def command(self, text: str) -> str:
        """As ask(), with an empty text for nothing."""
        return self.ask(text) or ""

    def ask(self, text: str) -> Optional[str]:
        """Runs command text and returns what it shows, None when that is nothing; QvError when a
        statement fails. A broken connection is made anew by the next command, never by repeating
        one that may have run."""
        payload = encode(text) + b"\0"
        with self.lock:
            if self._closed:
                raise QvConnectionError("the connection is closed", text)
            if self._process != os.getpid():  # two would take each other's answers
                raise QvConnectionError("a forked process needs a connection of its own", text)
            self.open()
            reply = self._exchange(payload, text)
        if reply.endswith(b"\0"):
            reply = reply[:-1]
        if reply.startswith(_RESULT):
            shown = reply[len(_RESULT) :].decode("utf-8", "surrogateescape")
            return None if shown == "\n" else shown
        if reply.startswith(_ERROR):
            message = reply[len(_ERROR) :].decode("utf-8", "replace")
            raise QvError(message.rstrip("\r\n"), text)
        self._drop()
        raise QvConnectionError(f"this is not an answer of a script server: {reply[:40]!r}", text)

    def hold(self) -> Optional[Held]:
        """Gives the object that was shown last a name; None when none was shown."""
        with self.lock:
            try:
                name = self.free_names.pop()
            except IndexError:
                name = f"_py{os.getpid()}_{next(_numbers)}"
            held = Held(self, name)
            try:
                self.command(f"Ref& {name} = _")
            except QvConnectionError:
                raise
            except QvError:
                return None
            return held

    def _exchange(self, payload: bytes, text: str) -> bytes:
        assert self._wire is not None
        try:
            return self._wire.exchange(payload, self.timeout)
        except socket.timeout as error:
            self._drop()
            raise QvTimeout(f"no answer within {self.timeout:g} s", text) from error
        except (OSError, FrameError) as error:
            self._drop()
            raise QvConnectionError(str(error), text) from error
        except BaseException:  # an interrupt: the next command would get the answer to this one
            self._drop()
            raise

    def _drop(self) -> None:
        if self._wire is not None:
            self._wire.close()
            self._wire = None
