"""Arrays of points and pixels: checked, converted where need be, made for results."""

from __future__ import annotations

import operator
from typing import Any

import numpy as np
import numpy.typing as npt
from numpy.lib.recfunctions import structured_to_unstructured

MOST_THREADS = 4096

Floats = npt.NDArray[np.float64]
Bytes = npt.NDArray[np.uint8]


def rows(values: npt.ArrayLike, columns: int, name: str) -> Floats:
    """`values` as float64 of shape (N, columns) in C order: the array itself where it is that already, else a copy.

    Raises TypeError for what is no such array of real numbers.
    """
    if isinstance(values, np.ma.MaskedArray) and np.any(values.mask):
        raise TypeError(f"{name}: masked values have no place here; fill them, with NaN for instance")
    try:
        array = np.asarray(values)
    except ValueError as error:  # rows of different lengths
        raise TypeError(f"{name}: expected an array of shape (N, {columns}): {error}") from None
    if columns == 3 and array.dtype.names is not None and {"x", "y", "z"} <= set(array.dtype.names):
        array = structured_to_unstructured(array[["x", "y", "z"]], np.float64)  # a cloud: no copy where that is all it has
    if array.size == 0 and array.ndim == 1:
        array = np.empty((0, columns))
    if array.dtype.kind not in "fiu":
        raise TypeError(f"{name}: expected real numbers, got an array of {array.dtype}")
    if array.ndim != 2 or array.shape[1] != columns:
        raise TypeError(f"{name}: expected an array of shape (N, {columns}), got {array.shape}")
    return np.require(array, np.float64, ["C", "A"])


def result(out: Floats | None, shape: tuple[int, ...], name: str = "out") -> Floats:
    """An array of that shape for a result: `out` where it is given. Raises TypeError where it does not do."""
    if out is None:
        return np.empty(shape)
    flags = out.flags if isinstance(out, np.ndarray) else None
    if flags is None or out.dtype != np.float64 or not out.dtype.isnative:
        raise TypeError(f"{name}: expected a float64 array")
    if out.shape != shape or not (flags.c_contiguous and flags.aligned and flags.writeable):
        raise TypeError(f"{name}: expected a writeable array of shape {shape} in C order, got {out.shape}")
    return out


def disjoint(out: Floats, *given: Floats) -> None:
    """Raises ValueError where `out` shares memory with what is read."""
    if any(np.may_share_memory(out, array) for array in given):
        raise ValueError("out: shares memory with the input")


def chosen(value: Any, choices: dict[str, int], name: str) -> int:
    """The number of a choice. Raises ValueError, with all of them, for none."""
    if not isinstance(value, str) or value not in choices:
        raise ValueError(f"{name}: expected one of {', '.join(choices)}, got {value!r}")
    return choices[value]


def camera_index(camera: int) -> int:
    index = whole(camera)
    if index not in (0, 1, 2):
        raise ValueError(f"camera: expected 0, 1 or 2, got {camera!r}")
    return index


def thread_count(threads: int) -> int:
    count = whole(threads)
    if count is None or not 0 <= count <= MOST_THREADS:
        raise ValueError(f"threads: expected a whole number from 0 to {MOST_THREADS}, got {threads!r}")
    return count


def whole(value: Any) -> int | None:
    """The whole number that `value` is; None for what is none, truth values among them."""
    try:
        return None if isinstance(value, (bool, np.bool_)) else operator.index(value)
    except TypeError:
        return None
