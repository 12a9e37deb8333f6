"""Points, pixels and rays against the formulas; arrays of every kind."""

import numpy as np
import pytest
from conftest import distorted_by, seen_by
from hypothesis import given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp

import quel


@pytest.mark.parametrize("camera", range(3))
def test_projections_are_those_of_the_formulas(head, points, camera):
    ideal = seen_by(head.camera(camera), points)
    np.testing.assert_allclose(head.project(points, camera, "pinhole"), ideal, atol=1e-9)
    np.testing.assert_allclose(head.project(points, camera), distorted_by(head.camera(camera).distortion, ideal), atol=1e-9)


@pytest.mark.parametrize("camera", range(3))
def test_rays_lead_back_to_the_points(head, points, camera):
    origin, directions = head.rays(head.project(points, camera), camera)
    np.testing.assert_allclose(origin, head.camera(camera).centre, atol=1e-6)
    np.testing.assert_allclose(np.linalg.norm(directions, axis=1), 1.0, rtol=1e-14)
    along = np.einsum("ij,ij->i", points - origin, directions)
    np.testing.assert_allclose(origin + along[:, None] * directions, points, atol=1e-6)
    assert (along > 0).all()


@pytest.mark.parametrize("camera", range(3))
def test_undistorting_undoes_distorting(head, points, camera):
    ideal = head.project(points, camera, "pinhole")
    measured, status = head.distort(ideal, camera, status=True)
    assert (status == quel.Status.OK).all()
    np.testing.assert_allclose(measured, distorted_by(head.camera(camera).distortion, ideal), atol=1e-9)
    np.testing.assert_allclose(head.undistort(measured, camera), ideal, atol=1e-8)


def test_what_has_no_pixel_is_nan_and_says_why(head):
    camera = head.camera(0)
    behind = camera.centre - camera.R[2] * 100.0
    beside = camera.centre + camera.R[2] * 1000.0 + camera.R[0] * 700.0
    given = np.array([[100.0, 62.5, 0.0], behind, [np.nan, 0.0, 0.0], beside])
    pixels, status = head.project(given, 0, status=True)
    assert list(status) == [quel.Status.OK, quel.Status.BEHIND, quel.Status.FAILED, quel.Status.OUTSIDE]
    assert list(np.isnan(pixels).all(axis=1)) == [False, True, True, False]


@pytest.mark.parametrize("threads", [0, 1, 2, 7])
def test_the_number_of_threads_changes_no_bit(head, points, threads):
    np.testing.assert_array_equal(head.project(points, 1, threads=threads), head.project(points, 1))


def test_all_cameras_at_once_are_each_for_itself(head, points):
    for camera, pixels in enumerate(head.project_all(points)):
        np.testing.assert_array_equal(pixels, head.project(points, camera))


@pytest.mark.parametrize("convert", [
    lambda a: a.tolist(), lambda a: a.astype(">f8"), np.asfortranarray, lambda a: np.repeat(a, 2, axis=0)[::2],
    lambda a: np.repeat(a, 2, axis=1)[:, ::2], lambda a: np.ma.asarray(a),
], ids=["list", "big-endian", "fortran", "strided rows", "strided columns", "nothing masked"])
def test_arrays_of_other_forms_are_converted(head, points, convert):
    np.testing.assert_array_equal(head.project(convert(points), 2), head.project(points, 2))


def test_misaligned_and_read_only_arrays_are_read(head, points):
    raw = np.empty(points.nbytes + 1, np.uint8)[1:]
    misaligned = raw.view(np.float64).reshape(points.shape)
    misaligned[:] = points
    misaligned.flags.writeable = False
    np.testing.assert_array_equal(head.project(misaligned), head.project(points))


def test_single_precision_and_whole_numbers_are_converted(head):
    for kind in (np.float32, np.int32, np.uint8, np.longdouble):
        np.testing.assert_array_equal(head.project(np.array([[100, 62, 0]], kind)), head.project([[100.0, 62.0, 0.0]]))


@pytest.mark.parametrize("wrong", [
    [1.0, 2.0, 3.0], [[1.0, 2.0]], np.zeros((2, 3, 1)), [["a", "b", "c"]], np.zeros((1, 3), complex), [[1.0, 2.0, 3.0], [1.0]],
    None, "points", np.zeros((1, 3), bool), np.ma.masked_equal(np.eye(3), 1.0), [[object()] * 3], 5.0,
], ids=str)
def test_what_is_no_array_of_points_is_a_type_error(head, wrong):
    with pytest.raises(TypeError, match="^points: (expected|masked)"):
        head.project(wrong)


def test_nothing_gives_nothing(head):
    for empty in ([], np.empty((0, 3))):
        assert head.project(empty).shape == (0, 2)


def test_out_takes_the_result(head, points):
    out = np.full((len(points), 2), -1.0)
    assert head.project(points, 1, out=out) is out
    np.testing.assert_array_equal(out, head.project(points, 1))


@pytest.mark.parametrize("out", [
    np.empty((999, 2)), np.empty((1000, 3)), np.empty((1000, 2), np.float32), np.empty((2, 1000)).T, np.empty((1000, 2), ">f8"),
    [[0.0, 0.0]] * 1000,
], ids=["rows", "columns", "float32", "fortran", "big-endian", "list"])
def test_an_out_that_does_not_do_is_a_type_error(head, points, out):
    with pytest.raises(TypeError, match="^out: expected"):
        head.project(points, out=out)


def test_an_out_that_may_not_be_written_is_a_type_error(head, points):
    out = np.empty((len(points), 2))
    out.flags.writeable = False
    with pytest.raises(TypeError, match="^out: expected a writeable"):
        head.project(points, out=out)


def test_an_out_that_is_read_as_well_is_refused_but_in_place(head, points):
    shared = np.empty(len(points) * 5)
    given = shared[: len(points) * 3].reshape(-1, 3)
    given[:] = points
    with pytest.raises(ValueError, match="shares memory"):
        head.project(given, out=shared[len(points):len(points) * 3].reshape(-1, 2))
    pixels = head.project(points, 0, "pinhole")
    expected = head.distort(pixels)
    assert head.distort(pixels, out=pixels) is pixels
    np.testing.assert_array_equal(pixels, expected)


def test_an_unknown_mode_is_told_the_known_ones(head, points):
    for wrong in ("precise", ["exact"], None):
        with pytest.raises(ValueError, match="mode: expected one of pinhole, exact, fast"):
            head.project(points, mode=wrong)
    for wrong in (-1, 2**40, 1.5, True):
        with pytest.raises(ValueError, match="threads: expected a whole number from 0 to 4096"):
            head.project(points, threads=wrong)


@settings(deadline=None)
@given(array=hnp.arrays(np.float64, st.tuples(st.integers(0, 20), st.just(3)), elements=st.floats(width=64)))
def test_any_numbers_give_pixels_or_nan_with_a_reason(head, array):
    pixels, status = head.project(array, 1, status=True)
    assert (np.isfinite(pixels).all(axis=1) == (status <= quel.Status.LINEAR_INSTEAD)).all()
    assert (np.isnan(pixels).all(axis=1) == (status > quel.Status.LINEAR_INSTEAD)).all()


@settings(deadline=None)
@given(array=hnp.arrays(np.float64, st.tuples(st.integers(0, 20), st.just(2)), elements=st.floats(width=64)))
def test_any_pixels_have_rays_or_a_reason(head, array):
    _, directions, status = head.rays(array, 0, status=True)
    assert (np.isfinite(directions).all(axis=1) == (status == quel.Status.OK)).all()
