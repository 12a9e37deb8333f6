#!/usr/bin/python3
"""Where OpenCV, mrcal and COLMAP see points by the files that `quel export` writes for them.

    testing/peers/exported.py FOLDER FILE    FOLDER holds opencv/, mrcal/ and colmap/ of one block; writes the figures as JSON

exported.json beside this file holds such files and what this script wrote for them with OpenCV 4.6.0, mrcal 2.2 and COLMAP 3.8. They
come from Export_test, which leaves them in the folder that QUEL_KEEP_EXPORTED names:

    mkdir kept && QUEL_KEEP_EXPORTED=kept bin/Export_test && testing/peers/exported.py kept testing/peers/exported.json

Needs python3-opencv, python3-mrcal and colmap of Debian (scripts/setup --peers). Tests compare with the kept figures, and with fresh ones
of fresh files where the peers are there.
"""
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

try:
    import cv2
    import mrcal
    import numpy as np
except ImportError:
    sys.exit(77)  # Who asked compares with what is kept.
if not shutil.which("colmap"):
    sys.exit(77)

NAMES = ["a", "b", "c"]
POINTS = np.random.default_rng(54).uniform([-120, -80, -40], [120, 80, 40], (54, 3))


def stored(file, *keys):
    storage = cv2.FileStorage(str(file), cv2.FILE_STORAGE_READ)
    return [storage.getNode(key).mat() for key in keys]


def seen(points, k, d, r, t):
    # As a matrix: a rotation vector of nearly half a turn would lose digits.
    inside = mrcal.transform_point_Rt(np.vstack([r, np.reshape(t, (1, 3))]), points)
    return cv2.projectPoints(inside, np.zeros(3), np.zeros(3), k, d)[0].reshape(-1, 2)


def by_opencv(folder):
    pixels = {n: seen(POINTS, *stored(folder / f"{n}.yml", "camera_matrix", "distortion_coefficients", "R", "T")) for n in NAMES}
    r, t = stored(folder / "a.yml", "R", "T")
    inside = np.ascontiguousarray((r @ POINTS.T + t).T)
    for n, name in ((1, "b"), (2, "c")):
        pixels[f"{name} of the pair"] = seen(inside, *stored(folder / f"stereo-0-{n}.yml", "M2", "D2", "R", "T"))
    return pixels


def by_mrcal(folder):
    pixels = {}
    for name in NAMES:
        model = mrcal.cameramodel(str(folder / f"{name}.cameramodel"))
        pixels[name] = mrcal.project(mrcal.transform_point_rt(model.extrinsics_rt_fromref(), 1e-3 * POINTS), *model.intrinsics())
    return pixels


def rotation(q):
    w, x, y, z = q / np.linalg.norm(q)
    return np.array([[1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)],
                     [2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)],
                     [2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)]])


def by_colmap(folder):
    """COLMAP reads the model and writes it again; FULL_OPENCV has the coefficients of OpenCV in its order."""
    with tempfile.TemporaryDirectory() as out:
        subprocess.run(["colmap", "model_converter", "--input_path", folder, "--output_path", out, "--output_type", "TXT"], check=True,
                       capture_output=True)
        lines = lambda name: [l.split() for l in (pathlib.Path(out) / name).read_text().splitlines() if l and l[0] != "#"]
        cameras, images = {c[0]: c for c in lines("cameras.txt")}, lines("images.txt")
    pixels = {}
    for image in images:
        values = [float(v) for v in image[1:8]]
        p = [float(v) for v in cameras[image[8]][4:]]
        k = np.array([[p[0], 0, p[2] - 0.5], [0, p[1], p[3] - 0.5], [0, 0, 1]])
        pixels[image[9]] = seen(POINTS, k, np.array(p[4:]), rotation(np.array(values[:4])), values[4:])
    return pixels


def kept(folder, read):
    files = [dict(name=f.name, text=f.read_text()) for f in sorted(folder.iterdir())]
    return dict(files=files, pixels=read(folder))


folder = pathlib.Path(sys.argv[1])
made = {name: kept(folder / name, read) for name, read in (("opencv", by_opencv), ("mrcal", by_mrcal), ("colmap", by_colmap))}
pathlib.Path(sys.argv[2]).write_text(json.dumps(dict(points=POINTS, formats=made), default=lambda a: a.tolist(), indent=0) + "\n")
