"""What can go wrong; all of it is a QvError."""


class QvError(Exception):
    """A command failed. `message` says why, `command` is the text that was sent."""

    def __init__(self, message: str, command: str = "") -> None:
        super().__init__(message, command)
        self.message = message
        self.command = command

    def __str__(self) -> str:
        if not self.command:
            return self.message
        shown = self.command if len(self.command) <= 300 else self.command[:300] + " ..."
        return f"{self.message}\nin: {shown}"


class QvNameError(QvError, AttributeError):
    """The object has no member of that name."""


class QvIndexError(QvError, IndexError):
    """A list or matrix has no entry of that index."""


class QvQuotingError(QvError, ValueError):
    """A value cannot be written in the command language. Nothing was sent."""


class QvConnectionError(QvError, ConnectionError):
    """There is no connection, or it broke; whether the command ran is then not known."""


class QvTimeout(QvConnectionError, TimeoutError):
    """No answer came in time. The command may still run; the connection is given up."""
