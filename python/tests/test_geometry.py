"""Planes, lines, partitions, indices and colours against NumPy."""

import numpy as np
import pytest

import quel

RANDOM = np.random.default_rng(5)


def noisy_plane(count=500):
    normal = np.array([1.0, 2.0, 3.0]) / np.sqrt(14.0)
    along = np.linalg.svd(normal[None])[2][1:]
    return RANDOM.uniform(-50, 50, (count, 2)) @ along + [10, 20, 30] + RANDOM.normal(0, 0.1, (count, 1)) * normal


def test_a_plane_is_that_of_least_squares():
    points = noisy_plane()
    plane = quel.fit_plane(points)
    _, _, axes = np.linalg.svd(points - points.mean(axis=0))
    np.testing.assert_allclose(plane.centre, points.mean(axis=0), rtol=1e-12)
    np.testing.assert_allclose(np.abs(plane.normal @ axes[2]), 1.0, rtol=1e-12)
    np.testing.assert_allclose(plane.residuals.each, (points - plane.centre) @ plane.normal, atol=1e-12)
    np.testing.assert_allclose(plane.rms, np.sqrt(np.mean(plane.residuals.each**2)), rtol=1e-12)
    np.testing.assert_allclose(plane.distances(points), plane.residuals.each, atol=1e-12)
    assert plane.residuals.smallest == plane.residuals.each.min() and "rms" in repr(plane)


def test_the_covariance_of_a_plane_is_that_of_many_trials():
    normal = np.array([1.0, 2.0, 3.0]) / np.sqrt(14.0)
    planes = [quel.fit_plane(noisy_plane()) for _ in range(2000)]
    seen = np.var([plane.centre @ normal for plane in planes])
    told = np.mean([normal @ plane.centre_covariance @ normal for plane in planes])
    np.testing.assert_allclose(told, seen, rtol=0.15)
    np.testing.assert_allclose(told, 0.1**2 / 500, rtol=0.05)


def test_a_line_is_that_of_least_squares():
    direction = np.array([2.0, -1.0, 2.0]) / 3.0
    points = RANDOM.uniform(-50, 50, (300, 1)) * direction + [1, 2, 3] + RANDOM.normal(0, 0.05, (300, 3))
    line = quel.fit_line(points)
    _, _, axes = np.linalg.svd(points - points.mean(axis=0))
    np.testing.assert_allclose(np.abs(line.direction @ axes[0]), 1.0, rtol=1e-12)
    across = (points - line.centre) - np.outer((points - line.centre) @ line.direction, line.direction)
    np.testing.assert_allclose(line.residuals.each, np.linalg.norm(across, axis=1), atol=1e-9)
    np.testing.assert_allclose(line.length, np.ptp((points - line.centre) @ line.direction), rtol=1e-12)
    assert line.ends.shape == (2, 3) and line.rms == line.residuals.rms


@pytest.mark.parametrize("fit", [quel.fit_plane, quel.fit_line])
def test_what_makes_no_feature_is_an_error(fit):
    for points in ([[1.0, 2.0, 3.0]], [[1.0, 2.0, 3.0]] * 5, [[0, 0, 0], [1, 1, 1], [np.nan, 0, 0]]):
        with pytest.raises(quel.Error):
            fit(points)
    with pytest.raises(TypeError, match="points: expected"):
        fit([[1.0, 2.0]])


def test_an_outline_holds_every_point():
    points = noisy_plane()
    plane = quel.fit_plane(points)
    outline = plane.outline(points)
    np.testing.assert_allclose(plane.distances(outline), 0.0, atol=1e-9)
    edges = np.roll(outline, -1, axis=0) - outline
    for corner, edge in zip(outline, edges):
        assert (np.cross(edge, points - corner) @ plane.normal > -1e-6).all()


def test_a_partition_holds_each_point_once():
    points = RANDOM.uniform(0, 100, (5000, 3))
    parts = quel.partition(points)
    assert sorted(parts.order) == list(range(5000))
    leaves = parts.left == -1
    assert parts.count[leaves].sum() == 5000 and parts.count[leaves].max() < 50
    for node in range(0, len(parts.first), 17):
        own = points[parts.order[parts.first[node]: parts.first[node] + parts.count[node]]]
        np.testing.assert_array_equal(parts.minimum[node], own.min(axis=0))
        np.testing.assert_array_equal(parts.maximum[node], own.max(axis=0))


def test_an_index_by_image_sorts_what_the_camera_sees(head, points):
    index = quel.index_by_image(head, points, 1)
    np.testing.assert_array_equal(index.points, points[index.order])
    np.testing.assert_array_equal(index.pixels, head.project(index.points, 1))
    assert index.count.sum() == len(index.points) == len(points) - index.left_out
    for first, count in zip(index.first, index.count):
        cells = np.floor(index.pixels[first: first + count] / 32.0)
        assert (cells == cells[0]).all()


def test_an_index_by_space_leaves_out_what_is_not_finite(points):
    index = quel.index_by_space(np.vstack([points, [[np.nan, 0, 0]]]))
    assert (len(index.points), index.left_out) == (len(points), 1)
    assert sorted(index.order) == list(range(len(points)))


def test_colours_are_those_of_the_intervals():
    deviations = RANDOM.normal(0, 0.2, 2000)
    scale = quel.DeviationScale(deviations)
    intervals = scale.intervals
    assert repr(scale) == f"<quel.DeviationScale: 2000 deviations in {len(intervals)} intervals>"
    assert sum(interval["count"] for interval in intervals) == 2000
    colours = scale.colours(np.append(deviations, np.nan))
    for interval in intervals:
        own = (deviations > interval["lower"]) & (deviations <= interval["upper"])
        assert own.sum() == interval["count"]
        assert (colours[:-1][own] == interval["colour"]).all()
    with pytest.raises(TypeError, match="deviations: expected"):
        scale.colours([[1.0]])


def test_results_outlive_what_they_were_made_of():
    points = noisy_plane()
    each = quel.fit_plane(points).residuals.each
    order = quel.partition(points).order
    kept = each.copy(), order.copy()
    for _ in range(50):
        quel.partition(noisy_plane(3000))
    np.testing.assert_array_equal(each, kept[0])
    np.testing.assert_array_equal(order, kept[1])
