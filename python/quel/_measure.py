"""What many points and pixels have in common: arrays in, arrays out, a status for each."""

from __future__ import annotations

import enum
from dataclasses import dataclass
from typing import Callable, Literal, Sequence

import numpy as np
import numpy.typing as npt

from . import _quel
from ._arrays import Bytes, Floats, camera_index, chosen, disjoint, result, rows, thread_count

Mode = Literal["pinhole", "exact", "fast", "exact-or-without-depth", "fast-without-depth"]
Method = Literal["rays", "linear", "planar", "singular"]

MODES = {"pinhole": 0, "exact": 1, "fast": 2, "exact-or-without-depth": 3, "fast-without-depth": 4}
_METHODS = {"linear": 0, "planar": 1, "singular": 2, "rays": 3}


class Status(enum.IntEnum):
    """What became of one value of many; results are NaN from BEHIND on."""

    OK = 0
    OUTSIDE = 1  #: There is a pixel, and it lies outside the image.
    LINEAR_INSTEAD = 2  #: The planar fit met its pole; the result is that of the linear fit.
    BEHIND = 3  #: The point lies behind the camera, or behind one of those that it was fitted to.
    DISTORTION = 4  #: The lens model has no answer there.
    FAILED = 5  #: It is no finite number, or the computation has no solution.


@dataclass(frozen=True, eq=False)
class Triangulated:
    """N points from pixels of three cameras."""

    points: Floats  #: (N, 3), world, millimetres; NaN where there is none.
    residuals: Floats  #: (N,), root of the mean squared distance between measured and projected pixels.
    status: Bytes  #: (N,), see `quel.Status`.
    covariance: Floats | None  #: (N, 3, 3), square millimetres; None unless the noise was given.

    def sigma(self, direction: npt.ArrayLike) -> Floats:
        """One standard deviation of each point along `direction` (3,), whatever its length: (N,), millimetres. Raises
        ValueError when the points were triangulated without a noise.
        """
        if self.covariance is None:
            raise ValueError("covariance: there is none; triangulate with noise")
        along = np.asarray(direction, np.float64)
        if along.shape != (3,):
            raise TypeError(f"direction: expected an array of shape (3,), got {along.shape}")
        along = along / np.linalg.norm(along)
        variance: Floats = np.einsum("i,nij,j->n", along, self.covariance, along)
        return np.sqrt(variance)

    def __repr__(self) -> str:
        good = int(np.count_nonzero(self.status <= Status.LINEAR_INSTEAD))
        return f"<quel.Triangulated: {good} of {len(self.points)} points>"


def project(
    head: _quel.Head, points: npt.ArrayLike, camera: int, mode: str, out: Floats | None, threads: int
) -> tuple[Floats, Bytes]:
    given = rows(points, 3, "points")
    pixels = result(out, (len(given), 2))
    disjoint(pixels, given)
    status = np.empty(len(given), np.uint8)
    _quel.project(head, given, camera_index(camera), chosen(mode, MODES, "mode"), thread_count(threads), pixels, status)
    return pixels, status


def rays(
    head: _quel.Head, pixels: npt.ArrayLike, camera: int, distorted: bool, out: Floats | None, threads: int
) -> tuple[Floats, Floats, Bytes]:
    given = rows(pixels, 2, "pixels")
    directions = result(out, (len(given), 3))
    disjoint(directions, given)
    status = np.empty(len(given), np.uint8)
    origin = _quel.rays(
        head, given, camera_index(camera), bool(distorted), thread_count(threads), directions, status)
    return origin, directions, status


Moving = Callable[[_quel.Head, Floats, int, "float | None", int, Floats, Bytes], None]


def moved(
    move: Moving, head: _quel.Head, pixels: npt.ArrayLike, camera: int, depth: float | None, out: Floats | None,
    threads: int,
) -> tuple[Floats, Bytes]:
    """`pixels` undistorted or distorted, whichever `move` does."""
    given = rows(pixels, 2, "pixels")
    pixels_out = result(out, (len(given), 2))
    if pixels_out is not given:  # in place is all right
        disjoint(pixels_out, given)
    status = np.empty(len(given), np.uint8)
    move(head, given, camera_index(camera), None if depth is None else float(depth), thread_count(threads), pixels_out,
         status)
    return pixels_out, status


def triangulate(
    head: _quel.Head,
    pixels: tuple[npt.ArrayLike, npt.ArrayLike, npt.ArrayLike],
    method: str,
    reference: int,
    targets: Sequence[int],
    distorted: bool,
    noise: float | None,
    out: Triangulated | None,
    threads: int,
) -> Triangulated:
    first, second, third = given = [rows(values, 2, f"px{camera}") for camera, values in enumerate(pixels)]
    chosen_targets = _both_targets(camera_index(reference), [camera_index(camera) for camera in targets])
    if len({len(values) for values in given}) > 1:
        raise TypeError("px0, px1, px2: expected as many pixels of each camera, got "
                        + ", ".join(str(len(values)) for values in given))
    count = len(given[0])
    points = result(None if out is None else out.points, (count, 3), "out.points")
    residuals = result(None if out is None else out.residuals, (count,), "out.residuals")
    status = np.empty(count, np.uint8)
    covariance = None
    if noise is not None:
        covariance = result(None if out is None else out.covariance, (count, 3, 3), "out.covariance")
    for written in (points, residuals):
        disjoint(written, *given)
    _quel.triangulate(
        head, first, second, third, chosen(method, _METHODS, "method"), camera_index(reference), chosen_targets, bool(distorted),
        None if noise is None else float(noise), thread_count(threads), points, residuals, status, covariance)
    return Triangulated(points, residuals, status, covariance)


def expected_covariance(
    head: _quel.Head, points: npt.ArrayLike, noise: float, method: str, reference: int, targets: Sequence[int],
    threads: int,
) -> tuple[Floats, Bytes]:
    both = _both_targets(camera_index(reference), [camera_index(camera) for camera in targets])
    return _quel.expected_covariance(
        head, rows(points, 3, "points"), chosen(method, _METHODS, "method"), camera_index(reference), both, float(noise),
        thread_count(threads))


def _both_targets(reference: int, targets: list[int]) -> list[int]:
    """Two targets, of which the second may be left to be the camera that remains."""
    if len(targets) == 1:
        targets = targets + [camera for camera in range(3) if camera not in (reference, targets[0])][:1]
    if len(targets) != 2:
        raise ValueError(f"targets: expected one or two cameras, got {len(targets)}")
    return targets
