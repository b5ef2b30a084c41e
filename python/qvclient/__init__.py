"""Drives qv, and the applications built like it, from Python.

    import qvclient

    app = qvclient.connect()            # to `qv serve`, port 5101
    app.addsubnode("projectTB", "chip")
    app.subnodes[1].rename("wg2")
    print(app.subnodes[1].nodename())
    help(app.subnodes[1])               # what there is, as the Tab key tells too

Indices are those of the application, so the first is 1.
"""

from .connection import App, connect
from .errors import (
    QvConnectionError,
    QvError,
    QvIndexError,
    QvNameError,
    QvQuotingError,
    QvTimeout,
)
from .proxy import QvMethod, QvObject, QvSequence, hold

__all__ = [
    "App",
    "QvConnectionError",
    "QvError",
    "QvIndexError",
    "QvMethod",
    "QvNameError",
    "QvObject",
    "QvQuotingError",
    "QvSequence",
    "QvTimeout",
    "connect",
    "hold",
]
