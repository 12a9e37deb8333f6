"""Arrays and heads that outlive what they came from; meant for valgrind: scripts/check-python-memory."""

import gc
import os
import pickle
import threading
from pathlib import Path

import numpy as np

import quel

head = quel.make_head(Path(os.environ["QUEL_TEST_DATA"]) / "board-three-views.json")
points = np.random.default_rng(1).uniform([50, 10, -50], [150, 110, 50], (300, 3))
pixels = head.project_all(points)
camera = head.camera(0)
found = head.triangulate(*pixels, noise=0.05, threads=2)
restored = pickle.loads(pickle.dumps(head))
warm = [threading.Thread(target=restored.project, args=(points,)) for _ in range(3)]
for thread in warm:
    thread.start()
del head, restored
gc.collect()
for thread in warm:
    thread.join()
total = sum(part.sum() for part in (*pixels, camera.K, camera.R, found.points, found.covariance))

plane = quel.fit_plane(points)
outline = plane.outline(points)
each = plane.residuals.each
del plane
parts = quel.partition(points)
order, minimum = parts.order, parts.minimum
index = quel.index_by_space(points)
inside = index.points
del parts, index
scale = quel.DeviationScale(each)
colours = scale.colours(each)
del scale
gc.collect()
total += sum(part.sum() for part in (outline, each, order, minimum, inside, colours))
for wrong in ([[1.0, 2.0]], "points", None):
    try:
        quel.fit_plane(wrong)
    except TypeError:
        pass
try:
    quel.Head.load("nowhere.tns")
except quel.Error as error:
    assert error.file == "nowhere.tns"
assert np.isfinite(total)
