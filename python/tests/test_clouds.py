"""Clouds in and out."""

import numpy as np
import pytest

import quel


def test_a_scan_is_a_structured_array(board, head):
    cloud = quel.read_cloud(board.parent / "scan-20k.ply")
    assert cloud.shape == (20000,) and cloud.dtype.names == ("x", "y", "z")
    points = quel.xyz(cloud)
    assert points.shape == (20000, 3) and np.shares_memory(points, cloud)
    np.testing.assert_array_equal(points[:, 2], cloud["z"])
    np.testing.assert_array_equal(head.project(cloud), head.project(points))


@pytest.mark.parametrize("name", ["cloud.ply", "cloud.csv"])
def test_what_is_written_is_read(tmp_path, points, name):
    values = {"deviation": np.linspace(-1, 1, len(points))}
    quel.write_cloud(tmp_path / name, points, values=values)
    np.testing.assert_array_equal(quel.xyz(quel.read_cloud(tmp_path / name)), points)


def test_colours_are_those_of_bytes(tmp_path):
    quel.write_cloud(tmp_path / "c.ply", [[1, 2, 3], [4, 5, 6]], colours=[[1.0, 0.0, 0.5], [0.0, 1.0, 0.0]])
    content = (tmp_path / "c.ply").read_bytes()
    header, body = content.split(b"end_header\n")
    assert b"property uchar red" in header
    assert body[24:27] in (bytes([255, 0, 127]), bytes([255, 0, 128])) and body[27 + 24:27 + 27] == bytes([0, 255, 0])


def test_fields_of_a_cloud_beside_x_y_and_z_are_no_points(tmp_path):
    cloud = np.zeros(3, [("z", "f4"), ("red", "u1"), ("y", "f8"), ("x", "i4")])
    cloud["x"], cloud["y"], cloud["z"] = [1, 2, 3], [4, 5, 6], [7, 8, 9]
    np.testing.assert_array_equal(quel.xyz(cloud), [[1, 4, 7], [2, 5, 8], [3, 6, 9]])


def test_columns_of_a_text_may_be_chosen(tmp_path):
    (tmp_path / "t.csv").write_text("a,b,c,d\n1,2,3,4\n5,6,7,8\n")
    np.testing.assert_array_equal(quel.xyz(quel.read_cloud(tmp_path / "t.csv", columns=["d", "b", "a"])), [[4, 2, 1], [8, 6, 5]])


def test_what_is_no_cloud_is_an_error_with_its_place(tmp_path):
    (tmp_path / "bad.ply").write_text("ply\nformat ascii 1.0\nelement vertex 2\nproperty float x\nproperty float y\n"
                                      "property float z\nend_header\n1 2 3\n4 x 6\n")
    with pytest.raises(quel.Error) as caught:
        quel.read_cloud(tmp_path / "bad.ply")
    assert caught.value.file == str(tmp_path / "bad.ply") and "9" in str(caught.value)
    with pytest.raises(quel.Error, match="none.ply"):
        quel.read_cloud(tmp_path / "none.ply")
    with pytest.raises(quel.Error):
        quel.write_cloud(tmp_path / "cloud.xyzzy", [[1, 2, 3]])
    with pytest.raises(quel.Error):
        quel.write_cloud(tmp_path / "cloud.ply", [[1, 2, 3]], values={"v": [1.0, 2.0]})
    with pytest.raises(TypeError, match="colours: expected"):
        quel.write_cloud(tmp_path / "cloud.ply", [[1, 2, 3]], colours=[[1, 2]])
    assert sorted(file.name for file in tmp_path.iterdir()) == ["bad.ply"]
