"""How the module fails."""

from __future__ import annotations


class Error(Exception):
    """A file, a block or a computation that did not do: `cause` says why, `file` and `place` where.

    Both are empty where the failure has none. Wrong arguments are `TypeError` and `ValueError` instead.
    """

    def __init__(self, cause: str, file: str = "", place: str = "") -> None:
        where = ", ".join(part for part in (file, place) if part)
        super().__init__(f"{where}: {cause}" if where else cause)
        self.cause = cause
        self.file = file
        self.place = place

    def __reduce__(self) -> tuple[type[Error], tuple[str, str, str]]:
        return type(self), (self.cause, self.file, self.place)
