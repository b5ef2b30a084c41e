"""What the application publishes, as Python objects. Each stands for a path of the command
language; the application is asked anew whenever one is used."""

from __future__ import annotations

from typing import Any, Iterator, NoReturn, Optional

from .errors import QvError, QvIndexError, QvNameError, QvQuotingError
from .quoting import check_name, is_array, quote, quote_assigned
from .session import Held, Session
from .values import NO_TEXT, is_value_type, parse, parse_typed, split_entries


class Place:
    """Where something is: a path, and what keeps the variable alive that the path begins with."""

    __slots__ = ("session", "path", "held", "shown")

    def __init__(
        self, session: Session, path: str, held: Optional[Held] = None, shown: str = ""
    ) -> None:
        self.session = session
        self.path = path
        self.held = held
        self.shown = shown or path  # for the user, to whom the variable means nothing

    def then(self, text: str) -> Place:
        return Place(self.session, self.path + text, self.held, self.shown + text)

    def member(self, name: str) -> Place:
        return self.then("." + check_name(name))

    def entry(self, *indices: int) -> Place:
        return self.then("".join(f"[{index:d}]" for index in indices))

    def ask(self, rest: str = "", before: str = "") -> Optional[str]:
        """Runs a command that consists of the path and what stands before and after it."""
        try:
            return self.session.ask(before + self.path + rest)
        except QvError as error:
            lost = self.held and error.message.startswith(f'could not find item "{self.held.name}')
            if not lost:
                raise
            raise QvError(f"{self.shown} is gone", error.command) from None

    def help_text(self) -> str:
        return self.ask(before="help ") or ""


class Proxy:
    """What all have in common."""

    # No documentation of a class shall stand in the way of that of the application.
    __slots__ = ("_place",)
    _place: Place

    def __init__(self, place: Place) -> None:
        object.__setattr__(self, "_place", place)

    def help(self) -> None:
        """Prints what the application says about this."""
        print(self._place.help_text(), end="")

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Proxy):
            return NotImplemented
        mine, its = self._place, other._place
        return mine.session is its.session and mine.path == its.path

    def __hash__(self) -> int:
        return hash((id(self._place.session), self._place.path))

    def __reduce__(self) -> NoReturn:
        raise TypeError("an object of the application can be neither copied nor pickled")


def _own_help(self: Proxy) -> str:
    try:
        return self._place.help_text()
    except QvError as error:
        return str(error)


class QvObject(Proxy):
    # obj.name is a published value, object, list or method; obj["name"] the same for a name that is
    # a word of Python or one of the few names of this class.

    __slots__ = ("_kept",)
    _kept: dict[str, Any]
    __doc__ = property(_own_help)  # type: ignore[assignment]
    __iter__ = None

    def __init__(self, place: Place) -> None:
        super().__init__(place)
        object.__setattr__(self, "_kept", {})

    def __getattr__(self, name: str) -> Any:
        if name.startswith("_"):  # Python and its tools ask for many of those
            raise AttributeError(name)
        return self[name]

    def __getitem__(self, name: str) -> Any:
        if not isinstance(name, str):
            raise TypeError(f"{self._place.shown} is not a list")
        kept = self._kept.get(name)
        if kept is None:
            kept = get_member(self._place, name)
            # What a value is can change, what a method is can not.
            if isinstance(kept, Proxy):
                self._kept[name] = kept
        return kept

    def __setattr__(self, name: str, value: Any) -> None:
        if name.startswith("_") or hasattr(type(self), name):
            object.__setattr__(self, name, value)
        else:
            self[name] = value

    def __setitem__(self, name: str, value: Any) -> None:
        place = self._place.member(name)
        if is_array(value) or isinstance(value, (list, tuple, QvSequence)):
            target = self[name]
            if not isinstance(target, QvSequence):
                raise QvQuotingError(f"{place.shown} takes one value, not several")
            target.assign(value)
            return
        try:
            place.ask(f" = {quote_assigned(value)}")
        except QvError as error:
            check_name_error(self._place, name, error)
            raise

    def __dir__(self) -> list[str]:
        return sorted({*members(self._place), "help"})

    def __repr__(self) -> str:
        try:
            type_name = self._place.ask(".objtype()") or ""
        except QvError as error:
            type_name = f"{error.message}:"
        return f"<{type_name} {self._place.shown}>"


class QvMethod(Proxy):
    __slots__ = ()
    __doc__ = property(_own_help)  # type: ignore[assignment]

    def __call__(self, *args: Any) -> Any:
        if any(is_array(arg) for arg in args):
            return self._sweep(args)
        session = self._place.session
        arguments = "(" + ", ".join(map(quote, args)) + ")"
        with session.lock:
            shown = self._place.ask(arguments)
            held = session.hold() if shown == NO_TEXT else None
        if held is not None:
            return QvObject(Place(session, held.name, held, self._place.shown + arguments))
        return None if shown is None else parse(shown)

    def _sweep(self, args: tuple[Any, ...]) -> Any:
        """Calls for each element of the arrays, which are broadcast against each other."""
        import numpy

        points = numpy.broadcast(*args)
        results = [self(*point) for point in points]
        if results and all(result is None for result in results):
            return None
        return numpy.array(results).reshape(points.shape)

    def __repr__(self) -> str:
        return f"<method {self._place.shown}>"


class QvSequence(Proxy):
    """A list or a matrix, or a row of a matrix. Indices are those of the application."""

    __slots__ = ("_owner", "_name", "_type", "_row")
    _owner: Place
    _name: str
    _type: str
    _row: tuple[int, ...]

    def __init__(self, owner: Place, name: str, type_name: str, row: tuple[int, ...] = ()) -> None:
        super().__init__(owner.member(name).entry(*row))
        for slot, value in zip(QvSequence.__slots__, (owner, name, type_name, row)):
            object.__setattr__(self, slot, value)

    @property
    def _entry_type(self) -> str:
        return self._type[self._type.index("<") + 1 : -1]

    def _ranges(self) -> list[range]:
        """The indices of each dimension."""
        _, _, text = describe(self._owner, self._name).partition("\n")
        limits = [int(word) for word in text.split()]
        ranges = [range(a, b + 1) for a, b in zip(limits[::2], limits[1::2])]
        return ranges[len(self._row) :]

    def _indices(self, key: Any) -> tuple[int, ...]:
        indices = key if isinstance(key, tuple) else (key,)
        for index in indices:
            if isinstance(index, slice) or not hasattr(index, "__index__"):
                raise TypeError(f"an index of {self._place.shown} is a whole number, not {index!r}")
        return tuple(index.__index__() for index in indices)

    @property
    def _is_matrix(self) -> bool:
        return self._type.startswith("MATRIX") and not self._row

    def __getitem__(self, key: Any) -> Any:
        indices = self._indices(key)
        if self._is_matrix and len(indices) == 1:
            return QvSequence(self._owner, self._name, self._type, indices)
        place = self._place.entry(*indices)
        try:
            text = place.ask()
        except QvError as error:
            if error.message.endswith("out of bounds"):
                raise QvIndexError(error.message, error.command) from None
            raise
        return self._value(place, text)

    def _value(self, place: Place, text: Optional[str]) -> Any:
        if text is None:
            return None
        if is_value_type(self._entry_type):
            return parse_typed(self._entry_type, text)
        return QvObject(place)

    def __setitem__(self, key: Any, value: Any) -> None:
        place = self._place.entry(*self._indices(key))
        place.ask(f" = {quote_assigned(value)}")

    def __len__(self) -> int:
        return len(self._ranges()[0])

    def __iter__(self) -> Iterator[Any]:
        if self._is_matrix:
            return (self[index] for index in self._ranges()[0])
        return iter(self._entries())

    def __reversed__(self) -> Iterator[Any]:
        return reversed(list(self))

    def _entries(self) -> list[Any]:
        """All entries of a list or a row; those of a list come in one answer."""
        indices = self._ranges()[-1]
        if not is_value_type(self._entry_type):
            return [QvObject(self._place.entry(index)) for index in indices]
        if not self._row and len(indices) > 1:
            text = self._place.ask() or ""
            texts = split_entries(text, [(index,) for index in indices])
            if texts is not None:
                return [parse_typed(self._entry_type, entry) for entry in texts]
        return [self[index] for index in indices]

    def tolist(self) -> list[Any]:
        """All entries; a list of rows for a matrix."""
        if not self._is_matrix:
            return self._entries()
        rows, columns = self._ranges()
        if is_value_type(self._entry_type) and rows and columns:
            text = self._place.ask() or ""
            texts = split_entries(text, [(i, j) for i in rows for j in columns])
            if texts is not None:
                values = [parse_typed(self._entry_type, entry) for entry in texts]
                width = len(columns)
                return [values[k : k + width] for k in range(0, len(values), width)]
        return [row.tolist() for row in self]

    def assign(self, values: Any) -> None:
        """Sets all entries, from a list or an array of the same shape. The entries before one that
        is refused have then been set."""
        ranges = self._ranges()
        try:
            rows = [list(row) for row in (values if self._is_matrix else [values])]
        except TypeError:  # numbers where rows should be
            rows = []
        fits = len(rows) == (len(ranges[0]) if self._is_matrix else 1)
        if not fits or any(len(row) != len(ranges[-1]) for row in rows):
            shape = " x ".join(str(len(indices)) for indices in ranges)
            raise QvQuotingError(f"{self._place.shown} takes {shape} values")
        statements = []
        for i, row in zip(ranges[0] if self._is_matrix else (None,), rows):
            for j, value in zip(ranges[-1], row):
                place = self._place.entry(j) if i is None else self._place.entry(i, j)
                statements.append(f"{place.path} = {quote_assigned(value)}")
        if statements:
            self._place.session.command("\n".join(statements))

    def __array__(self, dtype: Any = None, copy: Any = None) -> Any:
        import numpy

        return numpy.array(self.tolist(), dtype=dtype)

    def __repr__(self) -> str:
        return f"<{self._type} {self._place.shown}>"


def describe(place: Place, name: str) -> str:
    """The type of a member, then its value or its ranges."""
    try:
        return place.ask(f".objmember({quote(name)})") or ""
    except QvError as error:
        check_name_error(place, name, error)
        raise


def check_name_error(place: Place, name: str, error: QvError) -> None:
    """Raises QvNameError if it is that the object has no member of that name."""
    if error.message.startswith(f'could not find item "{name}"'):
        raise QvNameError(f'{place.shown} has no "{name}"', error.command) from None


def get_member(place: Place, name: str) -> Any:
    type_name, line_end, text = describe(place, check_name(name)).partition("\n")
    if is_value_type(type_name):
        return parse_typed(type_name, text) if line_end else None
    if type_name == "FUNCTION":
        return QvMethod(place.member(name))
    if type_name.startswith(("LIST<", "MATRIX<")):
        return QvSequence(place, name, type_name)
    return QvObject(place.member(name))


def members(place: Place) -> dict[str, str]:
    """The names that an object publishes, with their types."""
    lines = (place.ask(".objmembers()") or "").split("\n")
    fields = (line.split("\t") for line in lines)
    return {field[0]: field[1] for field in fields if len(field) > 1}


def hold(thing: QvObject) -> QvObject:
    """The same object, however it is renamed or moved from now on: `app.subnodes[1]` is whatever
    node is the first when it is used, `hold(app.subnodes[1])` stays with the one that is so now."""
    if not isinstance(thing, QvObject):
        raise TypeError(f"only an object of the application can be held, not {thing!r:.80}")
    place = thing._place
    with place.session.lock:
        place.ask()
        held = place.session.hold()
    if held is None:
        raise QvError("this is not an object", place.path)
    return QvObject(Place(place.session, held.name, held, place.shown))
