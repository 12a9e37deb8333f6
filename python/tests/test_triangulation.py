"""Points from three cameras: back where they came from, with the uncertainty that trials show."""

import numpy as np
import pytest
from conftest import seen_by

import quel

METHODS = ["rays", "linear", "planar", "singular"]


@pytest.mark.parametrize("method", METHODS)
def test_points_come_back_from_their_pixels(head, points, method):
    found = head.triangulate(*head.project_all(points), method=method)
    assert (found.status <= quel.Status.LINEAR_INSTEAD).all()
    np.testing.assert_allclose(found.points, points, atol=1e-5)
    assert found.residuals.max() < 1e-6
    assert found.covariance is None
    assert repr(found) == f"<quel.Triangulated: {len(points)} of {len(points)} points>"


@pytest.mark.parametrize("method", METHODS)
def test_ideal_pixels_are_taken_as_such(head, points, method):
    ideal = [seen_by(head.camera(camera), points) for camera in range(3)]
    found = head.triangulate(*ideal, method=method, distorted=False)
    np.testing.assert_allclose(found.points, points, atol=1e-5)


@pytest.mark.parametrize("threads", [0, 2, 3])
@pytest.mark.parametrize("method", METHODS)
def test_the_number_of_threads_changes_no_bit(head, points, method, threads):
    pixels = head.project_all(points)
    one = head.triangulate(*pixels, method=method, noise=0.05)
    many = head.triangulate(*pixels, method=method, noise=0.05, threads=threads)
    for name in ("points", "residuals", "status", "covariance"):
        np.testing.assert_array_equal(getattr(many, name), getattr(one, name))


def test_the_covariance_is_that_of_many_trials(head):
    point, noise, trials = np.array([[100.0, 62.5, 0.0]]), 0.05, 40_000
    random = np.random.default_rng(7)
    drawn = [pixels + random.normal(0.0, noise, (trials, 2)) for pixels in head.project_all(point)]
    found = head.triangulate(*drawn, method="rays")
    covariance = head.triangulate(*head.project_all(point), method="rays", noise=noise).covariance
    assert covariance.shape == (1, 3, 3)
    np.testing.assert_allclose(np.cov(found.points.T), covariance[0], rtol=0.05, atol=0.05 * np.abs(covariance).max())


def test_the_covariance_grows_with_the_square_of_the_noise(head, points):
    pixels = head.project_all(points[:10])
    small = head.triangulate(*pixels, noise=0.01).covariance
    large = head.triangulate(*pixels, noise=0.1).covariance
    np.testing.assert_allclose(large, 100.0 * small, rtol=1e-12)


def test_what_was_not_seen_is_nan_with_a_reason(head, points):
    px0, px1, px2 = head.project_all(points[:4])
    px1[2] = np.nan
    found = head.triangulate(px0, px1, px2, noise=0.05)
    assert np.isnan(found.points[2]).all() and np.isnan(found.covariance[2]).all() and np.isnan(found.residuals[2])
    assert found.status[2] == quel.Status.FAILED
    assert np.isfinite(np.delete(found.points, 2, axis=0)).all()


def test_cameras_may_be_chosen(head, points):
    pixels = head.project_all(points)
    pixels[0][:] = np.nan
    found = head.triangulate(*pixels, method="singular", reference=1, targets=(2,))
    np.testing.assert_allclose(found.points, points, atol=1e-5)


def test_wrong_calls_are_told_what_is_wrong(head, points):
    px0, px1, px2 = head.project_all(points)
    with pytest.raises(TypeError, match="as many pixels of each camera, got 1000, 999, 1000"):
        head.triangulate(px0, px1[:-1], px2)
    with pytest.raises(TypeError, match=r"px2: expected an array of shape \(N, 2\), got \(1000, 3\)"):
        head.triangulate(px0, px1, points)
    with pytest.raises(ValueError, match="method: expected one of linear, planar, singular, rays"):
        head.triangulate(px0, px1, px2, method="exact")
    for wrong in ({"reference": 3}, {"targets": (1, 4)}, {"threads": -1}):
        with pytest.raises(ValueError):
            head.triangulate(px0, px1, px2, **wrong)
    for wrong in ({"targets": (1, 1)}, {"targets": (0, 1)}, {"noise": -1.0}, {"noise": float("nan")}):
        with pytest.raises(quel.Error):
            head.triangulate(px0, px1, px2, **wrong)


def test_nothing_gives_nothing(head):
    found = head.triangulate([], [], [], noise=0.1)
    assert found.points.shape == (0, 3) and found.covariance.shape == (0, 3, 3)


def test_sigma_is_that_of_the_covariance_along_a_direction(head, points):
    pixels = head.project_all(points[:5])
    found = head.triangulate(*pixels, noise=0.05)
    np.testing.assert_allclose(found.sigma([0, 0, 7]), np.sqrt(found.covariance[:, 2, 2]), rtol=1e-12)
    with pytest.raises(ValueError, match="triangulate with noise"):
        head.triangulate(*pixels).sigma([0, 0, 1])
    with pytest.raises(TypeError, match=r"direction: expected an array of shape \(3,\)"):
        found.sigma([0, 1])


@pytest.mark.parametrize("method", METHODS)
def test_the_expected_covariance_is_that_of_the_points_once_measured(head, points, method):
    inside = points[:50]
    expected, status = head.expected_covariance(inside, 0.05, method=method, threads=2)
    found = head.triangulate(*head.project_all(inside), method=method, noise=0.05)
    seen = status <= quel.Status.LINEAR_INSTEAD
    seen &= status != quel.Status.OUTSIDE
    assert seen.sum() > 10
    np.testing.assert_array_equal(expected[seen], found.covariance[seen])
    behind = head.camera(0).centre - 100.0 * head.camera(0).R[2]
    expected, status = head.expected_covariance([behind], 0.05, method=method)
    assert status[0] in (quel.Status.BEHIND, quel.Status.OUTSIDE) and np.isnan(expected).all()


def test_a_former_result_may_be_written_again(head, points):
    pixels = head.project_all(points)
    first = head.triangulate(*pixels, noise=0.05)
    kept = first.points.copy()
    moved = head.project_all(points + 1.0, out=pixels)
    assert all(one is other for one, other in zip(moved, pixels))
    second = head.triangulate(*moved, noise=0.05, out=first)
    assert second.points is first.points and second.covariance is first.covariance
    np.testing.assert_allclose(second.points, kept + 1.0, atol=1e-5)
    with pytest.raises(TypeError, match=r"out.points: expected a writeable array of shape \(10, 3\)"):
        head.triangulate(*(px[:10] for px in pixels), out=first)
