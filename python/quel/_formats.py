"""Calibrations of other programs, as the cameras of a head."""

from __future__ import annotations

import json
import os
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Iterable, Literal, Sequence, Union

from . import _quel
from ._head import Head

Paths = Union[str, "os.PathLike[str]"]
Format = Literal["json", "opencv", "ros", "mrcal", "kalibr", "colmap"]

_UNITS = {"mm": 1.0, "cm": 10.0, "m": 1000.0, "in": 25.4}


class Cameras(dict[str, Any]):
    """Three cameras as `quel.make_head` takes them; `remarks` says what was taken for what, a sentence each."""

    remarks: tuple[str, ...] = ()


def import_cameras(
    format: Format,
    files: Paths | Iterable[Paths],
    *,
    size: tuple[int, int] | None = None,
    cameras: Sequence[str] = (),
    unit: str | float | None = None,
    baseline: tuple[str, str, float] | None = None,
    fisheye: bool = False,
    keep_world: bool = False,
    poses: Paths | None = None,
) -> Cameras:
    """The cameras of calibration files, as a dict that `quel.make_head` takes.

    size: width and height of the images, where the files do not say. cameras: the names of three, where there are more.
    unit: "mm", "cm", "m", "in" or millimetres for one unit of length, where the files do not say; baseline: instead, for
    a scale that is arbitrary, two cameras and the millimetres between them. fisheye: four coefficients of OpenCV are those
    of a fisheye. keep_world: the world stays as the files have it. poses: a file of poses, where the files have none.

    Raises `quel.Error`, with file, place and cause, for what is damaged, left open, or no lens that a head takes.
    """
    paths = [Path(files)] if isinstance(files, (str, os.PathLike)) else [Path(file) for file in files]
    text, remarks = _quel.import_cameras(
        format, paths, size, list(cameras), _millimetres(unit), baseline, bool(fisheye), bool(keep_world),
        None if poses is None else Path(poses))
    imported = Cameras(json.loads(text))
    imported.remarks = tuple(remarks)
    return imported


@dataclass(frozen=True)
class Exported:
    """What `export_cameras` wrote."""

    files: tuple[Path, ...]
    remarks: tuple[str, ...]  #: How each lens was written, a sentence each.
    residual: float  #: The largest error of a fit, pixels; 0 where all is exact.


def export_cameras(
    head: Head, format: Format, folder: Paths, *, names: Sequence[str] = (), allow_residual: bool = False
) -> Exported:
    """Writes the cameras of `head` into `folder` as another program reads them.

    names: of the three cameras, else the head's. What a format does not hold is fitted. Raises `quel.Error` where that is
    worse than 0.005 px, unless `allow_residual`, and where files cannot be written.
    """
    files, remarks, residual = _quel.export_cameras(head._head, format, Path(folder), list(names), bool(allow_residual))
    return Exported(tuple(files), tuple(remarks), residual)


def _millimetres(unit: str | float | None) -> float | None:
    if isinstance(unit, str):
        if unit not in _UNITS:
            raise ValueError(f"unit: expected one of {', '.join(_UNITS)} or a number of millimetres, got {unit!r}")
        return _UNITS[unit]
    return None if unit is None else float(unit)
