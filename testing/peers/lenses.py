#!/usr/bin/python3
"""Where OpenCV and mrcal see points through every lens that they and this library know.

    testing/peers/lenses.py FILE      writes the figures as JSON; `-` is standard output

Needs python3-opencv and python3-mrcal of Debian (scripts/setup --peers). lenses.json beside this file is what it wrote with
OpenCV 4.6.0 and mrcal 2.2; tests compare with it, and with what it writes anew where the peers are there.
"""
import json
import sys

try:
    import cv2
    import mrcal
    import numpy as np
except ImportError:
    sys.exit(77)  # Who asked compares with what is kept.

K = dict(fx=812.5, fy=798.25, cx=655.75, cy=489.5)

# Directions over the field of view and three depths; none on a line through the axis but the first.
def points(widest):
    rng = np.random.default_rng(20)
    angle = np.radians(widest) * np.sqrt(rng.random(60))
    turn = 2 * np.pi * rng.random(60)
    depth = rng.uniform(300, 2000, 60)
    p = np.stack([np.tan(angle) * np.cos(turn) * depth, np.tan(angle) * np.sin(turn) * depth, depth], axis=1)
    p[0] = (0, 0, 1000)
    return p


def camera_matrix(skew=0.0):
    return np.array([[K["fx"], skew, K["cx"]], [0, K["fy"], K["cy"]], [0, 0, 1]])


NAMES = ["k1", "k2", "p1", "p2", "k3", "k4", "k5", "k6", "s1", "s2", "s3", "s4", "tauX", "tauY"]
FULL = [-0.21, 0.083, 1.3e-3, -8.7e-4, 0.012, 0.11, -0.034, 0.0021, 1.1e-3, -4.2e-4, -7.3e-4, 2.6e-4, 0.021, -0.034]


def opencv(count):
    d = np.array(FULL[:count])
    p = points(38)
    q = cv2.projectPoints(p, np.zeros(3), np.zeros(3), camera_matrix(), d)[0].reshape(-1, 2)
    return dict(peer=f"OpenCV, {count} coefficients", camera=K, distortion=dict(model="opencv", **dict(zip(NAMES, FULL[:count]))),
                points=p, pixels=q)


def opencv_fisheye():
    k = [-0.031, 0.0124, -0.0087, 0.0021]
    p = points(54)
    alpha = 0.013
    q = cv2.fisheye.projectPoints(p.reshape(-1, 1, 3), np.zeros(3), np.zeros(3), camera_matrix(), np.array(k), alpha=alpha)[0]
    return dict(peer="OpenCV fisheye", camera=dict(K, skew=K["fx"] * alpha),
                distortion=dict(model="opencv-fisheye", k1=k[0], k2=k[1], k3=k[2], k4=k[3]), points=p, pixels=q.reshape(-1, 2))


def by_mrcal(model, extra, distortion, widest):
    p = points(widest)
    q = mrcal.project(p, model, np.array([K["fx"], K["fy"], K["cx"], K["cy"], *extra]))
    return dict(peer=f"mrcal {model}", camera=K, distortion=distortion, points=p, pixels=q)


def mrcal_opencv(count):
    return by_mrcal(f"LENSMODEL_OPENCV{count}", FULL[:count], dict(model="opencv", **dict(zip(NAMES, FULL[:count]))), 38)


def mrcal_cahvor():
    c = dict(alpha=0.0123, beta=-0.0217, r0=0.0052, r1=-0.081, r2=0.023)
    return by_mrcal("LENSMODEL_CAHVOR", c.values(), dict(model="cahvor", **c), 38)


def mrcal_splined(order):
    columns, rows, fov = 13, 10, 110
    surface = np.random.default_rng(order).uniform(-0.02, 0.02, 2 * columns * rows)
    return by_mrcal(f"LENSMODEL_SPLINED_STEREOGRAPHIC_order={order}_Nx={columns}_Ny={rows}_fov_x_deg={fov}", surface,
                    dict(model="splined-stereographic", order=order, columns=columns, rows=rows, fov_x_deg=fov,
                         control_points=surface), 50)


def figures():
    return [*(opencv(n) for n in (4, 5, 8, 12, 14)), opencv_fisheye(),
            by_mrcal("LENSMODEL_PINHOLE", [], dict(model="brown-conrady-normalised"), 54),
            by_mrcal("LENSMODEL_STEREOGRAPHIC", [], dict(model="stereographic"), 54),
            *(mrcal_opencv(n) for n in (4, 5, 8, 12)), mrcal_cahvor(), mrcal_splined(2), mrcal_splined(3)]


text = "[\n" + ",\n".join(json.dumps(f, default=lambda a: a.tolist()) for f in figures()) + "\n]\n"
if sys.argv[1] == "-":
    print(text, end="")
else:
    open(sys.argv[1], "w").write(text)
