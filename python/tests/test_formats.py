"""Calibrations of other programs make the same head."""

import json

import numpy as np
import pytest

import quel


def opencv_file(camera):
    """One camera as OpenCV's file storage writes it."""
    lens = camera["distortion"]
    matrix = [camera["fx"], camera["skew"], camera["cx"], 0, camera["fy"], camera["cy"], 0, 0, 1]
    fields = {
        "camera_matrix": (3, 3, matrix),
        "distortion_coefficients": (1, 5, [lens[name] for name in ("k1", "k2", "p1", "p2", "k3")]),
        "R": (3, 3, np.ravel(camera["rotation"]).tolist()),
        "T": (3, 1, camera["translation"]),
    }
    text = f"%YAML:1.0\n---\nimage_width: {camera['width']}\nimage_height: {camera['height']}\n"
    for name, (rows, cols, data) in fields.items():
        text += f"{name}: !!opencv-matrix\n   rows: {rows}\n   cols: {cols}\n   dt: d\n   data: {data!r}\n"
    return text


@pytest.fixture
def opencv_files(board, tmp_path):
    files = []
    for camera in json.loads(board.read_text())["cameras"]:
        files.append(tmp_path / f"{camera['name']}.yml")
        files[-1].write_text(opencv_file(camera))
    return files


def test_opencv_files_make_the_head_of_the_cameras(head, points, opencv_files):
    cameras = quel.import_cameras("opencv", opencv_files, unit="mm", keep_world=True)
    assert any("uppermost" in remark for remark in cameras.remarks)
    made = quel.make_head(cameras)
    for camera in made.cameras:
        (own,) = (k for k in range(3) if head.camera(k).name == camera.name)
        index = [c.name for c in made.cameras].index(camera.name)
        np.testing.assert_allclose(made.project(points, index), head.project(points, own), atol=1e-9)


def test_a_unit_scales_the_world(opencv_files):
    small = quel.make_head(quel.import_cameras("opencv", opencv_files, unit="mm", keep_world=True))
    large = quel.make_head(quel.import_cameras("opencv", opencv_files, unit=2.0, keep_world=True))
    np.testing.assert_allclose(large.camera(0).t, 2.0 * small.camera(0).t)


def test_own_files_are_taken_as_they_are(board):
    cameras = quel.import_cameras("json", board, keep_world=True)
    assert sorted(c["name"] for c in cameras["cameras"]) == sorted(c["name"] for c in json.loads(board.read_text())["cameras"])


def test_what_the_files_leave_open_must_be_said(opencv_files):
    with pytest.raises(quel.Error, match="unit"):
        quel.import_cameras("opencv", opencv_files)


def test_wrong_calls_are_told_what_is_wrong(opencv_files, tmp_path):
    with pytest.raises(ValueError, match="format: expected one of json, opencv, ros, mrcal, kalibr, colmap, got 'other'"):
        quel.import_cameras("other", opencv_files)
    with pytest.raises(ValueError, match="unit: expected one of mm, cm, m, in"):
        quel.import_cameras("opencv", opencv_files, unit="parsec")
    with pytest.raises(quel.Error, match="none.yml"):
        quel.import_cameras("opencv", tmp_path / "none.yml", unit="mm")
    opencv_files[1].write_text("%YAML:1.0\n---\ncamera_matrix: [1, 2\n")
    with pytest.raises(quel.Error) as caught:
        quel.import_cameras("opencv", opencv_files, unit="mm")
    assert caught.value.file == str(opencv_files[1])


@pytest.mark.parametrize("format, options", [
    ("json", {}), ("opencv", {"unit": "mm"}), ("mrcal", {}), ("colmap", {"unit": "mm"}),
])
def test_what_is_exported_is_imported_again(head, points, tmp_path, format, options):
    written = quel.export_cameras(head, format, tmp_path / "out")
    assert written.files and all(file.exists() for file in written.files)
    assert written.residual <= 0.005
    if format == "opencv":
        files = [file for file in written.files if "stereo" not in file.name]
    elif format == "colmap":
        files = [tmp_path / "out"]
    else:
        files = written.files
    again = quel.make_head(quel.import_cameras(format, files, keep_world=True, **options))
    for k in range(3):
        own = [head.camera(n).name for n in range(3)].index(again.camera(k).name.removesuffix(".jpg").removesuffix(".png"))
        np.testing.assert_allclose(again.project(points, k), head.project(points, own), atol=1e-6)


def test_a_lens_that_the_format_does_not_hold_is_written_only_when_told_so(head, tmp_path):
    with pytest.raises(quel.Error, match="residual 0.4"):
        quel.export_cameras(head, "kalibr", tmp_path)
    assert list(tmp_path.iterdir()) == []
    written = quel.export_cameras(head, "kalibr", tmp_path, allow_residual=True)
    assert 0.005 < written.residual < 1.0 and written.files == (tmp_path / "camchain.yaml",)


def test_an_unknown_format_is_told_the_known_ones(head, tmp_path):
    with pytest.raises(ValueError, match="format: expected one of json, opencv, ros, mrcal, kalibr, colmap"):
        quel.export_cameras(head, "other", tmp_path)
