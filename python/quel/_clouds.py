"""Clouds and the points of meshes, in and out, as structured arrays."""

from __future__ import annotations

import os
from pathlib import Path
from typing import Any, Mapping, Sequence, Union

import numpy as np
import numpy.typing as npt

from . import _quel
from ._arrays import Floats, rows

Paths = Union[str, "os.PathLike[str]"]

_POINT = np.dtype([("x", np.float64), ("y", np.float64), ("z", np.float64)])


def read_cloud(path: Paths, *, columns: Sequence[str] = ()) -> npt.NDArray[Any]:
    """The points of a PLY, PCD, STL, OBJ, OFF, PTS or XYZ file or of a text, which its content tells apart: a structured
    array (N,) with x, y and z. Every function of this module takes it for points; `xyz` gives it the shape (N, 3).

    columns: of a text, which hold x, y and z, by name or place from 1 on. Raises `quel.Error` with the place of damage.
    """
    points = _quel.read_cloud(Path(path), [str(column) for column in columns])
    return points.view(_POINT).reshape(-1)


def xyz(cloud: npt.ArrayLike) -> Floats:
    """The points of a cloud as float64 (N, 3); of one that `read_cloud` gave, without a copy."""
    return rows(cloud, 3, "cloud")


def write_cloud(
    path: Paths,
    points: npt.ArrayLike,
    colours: npt.ArrayLike | None = None,
    values: Mapping[str, npt.ArrayLike] | None = None,
) -> None:
    """Writes points (N, 3), or a structured array with x, y and z, as binary PLY or as CSV, by the ending of `path`.

    colours: red, green and blue from 0 to 1, (N, 3), for PLY. values: further numbers (N,) of each point under a name, such
    as those of the other fields of a structured array. The file takes its place as a whole. Raises `quel.Error`.
    """
    named = [(name, rows(np.reshape(column, (-1, 1)), 1, name)) for name, column in (values or {}).items()]
    _quel.write_cloud(
        Path(path), rows(points, 3, "points"), None if colours is None else rows(colours, 3, "colours"), named)
