"""What a site stores: names of blocks, plates, trees of projects, materials, operations."""

from __future__ import annotations

import datetime
import os
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Iterable, Literal, Union

from . import _quel
from ._arrays import chosen

Paths = Union[str, "os.PathLike[str]"]

_KINDS = {"setup": 1, "auto": 2, "any": 3}


@dataclass(frozen=True)
class BlockNames:
    """What belongs to the block of a machine by name."""

    block: str
    file: str  #: Of the tensor file.
    lut_file: str
    lut_prefix: str  #: With which the identifiers of the block's LUTs begin.


@dataclass(frozen=True)
class Plate:
    """One calibration plate of the table of a site."""

    name: str
    lenses: tuple[int, ...]  #: Focal lengths that it serves, millimetres.
    target_type: int
    expansion: float  #: Coefficient of thermal expansion, per degree.
    map_file: str  #: Empty where it has none.
    active: bool


@dataclass(frozen=True)
class NumberedSetup:
    """One line of the map of setups."""

    number: int
    cycle: int  #: -1: none.
    path: str


@dataclass(frozen=True)
class Setup:
    """One setup of a project tree."""

    name: str
    path: str
    automatic: bool
    modified: datetime.datetime  #: When its marker was written last, UTC.
    number: int  #: In the map of setups; -1: none.
    cycle: int


@dataclass(frozen=True)
class Part:
    name: str
    setups: tuple[Setup, ...]


@dataclass(frozen=True)
class Project:
    name: str
    parts: tuple[Part, ...]


@dataclass(frozen=True)
class ProjectTree:
    """A root directory with everything that it stores."""

    projects: tuple[Project, ...]
    outside_parts: tuple[str, ...]  #: Paths of setups that lie in the root or in a project.
    unreadable: tuple[str, ...]  #: Paths of directories that cannot be listed.


@dataclass(frozen=True)
class Material:
    """One row of a material file. What the parameters mean is settled by who uses them."""

    head: int
    lens: int
    name: str
    values: tuple[float, float, float]
    number: int


@dataclass(frozen=True)
class Operation:
    """One operation of a project; texts are as they stand in the file."""

    id: str
    type: str
    tiles: str


@dataclass(frozen=True)
class OperationList:
    """What an operation file holds, in its order."""

    version: str
    operations: tuple[Operation, ...]


def block_names(machine_id: str, number: int, tile: int = 0) -> BlockNames:
    """The names of block `number` of a machine (1 to 8 characters); tile 0 is the block itself."""
    return BlockNames(**_quel.block_names(machine_id, number, tile))


def plates() -> list[Plate]:
    """The plates of this site, in the order of the table; none where nobody has made one yet."""
    return [Plate(**fields) for fields in _quel.plates()]


def setup_numbers() -> list[NumberedSetup]:
    """The numbers by which this site knows its setups, in the order of the map."""
    return [NumberedSetup(**fields) for fields in _quel.setup_numbers()]


def project_tree(root: Paths, kind: Literal["setup", "auto", "any"] = "any") -> ProjectTree:
    """The projects, parts and setups below the directory `root`: setups made by hand, automatically, or both."""
    tree = _quel.project_tree(Path(root), chosen(kind, _KINDS, "kind"))
    return ProjectTree(
        tuple(map(_project, tree["projects"])), tuple(tree["outside_parts"]), tuple(tree["unreadable"]))


def read_materials(path: Paths) -> list[Material]:
    """The rows of a material file, ordered by head, lens and name. Raises `quel.Error` with the place of what is wrong."""
    return [Material(**fields) for fields in _quel.read_materials(Path(path))]


def write_materials(path: Paths, materials: Iterable[Material]) -> None:
    """Writes a material file as a whole; numbers keep six significant digits. Raises `quel.Error`, with nothing written,
    for rows that would not be read back.
    """
    def row(material: Material) -> tuple[int, int, str, tuple[float, float, float], int]:
        first, second, third = material.values
        return material.head, material.lens, material.name, (first, second, third), material.number

    _quel.write_materials(Path(path), [row(material) for material in materials])


def read_operations(path: Paths) -> OperationList:
    """What an operation file (XML) holds."""
    read = _quel.read_operations(Path(path))
    return OperationList(read["version"], tuple(Operation(**fields) for fields in read["operations"]))


def _project(fields: dict[str, Any]) -> Project:
    return Project(fields["name"], tuple(Part(part["name"], tuple(map(_setup, part["setups"]))) for part in fields["parts"]))


def _setup(fields: dict[str, Any]) -> Setup:
    modified = datetime.datetime.fromtimestamp(0, datetime.timezone.utc) + datetime.timedelta(seconds=fields["modified"])
    named: dict[str, Any] = {**fields, "modified": modified}
    return Setup(**named)
