"""Heads: made, stored, loaded, copied, refused."""

import copy
import json
import os
import pickle
import threading

import numpy as np
import pytest

import quel


def test_a_head_tells_what_it_is(head):
    assert repr(head) == "<quel.Head QUEL0001-1: 3 cameras, 640 x 480 pixels>"
    assert head.identity == quel.Identity("QUEL0001", 1, 0, 0, 0, 0)


def test_cameras_are_those_of_the_file(head, board):
    given = json.loads(board.read_text())["cameras"]
    for camera, expected in zip(head.cameras, given):
        assert camera.name == expected["name"]
        assert (camera.width, camera.height) == (expected["width"], expected["height"])
        np.testing.assert_allclose(camera.R, expected["rotation"], atol=1e-12)
        np.testing.assert_allclose(camera.t, expected["translation"], rtol=1e-12)
        np.testing.assert_allclose(np.diag(camera.K), [expected["fx"], expected["fy"], 1.0], rtol=1e-12)
        np.testing.assert_allclose(camera.R @ camera.centre + camera.t, np.zeros(3), atol=1e-9)


def test_a_dict_makes_the_head_of_its_file(head, board, points):
    document = json.loads(board.read_text())
    document["cameras"][0]["rotation"] = np.array(document["cameras"][0]["rotation"])
    document["cameras"][1]["fx"] = np.float64(document["cameras"][1]["fx"])
    made = quel.make_head(document, machine_id="OTHER", block_number=7)
    assert (made.identity.machine_id, made.identity.block_number) == ("OTHER", 7)
    for camera in range(3):
        np.testing.assert_array_equal(made.project(points, camera), head.project(points, camera))


def test_what_json_does_not_hold_is_refused():
    with pytest.raises(TypeError, match="cameras: a object has no place in cameras"):
        quel.make_head({"cameras": object()})


@pytest.mark.parametrize("luts", [False, True])
def test_a_stored_head_loads_with_the_same_bits(board, points, tmp_path, luts):
    head = quel.make_head(board, luts=luts)
    path = head.store(tmp_path / "blocks")
    assert path == tmp_path / "blocks" / "QUEL0001-1.tns"
    loaded = quel.Head.load(str(path))
    assert loaded.camera(0).distortion.uses_lut == luts
    for camera in range(3):
        np.testing.assert_array_equal(loaded.project(points, camera), head.project(points, camera))


def test_a_block_that_is_there_stays_unless_overwritten(head, board, tmp_path):
    path = head.store(tmp_path)
    before = path.read_bytes()
    with pytest.raises(quel.Error, match="is there already") as caught:
        quel.make_head(board).store(tmp_path)
    assert caught.value.file == str(path)
    assert path.read_bytes() == before
    assert head.store(tmp_path, overwrite=True) == path


def test_errors_name_file_and_cause(tmp_path):
    damaged = tmp_path / "damaged.tns"
    damaged.write_bytes(b"\x01\x02\x03")
    with pytest.raises(quel.Error) as caught:
        quel.Head.load(damaged)
    error = caught.value
    assert error.file == str(damaged) and error.cause and str(error).startswith(str(damaged))
    again = pickle.loads(pickle.dumps(error))
    assert (str(again), again.cause, again.file, again.place) == (str(error), error.cause, error.file, error.place)
    with pytest.raises(quel.Error, match="nowhere.tns"):
        quel.Head.load(tmp_path / "nowhere.tns")
    with pytest.raises(quel.Error, match="cameras"):
        quel.make_head({"cameras": []})


def test_a_name_with_letters_from_everywhere_is_a_path_like_any_other(head, points, tmp_path):
    path = head.store(tmp_path / "Köpfe 頭")
    np.testing.assert_array_equal(quel.Head.load(path).project(points), head.project(points))


@pytest.mark.parametrize("luts", [False, True])
def test_a_pickled_head_has_the_same_bits(board, points, luts):
    head = quel.make_head(board, machine_id="PICKLED", block_number=12, luts=luts)
    for restored in (pickle.loads(pickle.dumps(head)), copy.deepcopy(head)):
        assert repr(restored) == repr(head)
        assert [camera.name for camera in restored.cameras] == [camera.name for camera in head.cameras]
        np.testing.assert_array_equal(restored.project(points, 2), head.project(points, 2))


def test_a_damaged_pickle_is_an_error(head):
    function, (cls, files, names) = head.__reduce__()
    with pytest.raises(quel.Error):
        function(cls, {name: content[:1000] for name, content in files.items()}, names)


def test_heads_are_not_made_by_hand():
    with pytest.raises(TypeError, match="Head.load"):
        quel.Head()


def test_an_image_belongs_to_the_head_of_its_machine_and_block(head):
    assert head.belongs_to("QUEL0001", 1)
    assert not head.belongs_to("QUEL0001", 2)
    assert not head.belongs_to("QUEL0002", 1)


def test_arrays_outlive_the_head_that_they_come_from(board, points):
    head = quel.make_head(board)
    camera, pixels = head.camera(1), head.project(points, 1)
    kept = camera.K.copy(), pixels.copy()
    del head
    np.testing.assert_array_equal(camera.K, kept[0])
    np.testing.assert_array_equal(pixels, kept[1])


def test_threads_may_share_a_head(head, points):
    expected = head.project(points, 1)
    results = [None] * 8

    def work(n):
        for _ in range(20):
            results[n] = head.project(points, 1)

    threads = [threading.Thread(target=work, args=(n,)) for n in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for result in results:
        np.testing.assert_array_equal(result, expected)


def test_a_camera_is_0_1_or_2(head, points):
    for camera in (-1, 3, 0.5, "0", True, [0], np.array([0, 1])):
        with pytest.raises(ValueError, match="camera: expected 0, 1 or 2"):
            head.camera(camera)
        with pytest.raises(ValueError, match="camera: expected 0, 1 or 2"):
            head.project(points, camera)


def test_how_well_the_lens_models_stand_is_told_until_the_head_is_stored(head, board, tmp_path):
    assert [fit.exact for fit in head.distortion_fit] == [True, True, True]
    document = json.loads(board.read_text())
    document["cameras"][1]["fy"] *= 1.0001
    fits = quel.make_head(document).distortion_fit
    assert not fits[1].exact and 0 < fits[1].rms < fits[1].largest <= 0.005
    assert quel.Head.load(head.store(tmp_path)).distortion_fit is None


def test_texts_that_are_no_text_are_told_all_the_same(tmp_path):
    damaged = tmp_path / "damaged.json"
    random = np.random.default_rng(3)
    for _ in range(200):
        damaged.write_bytes(b'{"cameras": [{"name": "' + random.integers(1, 256, 20, np.uint8).tobytes() + b'"}]}')
        with pytest.raises(quel.Error):
            quel.make_head(damaged)
        for format in ("json", "opencv", "ros", "mrcal", "kalibr"):
            with pytest.raises(quel.Error):
                quel.import_cameras(format, [damaged] * 3, unit="mm")
    with pytest.raises(quel.Error) as caught:
        quel.Head.load(os.fsdecode(os.fsencode(tmp_path) + b"/n\xff.tns"))
    assert caught.value.file.startswith(str(tmp_path))


def test_options_of_a_head_are_those_of_the_library(board, points):
    made = quel.make_head(
        board, image_tag=7, calibration_time_stamp=1234, temperature=21.5, scene_centre=[100, 60, 0], box_half_size=[1, 2, 3])
    assert made.identity == quel.Identity("QUEL0001", 1, 0, 7, 0, 1234)
    coarse = quel.make_head(board, luts=True, lut_pitch=40.0, lut_layers=2).distortion_fit
    fine = quel.make_head(board, luts=True, lut_pitch=8.0).distortion_fit
    assert coarse is not None and fine is not None
    with pytest.raises(TypeError, match="unexpected keyword argument 'colour'"):
        quel.make_head(board, colour="red")
    with pytest.raises(quel.Error):
        quel.make_head(board, block_number=0)
    with pytest.raises(ValueError):
        quel.make_head(board, temperature=[1.0, 2.0])


def test_lenses_and_camera_types_are_listed():
    assert quel.lens_models()["opencv-fisheye"] == ("k1", "k2", "k3", "k4")
    assert quel.camera_type(640, 480) is not None and quel.camera_type(641, 480) is None
    assert "Width = 641" in quel.new_camera_type(641, 480)
