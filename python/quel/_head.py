"""Calibrated heads: where they come from, what they are, and what their cameras see."""

from __future__ import annotations

import json
import os
import tempfile
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Literal, Mapping, Sequence, Union, overload

import numpy as np
import numpy.typing as npt

from . import _measure, _quel
from ._arrays import Bytes, Floats, camera_index
from ._measure import Method, Mode, Triangulated

Paths = Union[str, "os.PathLike[str]"]


@dataclass(frozen=True)
class Identity:
    """Which calibration a head is."""

    machine_id: str  #: Of the machine that made the block, up to 8 characters.
    block_number: int
    calib_word0: int
    image_tag: int  #: Of the image that the block was made from.
    calib_word2: int
    calibration_time_stamp: int


@dataclass(frozen=True, eq=False)
class Lens:
    """The lens model of one camera of a head, in pixels about `centre`.

    With (dx, dy) the offset from it, r2 = dx² + dy² and S = k1 r2 + k2 r2² + k3 r2³ + extra[2] r2⁴ + extra[3] r2⁵::

        x' = x + dx S + p1 (r2 + 2 dx²) + 2 p2 dx dy + extra[0] dx + extra[1] dy
        y' = y + dy S + p2 (r2 + 2 dy²) + 2 p1 dx dy

    leads from the ideal pixel to the distorted one; with `option` 2 from the distorted to the ideal one. A LUT adds a
    displacement on top.
    """

    centre: Floats  #: (2,), pixels.
    k1: float
    k2: float
    k3: float
    p1: float
    p2: float
    extra: Floats  #: (5,)
    option: int
    uses_lut: bool


@dataclass(frozen=True, eq=False)
class Camera:
    """One camera of a head: a world point X stands at R X + t before it (millimetres) and is seen, without distortion,
    at the pixel K (R X + t), divided by its third component. Pixel (0, 0) is the centre of the top-left pixel.
    """

    name: str
    K: Floats  #: (3, 3), pixels.
    R: Floats  #: (3, 3), from the world to the camera.
    t: Floats  #: (3,), millimetres.
    width: int  #: Pixels; 0 where the head's camera type is unknown.
    height: int
    distortion: Lens

    @property
    def centre(self) -> Floats:
        """Where the camera stands in the world: (3,), millimetres."""
        return -self.R.T @ self.t


@dataclass(frozen=True)
class DistortionFit:
    """How well the head's lens model stands for that of a camera, over the whole image."""

    exact: bool  #: They are the same function.
    rms: float  #: Root of the mean squared distance of the two pixels.
    largest: float  #: Pixels.
    lut_pitch: float  #: Pixels between the cells of LUTs that hold the whole lens; 0 where there are none.


class Head:
    """A calibrated head of three cameras. It never changes, and any number of threads may use it.

    Points are in the head's world, millimetres; pixels count from the centre of the top-left pixel, x right, y down;
    cameras are 0 (the uppermost), 1 (left) and 2 (right).
    """

    __slots__ = ("_head",)
    _head: _quel.Head

    def __init__(self) -> None:
        raise TypeError("a head comes from Head.load(path) or quel.make_head(cameras)")

    @classmethod
    def _of(cls, head: _quel.Head) -> Head:
        self = object.__new__(cls)
        self._head = head
        return self

    @classmethod
    def load(cls, path: Paths) -> Head:
        """The head of a tensor file (.tns), with its LUTs from the file beside it.

        Raises `quel.Error` when a file is missing, damaged, or belongs to another.
        """
        return cls._of(_quel.Head.load(Path(path)))

    def store(self, folder: Paths, *, overwrite: bool = False) -> Path:
        """Stores the head in `folder` as MACHINE-NUMBER.tns, with its LUTs, and returns the path.

        The files are put in their places as one: a failure leaves what was there. Raises `quel.Error` when the block is
        there already and `overwrite` is false, or when the files cannot be written.
        """
        return Path(self._head.store(Path(folder), bool(overwrite)))

    def camera(self, camera: int) -> Camera:
        """Camera 0, 1 or 2: intrinsics, pose, lens and image size."""
        fields = dict(self._head.camera(camera_index(camera)))
        fields["distortion"] = Lens(**fields["distortion"])
        return Camera(**fields)

    @property
    def cameras(self) -> tuple[Camera, Camera, Camera]:
        """All three cameras."""
        return self.camera(0), self.camera(1), self.camera(2)

    @property
    def identity(self) -> Identity:
        """Which calibration this is."""
        return Identity(**self._head.identity())

    @property
    def distortion_fit(self) -> tuple[DistortionFit, DistortionFit, DistortionFit] | None:
        """How well the head's lens models stand for those of the cameras that it was made of; None once it was stored."""
        fits = self._head.fit()
        if fits is None:
            return None
        first, second, third = (DistortionFit(**fit) for fit in fits)
        return first, second, third

    def belongs_to(
        self, machine_id: str, block_number: int, *, image_tag: int = 0, calibration_time_stamp: int = 0
    ) -> bool:
        """Whether an image that names this calibration was taken with this head. A time stamp of 0 goes with any."""
        return self._head.belongs_to(machine_id, block_number, image_tag, calibration_time_stamp)

    def compensated(self, table: Paths, temperature: float) -> Head:
        """The head as it is at `temperature` (degrees Celsius), by the correction table (XML) at the path `table`.

        Raises `quel.Error` when the file is no table or the head has no reference temperature.
        """
        return self._of(self._head.compensated(Path(table), float(temperature)))

    @overload
    def project(
        self, points: npt.ArrayLike, camera: int = ..., mode: Mode = ..., *, status: Literal[False] = ...,
        out: Floats | None = ..., threads: int = ...,
    ) -> Floats: ...

    @overload
    def project(
        self, points: npt.ArrayLike, camera: int = ..., mode: Mode = ..., *, status: Literal[True],
        out: Floats | None = ..., threads: int = ...,
    ) -> tuple[Floats, Bytes]: ...

    def project(
        self,
        points: npt.ArrayLike,
        camera: int = 0,
        mode: Mode = "exact",
        *,
        status: bool = False,
        out: Floats | None = None,
        threads: int = 1,
    ) -> Floats | tuple[Floats, Bytes]:
        """Where `camera` sees `points` (N, 3): pixels (N, 2), NaN behind the camera and where there is no pixel.

        mode: "pinhole" without distortion; "exact"; "fast" with few steps and the nearest cell of the LUT;
        "exact-or-without-depth" and "fast-without-depth" take the LUT's reference depth, where exact fails or always.
        status: give also why, (N,) of `quel.Status`. out: a float64 array (N, 2) for the pixels. threads: 0 is one for
        each processor.
        """
        pixels, became = _measure.project(self._head, points, camera, mode, out, threads)
        return (pixels, became) if status else pixels

    def project_all(
        self,
        points: npt.ArrayLike,
        mode: Mode = "exact",
        *,
        out: tuple[Floats, Floats, Floats] | None = None,
        threads: int = 1,
    ) -> tuple[Floats, Floats, Floats]:
        """Where each camera sees `points` (N, 3): three arrays of pixels (N, 2), as `project` gives them. out: three
        float64 arrays (N, 2) for them.
        """
        targets = (None, None, None) if out is None else out
        first, second, third = (
            _measure.project(self._head, points, k, mode, target, threads)[0] for k, target in enumerate(targets))
        return first, second, third

    @overload
    def rays(
        self, pixels: npt.ArrayLike, camera: int = ..., *, distorted: bool = ..., status: Literal[False] = ...,
        out: Floats | None = ..., threads: int = ...,
    ) -> tuple[Floats, Floats]: ...

    @overload
    def rays(
        self, pixels: npt.ArrayLike, camera: int = ..., *, distorted: bool = ..., status: Literal[True],
        out: Floats | None = ..., threads: int = ...,
    ) -> tuple[Floats, Floats, Bytes]: ...

    def rays(
        self,
        pixels: npt.ArrayLike,
        camera: int = 0,
        *,
        distorted: bool = True,
        status: bool = False,
        out: Floats | None = None,
        threads: int = 1,
    ) -> tuple[Floats, Floats] | tuple[Floats, Floats, Bytes]:
        """The rays on which the points lie that `camera` sees at `pixels` (N, 2): origin (3,) and unit directions (N, 3),
        in the world. Pixels are measured ones, or ideal ones unless `distorted`; NaN where there is no ray.
        """
        origin, directions, became = _measure.rays(self._head, pixels, camera, distorted, out, threads)
        return (origin, directions, became) if status else (origin, directions)

    @overload
    def undistort(
        self, pixels: npt.ArrayLike, camera: int = ..., *, depth: float | None = ..., status: Literal[False] = ...,
        out: Floats | None = ..., threads: int = ...,
    ) -> Floats: ...

    @overload
    def undistort(
        self, pixels: npt.ArrayLike, camera: int = ..., *, depth: float | None = ..., status: Literal[True],
        out: Floats | None = ..., threads: int = ...,
    ) -> tuple[Floats, Bytes]: ...

    def undistort(
        self,
        pixels: npt.ArrayLike,
        camera: int = 0,
        *,
        depth: float | None = None,
        status: bool = False,
        out: Floats | None = None,
        threads: int = 1,
    ) -> Floats | tuple[Floats, Bytes]:
        """The ideal pixels (N, 2) of measured `pixels` (N, 2), NaN where the lens model has none.

        depth: Z of the points in the frame of the LUTs, millimetres; a head without LUTs does not look at it.
        """
        moved, became = _measure.moved(_quel.undistort, self._head, pixels, camera, depth, out, threads)
        return (moved, became) if status else moved

    @overload
    def distort(
        self, pixels: npt.ArrayLike, camera: int = ..., *, depth: float | None = ..., status: Literal[False] = ...,
        out: Floats | None = ..., threads: int = ...,
    ) -> Floats: ...

    @overload
    def distort(
        self, pixels: npt.ArrayLike, camera: int = ..., *, depth: float | None = ..., status: Literal[True],
        out: Floats | None = ..., threads: int = ...,
    ) -> tuple[Floats, Bytes]: ...

    def distort(
        self,
        pixels: npt.ArrayLike,
        camera: int = 0,
        *,
        depth: float | None = None,
        status: bool = False,
        out: Floats | None = None,
        threads: int = 1,
    ) -> Floats | tuple[Floats, Bytes]:
        """The measured pixels (N, 2) of ideal `pixels` (N, 2), exactly; the opposite of `undistort`."""
        moved, became = _measure.moved(_quel.distort, self._head, pixels, camera, depth, out, threads)
        return (moved, became) if status else moved

    def triangulate(
        self,
        px0: npt.ArrayLike,
        px1: npt.ArrayLike,
        px2: npt.ArrayLike,
        *,
        method: Method = "linear",
        reference: int = 0,
        targets: Sequence[int] = (1, 2),
        distorted: bool = True,
        noise: float | None = None,
        out: Triangulated | None = None,
        threads: int = 1,
    ) -> Triangulated:
        """Points from where the three cameras see them: pixels (N, 2) of camera 0, 1 and 2, measured ones unless
        `distorted` is false.

        method: "linear" (closed form), "planar" (least squares in pixels; where it meets its pole "linear" stands in and
        the status says so), "rays" (the point nearest to the rays) or "singular" (the reference camera and the first
        target alone). noise: the standard deviation of a coordinate of a pixel, independent; with it each point has a
        covariance. out: a former result of as many points, whose arrays are written again. The result is the same for any
        number of threads.
        """
        return _measure.triangulate(
            self._head, (px0, px1, px2), method, reference, targets, distorted, noise, out, threads)

    def expected_covariance(
        self,
        points: npt.ArrayLike,
        noise: float,
        *,
        method: Method = "linear",
        reference: int = 0,
        targets: Sequence[int] = (1, 2),
        threads: int = 1,
    ) -> tuple[Floats, Bytes]:
        """How well `points` (N, 3) will be measured that nobody has measured yet: covariances (N, 3, 3), square
        millimetres, for a noise of each coordinate of a pixel (1 sigma), and a status for each; NaN where a camera does
        not see the point. The rest as for `triangulate`.
        """
        return _measure.expected_covariance(self._head, points, noise, method, reference, targets, threads)

    def __repr__(self) -> str:
        identity = self.identity
        camera = self.camera(0)
        size = f"{camera.width} x {camera.height} pixels" if camera.width else "images of unknown size"
        return f"<quel.Head {identity.machine_id}-{identity.block_number}: 3 cameras, {size}>"

    def __reduce__(self) -> tuple[Any, ...]:
        names = tuple(camera.name for camera in self.cameras)
        with tempfile.TemporaryDirectory() as folder:
            self.store(folder)
            return _restored, (type(self), {path.name: path.read_bytes() for path in Path(folder).iterdir()}, names)


def _restored(cls: type[Head], files: Mapping[str, bytes], names: tuple[str, str, str]) -> Head:
    """The head of a pickle, which holds the files of its block and the names of its cameras."""
    with tempfile.TemporaryDirectory() as folder:
        for name, content in files.items():
            (Path(folder) / Path(name).name).write_bytes(content)
        block, = Path(folder).glob("*.tns")
        return cls._of(cls.load(block)._head.with_names(list(names)))


def make_head(
    cameras: Paths | Mapping[str, Any],
    *,
    machine_id: str = "QUEL0001",
    block_number: int = 1,
    luts: bool = False,
    lut_pitch: float = 8.0,
    lut_layers: int = 5,
    temperature: float | Sequence[float] = 20.0,
    **options: Any,
) -> Head:
    """The head of three calibrated cameras: those of a file (JSON), or of a dict of the same form::

        {"cameras": [{"name": "up", "width": 1536, "height": 1024, "fx": 5555.5, "fy": 5555.5, "cx": 767.5, "cy": 511.5,
                      "distortion": {"model": "brown-conrady-normalised", "k1": 0, "k2": 0, "k3": 0, "p1": 0, "p2": 0},
                      "rotation": [[1, 0, 0], [0, 1, 0], [0, 0, 1]], "translation": [0, 0, 1240]}, ...]}

    Camera 0 is the uppermost, 1 the left and 2 the right one; a world point X stands at rotation X + translation before
    a camera, millimetres; `lens_models` has the lenses that a camera may have.

    luts: keep part of the distortion in look-up tables, of cells `lut_pitch` pixels wide in `lut_layers` layers of depth.
    temperature: of the calibration, degrees Celsius, one or three. Further options, as in `HeadOptions` of C++: image_tag,
    calib_word0, calib_word2, calibration_time_stamp, working_distance, lens_type, ccd_pixel_size, scene_centre (3,) and
    box_half_size (3,), millimetres. Raises `quel.Error` for cameras that make no head.
    """
    unknown = set(options) - _OPTIONS
    if unknown:
        raise TypeError(f"make_head() got an unexpected keyword argument {sorted(unknown)[0]!r}")
    options.update(machine_id=machine_id, block_number=block_number, temperature=_three(temperature))
    if luts:
        options.update(lut_pitch=float(lut_pitch), lut_layers=lut_layers)
    for name in _OPTIONS & {"scene_centre", "box_half_size"} & set(options):
        options[name] = _three(options[name])
    if isinstance(cameras, Mapping):
        document = json.dumps(cameras, default=_plain)
        return Head._of(_quel.Head.from_json(document, options))
    return Head._of(_quel.Head.from_file(Path(cameras), options))


_OPTIONS = frozenset({
    "image_tag", "calib_word0", "calib_word2", "calibration_time_stamp", "working_distance", "lens_type", "ccd_pixel_size",
    "scene_centre", "box_half_size",
})


def lens_models() -> dict[str, tuple[str, ...]]:
    """The names of the lens models that a camera may have, each with those of its parameters, in order."""
    return _quel.lens_models()


def camera_type(width: int, height: int) -> int | None:
    """The number of the camera type whose images have this size; None where there is none."""
    return _quel.camera_type(width, height)


def new_camera_type(width: int, height: int) -> str:
    """The section for cameras.ini of the home directory that makes images of this size a camera type."""
    return _quel.new_camera_type(width, height)


def _three(value: float | Sequence[float]) -> list[float]:
    return [float(each) for each in np.broadcast_to(np.asarray(value, np.float64), (3,))]


def _plain(value: Any) -> Any:
    """What JSON holds in place of arrays and NumPy's numbers."""
    if isinstance(value, (np.ndarray, np.generic)):
        return value.tolist()
    raise TypeError(f"cameras: a {type(value).__name__} has no place in cameras")
