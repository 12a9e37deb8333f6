"""What is made of points: planes, lines, outlines, partitions, indices, colours of deviations."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _quel
from ._arrays import Floats, camera_index, chosen, rows, thread_count
from ._head import Head
from ._measure import MODES, Mode

Integers = npt.NDArray[np.int32]


@dataclass(frozen=True, eq=False)
class Residuals:
    """How far points lie from what was fitted to them, in their unit."""

    each: Floats  #: (N,)
    rms: float
    mean: float
    smallest: float
    largest: float

    def __repr__(self) -> str:
        return f"<quel.Residuals of {len(self.each)}: rms {self.rms:.4g}, {self.smallest:.4g} to {self.largest:.4g}>"


@dataclass(frozen=True, eq=False)
class Plane:
    """A plane of the least sum of squared distances. Covariances are to first order, with the noise that the residuals
    tell; NaN where three points leave no residual.
    """

    centre: Floats  #: (3,), the centroid of the points.
    normal: Floats  #: (3,), length 1; its component of largest magnitude is positive.
    residuals: Residuals  #: Positive on the side of the normal.
    centre_covariance: Floats  #: (3, 3)
    normal_covariance: Floats  #: (3, 3)

    @property
    def rms(self) -> float:
        """Root of the mean squared distance."""
        return self.residuals.rms

    def distances(self, points: npt.ArrayLike) -> Floats:
        """How far `points` (N, 3) lie from the plane: (N,), positive on the side of the normal."""
        return (rows(points, 3, "points") - self.centre) @ self.normal

    def outline(self, points: npt.ArrayLike) -> Floats:
        """The convex outline of `points` (N, 3) seen along the normal: corners (M, 3) on the plane, counter-clockwise."""
        return _quel.convex_outline(rows(points, 3, "points"), list(self.centre), list(self.normal))

    def __repr__(self) -> str:
        return f"<quel.Plane through {_text(self.centre)}, normal {_text(self.normal)}, rms {self.rms:.4g}>"


@dataclass(frozen=True, eq=False)
class Line:
    """A line of the least sum of squared distances."""

    centre: Floats  #: (3,), the centroid of the points.
    direction: Floats  #: (3,), length 1; its component of largest magnitude is positive.
    ends: Floats  #: (2, 3), the feet of the outermost points.
    length: float
    residuals: Residuals
    centre_covariance: Floats  #: (3, 3)
    direction_covariance: Floats  #: (3, 3)

    @property
    def rms(self) -> float:
        """Root of the mean squared distance."""
        return self.residuals.rms

    def __repr__(self) -> str:
        return f"<quel.Line through {_text(self.centre)}, direction {_text(self.direction)}, rms {self.rms:.4g}>"


@dataclass(frozen=True, eq=False)
class Partition:
    """A binary space partition as arrays over its M nodes, the root first; -1 is none."""

    minimum: Floats  #: (M, 3), exact box of a node's points.
    maximum: Floats  #: (M, 3)
    first: Integers  #: (M,), of a node's points in `order`.
    count: Integers  #: (M,)
    parent: Integers  #: (M,)
    left: Integers  #: (M,), below the middle of the longest side; a leaf has neither child.
    right: Integers  #: (M,)
    order: Integers  #: (N,), numbers of the points: those of a node lie one behind the other.

    def __repr__(self) -> str:
        return f"<quel.Partition: {len(self.order)} points in {len(self.first)} nodes>"


@dataclass(frozen=True, eq=False)
class Index:
    """A cloud sorted into M bins, none of them empty."""

    points: Floats  #: (N, 3), in the order of the bins.
    pixels: Floats  #: (N, 2), where the camera sees each; (0, 2) for an index by space.
    order: Integers  #: (N,), the number that each point had among those that were given.
    first: Integers  #: (M,), of a bin's points.
    count: Integers  #: (M,)
    minimum: Floats  #: (M, 3), exact box of a bin's points.
    maximum: Floats  #: (M, 3)
    left_out: int  #: Points in no bin: not finite, or not in the image.

    def __repr__(self) -> str:
        return f"<quel.Index: {len(self.points)} points in {len(self.first)} bins>"


class DeviationScale:
    """The colours of deviations: intervals about 0, 1, 2 or 5 times a power of ten wide, whose ends lie at 2.5 times the
    root of the mean square of `deviations` or somewhat farther. Counts how many fall into each.
    """

    def __init__(self, deviations: npt.ArrayLike, *, signed: bool = True) -> None:
        self._scale = _quel.DeviationScale(_numbers(deviations), bool(signed))

    def __repr__(self) -> str:
        intervals = self.intervals
        return f"<quel.DeviationScale: {sum(each['count'] for each in intervals)} deviations in {len(intervals)} intervals>"

    @property
    def intervals(self) -> list[dict[str, Any]]:
        """Ascending: lower (exclusive), upper, colour (red, green, blue from 0 to 1), count."""
        return self._scale.intervals()

    def colours(self, deviations: npt.ArrayLike) -> Floats:
        """The colours of deviations (N,): (N, 3), red, green, blue from 0 to 1; grey for NaN."""
        return self._scale.colours(_numbers(deviations))


def fit_plane(points: npt.ArrayLike) -> Plane:
    """The plane of the least sum of squared distances from `points` (N, 3). Raises `quel.Error` for fewer than three that
    do not lie on one line, and for points that are not finite.
    """
    fields = _quel.fit_plane(rows(points, 3, "points"))
    return Plane(**_with_residuals(fields))


def fit_line(points: npt.ArrayLike) -> Line:
    """The line of the least sum of squared distances from `points` (N, 3). Raises `quel.Error` for fewer than two that do
    not coincide, and for points that are not finite.
    """
    fields = _quel.fit_line(rows(points, 3, "points"))
    return Line(**_with_residuals(fields))


def partition(points: npt.ArrayLike) -> Partition:
    """Divides `points` (N, 3) at the middle of the longest side, down to nodes of fewer than 50."""
    return Partition(**_quel.partition(rows(points, 3, "points")))


def index_by_image(
    head: Head, points: npt.ArrayLike, camera: int = 0, mode: Mode = "exact", *, threads: int = 1
) -> Index:
    """Sorts those of `points` (N, 3) that lie in the image of `camera` into its cells of 32 x 32 pixels."""
    return Index(**_quel.index_by_image(
        head._head, rows(points, 3, "points"), camera_index(camera), chosen(mode, MODES, "mode"), thread_count(threads)))


def index_by_space(points: npt.ArrayLike) -> Index:
    """Sorts the finite ones of `points` (N, 3) into bins of fewer than 500, by where they lie."""
    return Index(**_quel.index_by_space(rows(points, 3, "points")))


def _with_residuals(fields: dict[str, Any]) -> dict[str, Any]:
    return {**fields, "residuals": Residuals(**fields["residuals"])}


def _numbers(values: npt.ArrayLike) -> Floats:
    array = np.asarray(values)
    if array.ndim != 1:
        raise TypeError(f"deviations: expected an array of shape (N,), got {array.shape}")
    return rows(array.reshape(-1, 1), 1, "deviations").reshape(-1)


def _text(vector: Floats) -> str:
    return "(" + ", ".join(f"{value:.4g}" for value in vector) + ")"
