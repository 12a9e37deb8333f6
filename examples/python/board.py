"""Three cameras that OpenCV calibrated measure a board: board.py FOLDER OUT, with FOLDER such as data/board-opencv

Prints how flat the board is, and writes board.ply, coloured by how far each corner lies off its plane, and board.png.
"""
import sys
from pathlib import Path

import matplotlib.pyplot as plt
import numpy as np

import quel

folder, out = Path(sys.argv[1]), Path(sys.argv[2])
names = ["left-05", "left-11", "left-13"]
cameras = quel.import_cameras("opencv", [folder / f"{name}.yml" for name in names], unit="mm")
head = quel.make_head(cameras)
rows = np.loadtxt(folder / "corners.txt").reshape(-1, 3, 2)  # where left-05, left-11 and left-13 see each corner
seen = [rows[:, names.index(camera.name)] for camera in head.cameras]  # the head has an order of its own
board = head.triangulate(*seen, method="linear", noise=0.1)
plane = quel.fit_plane(board.points)
print(f"{len(rows)} corners, {plane.rms:.3f} mm RMS off their plane; one alone is known to {board.sigma(plane.normal).mean():.3f} mm")
colours = quel.DeviationScale(plane.residuals.each).colours(plane.residuals.each)
quel.write_cloud(out / "board.ply", board.points, colours)
plt.axes(projection="3d").scatter(*board.points.T, c=colours)
plt.savefig(out / "board.png")
