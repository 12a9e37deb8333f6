"""What the tests share: the head of the shipped board, and what its cameras see by the formulas."""

import os
from pathlib import Path

import numpy as np
import pytest

import quel

DATA = Path(os.environ["QUEL_TEST_DATA"])


@pytest.fixture(scope="session")
def board():
    return DATA / "board-three-views.json"


@pytest.fixture(scope="session")
def head(board):
    return quel.make_head(board)


@pytest.fixture(scope="session")
def points():
    """Points about the board, seen by all cameras."""
    random = np.random.default_rng(20261122)
    return random.uniform([-20.0, -20.0, -30.0], [220.0, 140.0, 30.0], size=(1000, 3))


def distorted_by(lens, pixels):
    """The lens model of a head, written again in NumPy."""
    dx, dy = (pixels - lens.centre).T
    r2 = dx * dx + dy * dy
    s = lens.k1 * r2 + lens.k2 * r2**2 + lens.k3 * r2**3 + lens.extra[2] * r2**4 + lens.extra[3] * r2**5
    x = dx * s + lens.p1 * (r2 + 2 * dx * dx) + 2 * lens.p2 * dx * dy + lens.extra[0] * dx + lens.extra[1] * dy
    y = dy * s + lens.p2 * (r2 + 2 * dy * dy) + 2 * lens.p1 * dx * dy
    return pixels + np.stack([x, y], axis=1)


def seen_by(camera, points):
    """Where a pinhole camera sees points."""
    homogeneous = (camera.K @ (camera.R @ points.T + camera.t[:, None])).T
    return homogeneous[:, :2] / homogeneous[:, 2:]
