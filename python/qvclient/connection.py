"""Connecting, and the object that everything in the application is reached from."""

from __future__ import annotations

import os
from types import TracebackType
from typing import Optional, Type, Union

from .errors import QvConnectionError
from .proxy import Place, QvObject
from .session import Session, check_timeout

DEFAULT_PORT = 5101
PORT_VARIABLE = "QV_SCRIPT_PORT"


class App(QvObject):
    # The application, and the connection to it. A published name that is also one of the names
    # below is reached as app["name"].

    __slots__ = ()

    def command(self, text: str) -> str:
        """Runs command text, several statements too, and returns all that it shows: the values of
        the statements, one per line. The first one that fails ends it with a QvError."""
        return self._place.session.command(text)

    @property
    def timeout(self) -> Optional[float]:
        """How many seconds an answer may take; None for as long as it likes."""
        return self._place.session.timeout

    @timeout.setter
    def timeout(self, seconds: Optional[float]) -> None:
        self._place.session.timeout = check_timeout(seconds)

    def close(self) -> None:
        """Disconnects; the application goes on."""
        self._place.session.close()

    def reconnect(self) -> None:
        """Connects anew, also after close()."""
        self._place.session.reopen()

    def __dir__(self) -> list[str]:
        return sorted({*super().__dir__(), "command", "timeout", "close", "reconnect"})

    def __enter__(self) -> App:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()


def connect(
    port: Optional[int] = None, host: str = "127.0.0.1", timeout: Optional[float] = None
) -> App:
    """Connects to an application that serves scripts, and returns its object `app`.

    Without a port the environment variable QV_SCRIPT_PORT tells it, which is set for scripts that
    the application runs; else it is 5101. `timeout`, in seconds, holds for connecting and for each
    answer; without one an answer may take as long as it likes.
    """
    if port is None:
        number = _port_number(os.environ.get(PORT_VARIABLE) or DEFAULT_PORT, PORT_VARIABLE)
    else:
        number = _port_number(port, "this")
    session = Session(host, number, timeout)
    session.open()
    return App(Place(session, "app"))


def _port_number(port: Union[int, str], name: str) -> int:
    text = str(port)
    if not (text.isascii() and text.isdigit() and 0 < int(text) < 65536):
        raise QvConnectionError(f"{name} is no port: {port!r}")
    return int(text)
