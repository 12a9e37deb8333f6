"""Three cameras that OpenCV calibrated measure a board: python3 board.py DATA OUT

Makes a head of the cameras, meets the rays of the board's corners in space, fits a plane, and writes board.ply, coloured by
how far each corner lies off it, and board.png.
"""
import json, sys
from pathlib import Path

import matplotlib; matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np
import quel

data, out = map(Path, sys.argv[1:])
cameras = quel.import_cameras("opencv", sorted(data.glob("board-opencv/*.yml")), unit="mm")
head = quel.make_head(cameras)
corners = json.loads((data / "board-three-views.json").read_text())
