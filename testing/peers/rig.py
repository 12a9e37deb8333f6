#!/usr/bin/python3
"""A rig of three cameras as OpenCV, mrcal and COLMAP write it, and where they see points.

    testing/peers/rig.py FILE      writes the files and the figures as JSON; `-` is standard output

The rig has quarter turns of its images, unequal shifts and principal points off the centre, so that an inverted pose, a chain
taken the wrong way round, half a pixel and a swapped tangential pair each move its pixels. Needs python3-opencv, python3-mrcal and
colmap of Debian (scripts/setup --peers). rig.json beside this file is what it wrote with OpenCV 4.6.0, mrcal 2.2 and COLMAP 3.8;
tests compare with it, and with what it writes anew where the peers are there. Kalibr and ROS are no packages of Debian: their files
are laid out here by their documentation, and what they mean is computed by the chain of mrcal's poses and by OpenCV.
"""
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

try:
    import cv2
    import mrcal
    import numpy as np
except ImportError:
    sys.exit(77)  # Who asked compares with what is kept.
if not shutil.which("colmap"):
    sys.exit(77)

SIZE = (1624, 1236)
NAMES = ["a", "b", "c"]
K = [(1510.25, 1502.5, 790.75, 641.5), (1495.5, 1499.0, 845.25, 598.0), (1532.0, 1527.75, 799.5, 633.25)]
SQUARE = [(f, f, *c) for f, _, *c in K]
D5 = [(-0.112, 0.087, 1.7e-3, -9.1e-4, -0.021), (-0.097, 0.065, -1.2e-3, 2.3e-3, 0.013), (-0.131, 0.104, 8.3e-4, 1.9e-3, -0.034)]
D14 = [(*d, 0.021, -0.034, 0.012, 1.1e-3, -4.2e-4, -7.3e-4, 2.6e-4, 0.011, -0.007) for d in D5]
FISHEYE = [(-0.031, 0.0124, -0.0087, 0.0021), (-0.027, 0.0104, -0.0047, 0.0011), (-0.035, 0.0154, -0.0067, 0.0019)]


def quarter(turns):
    """Exactly."""
    c, s = [(1, 0), (0, 1), (-1, 0), (0, -1)][turns % 4]
    return np.array([[c, -s, 0], [s, c, 0], [0, 0, 1.0]])


def towards(at, target):
    """World to camera for one that stands at `at`, its image upright in a world whose y points down."""
    z = (target - at) / np.linalg.norm(target - at)
    x = np.cross([0.0, 1.0, 0.0], z)
    x /= np.linalg.norm(x)
    return np.array([x, np.cross(z, x), z])


# World to camera, millimetres: b is the uppermost, c the left and a the right one, and no axis meets another.
AT = [np.array([365.0, 204.75, 44.25]), np.array([65.5, -256.0, 17.0]), np.array([-201.5, 137.25, -31.5])]
AIMS = [np.array([25.0, -30.0, 890.0]), np.array([42.0, -15.0, 925.0]), np.array([51.0, -33.0, 905.0])]
R = [quarter(n) @ towards(at, aim) for n, at, aim in zip((1, 3, 0), AT, AIMS)]
T = [-r @ at for r, at in zip(R, AT)]


def world_points():
    rng = np.random.default_rng(17)
    return np.stack([rng.uniform(-150, 230, 54), rng.uniform(-210, 160, 54), rng.uniform(780, 1040, 54)], axis=1)


POINTS = world_points()


def matrix(k):
    return np.array([[k[0], 0, k[2]], [0, k[1], k[3]], [0, 0, 1]])


def by_opencv(k, d, r, t):
    return cv2.projectPoints(POINTS, cv2.Rodrigues(r)[0], t, k, np.array(d))[0].reshape(-1, 2)


def by_opencv_fisheye(k, d, r, t):
    p = POINTS.reshape(-1, 1, 3)
    return cv2.fisheye.projectPoints(p, cv2.Rodrigues(r)[0], t.reshape(3, 1), k, np.array(d))[0].reshape(-1, 2)


def storage(folder, name, entries):
    """What cv2.FileStorage writes, and reads again."""
    path = str(folder / name)
    out = cv2.FileStorage(path, cv2.FILE_STORAGE_WRITE)
    for key, value in entries.items():
        out.write(key, value)
    out.release()
    back = cv2.FileStorage(path, cv2.FILE_STORAGE_READ)
    read = {key: back.getNode(key).mat() for key, value in entries.items() if isinstance(value, np.ndarray)}
    return pathlib.Path(path).read_text(), read


def case(name, kind, files, pixels, **options):
    return dict(name=name, format=kind, files=[dict(name=n, text=t) for n, t in files], pixels=pixels, options=options)


def opencv_singles(folder, ending, lenses, fisheye=False, k=K, more=""):
    files, pixels = [], []
    for i, name in enumerate(NAMES):
        entries = dict(image_width=SIZE[0], image_height=SIZE[1], camera_matrix=matrix(k[i]),
                       distortion_coefficients=np.array(lenses[i]).reshape(-1, 1), R=R[i], T=T[i].reshape(3, 1))
        if fisheye:
            entries["fisheye_model"] = 1
        text, read = storage(folder, f"{name}.{ending}", entries)
        files.append((f"{name}.{ending}", text))
        see = by_opencv_fisheye if fisheye else by_opencv
        pixels.append(see(read["camera_matrix"], read["distortion_coefficients"], read["R"], read["T"]))
    what = "fisheye" if fisheye else str(len(lenses[0]))
    return case(f"OpenCV, {what}, {ending}{more}", "opencv", files, dict(zip(NAMES, pixels)), unit=1)


def relative(i, k):
    """The pose of camera k before camera i."""
    r = R[k] @ R[i].T
    return r, T[k] - r @ T[i]


def stereo(folder, name, i, k, size=True):
    r, t = relative(i, k)
    entries = dict(image_size=np.array(SIZE, float)) if size else {}
    entries |= dict(M1=matrix(K[i]), D1=np.array([D5[i]]), M2=matrix(K[k]), D2=np.array([D5[k]]), R=r, T=t.reshape(3, 1))
    return storage(folder, name, entries)


def opencv_stereo(folder, second):
    """Two pairs that share camera a (second = (0, 2)), or a chain (second = (1, 2)). The world is that of camera a."""
    one, read1 = stereo(folder, "first.yml", 0, 1)
    two, read2 = stereo(folder, "second.yml", *second)
    points = np.ascontiguousarray((R[0] @ POINTS.T).T + T[0])
    # As matrices: a rotation vector of nearly half a turn would lose digits.
    pose = lambda read: np.vstack([read["R"], read["T"].reshape(1, 3)])
    first, last = pose(read1), pose(read2)
    if second == (1, 2):
        last = mrcal.compose_Rt(last, first)
    none = np.zeros(3)

    def see(pose, read, n):
        inside = points if pose is None else mrcal.transform_point_Rt(pose, points)
        return cv2.projectPoints(inside, none, none, read[f"M{n}"], read[f"D{n}"])[0].reshape(-1, 2)

    pixels = {"first-1": see(None, read1, 1), "first-2": see(first, read1, 2), "second-2": see(last, read2, 2)}
    what = "star" if second == (0, 2) else "chain"
    return case(f"OpenCV, stereo {what}", "opencv", [("first.yml", one), ("second.yml", two)], pixels, unit=1, points=points)


def by_mrcal(models):
    metres = 1e-3 * POINTS
    return {n: mrcal.project(mrcal.transform_point_rt(m.extrinsics_rt_fromref(), metres), *m.intrinsics())
            for n, m in zip(NAMES, models)}


def mrcal_models(folder, lens, more, k=K, name=""):
    files, models = [], []
    for i, camera in enumerate(NAMES):
        rt = np.array([*cv2.Rodrigues(R[i])[0].ravel(), *(1e-3 * T[i])])
        model = mrcal.cameramodel(intrinsics=(lens, np.array([*k[i], *more[i]])), imagersize=np.array(SIZE),
                                  extrinsics_rt_fromref=rt)
        path = folder / f"{camera}.cameramodel"
        model.write(str(path))
        files.append((path.name, path.read_text()))
        models.append(mrcal.cameramodel(str(path)))
    return case(f"mrcal, {lens.removeprefix('LENSMODEL_')}{name}", "mrcal", files, by_mrcal(models))


def mrcal_cases(folder):
    splined = "LENSMODEL_SPLINED_STEREOGRAPHIC_order=3_Nx=11_Ny=9_fov_x_deg=80"
    surface = [np.random.default_rng(i).uniform(-0.01, 0.01, 198) for i in range(3)]
    none = [()] * 3
    return [mrcal_models(folder, "LENSMODEL_PINHOLE", none), mrcal_models(folder, "LENSMODEL_STEREOGRAPHIC", none),
            mrcal_models(folder, "LENSMODEL_OPENCV4", [d[:4] for d in D5]), mrcal_models(folder, "LENSMODEL_OPENCV5", D5),
            mrcal_models(folder, "LENSMODEL_OPENCV8", [d[:8] for d in D14]),
            mrcal_models(folder, "LENSMODEL_OPENCV12", [d[:12] for d in D14]),
            mrcal_models(folder, "LENSMODEL_CAHVOR", [(0.01, -0.02, 0.004, -0.08, 0.02)] * 3),
            mrcal_models(folder, splined, surface)]


def kalibr(lens):
    """cam0 is a, then b and c, each before the one in front of it. The world is that of cam0."""
    d = [x[:4] for x in D5] if lens == "radtan" else FISHEYE
    text, chain, pixels = "", None, {}
    points = np.ascontiguousarray((R[0] @ POINTS.T).T + T[0])
    for i in range(3):
        text += f"cam{i}:\n"
        if i > 0:
            r, t = relative(i - 1, i)
            step = np.vstack([r, 1e-3 * t])
            rows = np.hstack([r, 1e-3 * t.reshape(3, 1)]).tolist() + [[0.0, 0.0, 0.0, 1.0]]
            text += "  T_cn_cnm1:\n" + "".join(f"  - {row}\n" for row in rows)
            chain = step if i == 1 else mrcal.compose_Rt(step, chain)
        text += f"  cam_overlaps: [{', '.join(str(n) for n in range(3) if n != i)}]\n  camera_model: pinhole\n"
        text += f"  distortion_coeffs: {list(d[i])}\n  distortion_model: {lens}\n  intrinsics: {list(K[i])}\n"
        text += f"  resolution: [{SIZE[0]}, {SIZE[1]}]\n  rostopic: /{NAMES[i]}/image_raw\n"
        inside = 1e-3 * points if i == 0 else mrcal.transform_point_Rt(chain, 1e-3 * points)
        if lens == "radtan":
            pixels[f"cam{i}"] = mrcal.project(inside, "LENSMODEL_OPENCV4", np.array([*K[i], *d[i]]))
        else:
            p = inside.reshape(-1, 1, 3)
            pixels[f"cam{i}"] = cv2.fisheye.projectPoints(p, np.zeros(3), np.zeros(3), matrix(K[i]), np.array(d[i]))[0].reshape(-1, 2)
    return case(f"Kalibr, {lens}", "kalibr", [("camchain.yaml", text)], pixels, points=points)


def ros(model, lenses):
    see = by_opencv_fisheye if model == "equidistant" else by_opencv
    files, pixels, poses = [], {}, []
    for i, name in enumerate(NAMES):
        k = matrix(K[i])
        rows = lambda m: "[" + ", ".join(repr(float(x)) for x in np.ravel(m)) + "]"
        block = lambda key, r, c, m: f"{key}:\n  rows: {r}\n  cols: {c}\n  data: {rows(m)}\n"
        text = f"image_width: {SIZE[0]}\nimage_height: {SIZE[1]}\ncamera_name: {name}\n" + block("camera_matrix", 3, 3, k)
        text += f"distortion_model: {model}\n" + block("distortion_coefficients", 1, len(lenses[i]), lenses[i])
        text += block("rectification_matrix", 3, 3, np.eye(3)) + block("projection_matrix", 3, 4, np.hstack([k, np.zeros((3, 1))]))
        files.append((f"{name}.yaml", text))
        pixels[name] = see(k, lenses[i], R[i], T[i])
        poses.append(dict(name=name, rotation=R[i], translation=T[i]))
    return case(f"ROS, {model}", "ros", files, pixels, poses=json.dumps(dict(cameras=poses), default=lambda a: a.tolist()))


# COLMAP has no command that projects, so what its models see is their documented formula.
def colmap_pixels(line, r, t):
    words = line.split()
    p = [float(w) for w in words[4:]]
    inside = (r @ POINTS.T).T + t
    x, y = inside[:, 0] / inside[:, 2], inside[:, 1] / inside[:, 2]
    fx, fy, cx, cy = (p[0], p[0], *p[1:3]) if words[1] in ("SIMPLE_PINHOLE", "SIMPLE_RADIAL", "RADIAL") else p[:4]
    r2 = x * x + y * y
    u, v = x, y
    if words[1] == "RADIAL":
        radial = 1 + p[3] * r2 + p[4] * r2 * r2
        u, v = x * radial, y * radial
    elif words[1] in ("OPENCV", "FULL_OPENCV"):
        k = p[4:] + [0] * 8
        radial = 1 + k[0] * r2 + k[1] * r2**2
        if words[1] == "FULL_OPENCV":
            radial = (radial + k[4] * r2**3) / (1 + k[5] * r2 + k[6] * r2**2 + k[7] * r2**3)
        u = x * radial + 2 * k[2] * x * y + k[3] * (r2 + 2 * x * x)
        v = y * radial + 2 * k[3] * x * y + k[2] * (r2 + 2 * y * y)
    return np.stack([fx * u + cx - 0.5, fy * v + cy - 0.5], axis=1)


def rotation(q):
    w, x, y, z = q / np.linalg.norm(q)
    return np.array([[1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)],
                     [2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)],
                     [2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)]])


def quaternion(r):
    q = mrcal.quat_from_R(r)
    return q if q[0] >= 0 else -q


def floats(values):
    return " ".join(repr(float(v)) for v in values)


def colmap_cameras():
    k = [(a, b, c + 0.5, d + 0.5) for a, b, c, d in K]
    return (f"1 FULL_OPENCV {SIZE[0]} {SIZE[1]} {floats([*k[0], *D14[0][:8]])}\n"
            f"2 OPENCV {SIZE[0]} {SIZE[1]} {floats([*k[1], *D5[1][:4]])}\n"
            f"3 RADIAL {SIZE[0]} {SIZE[1]} {floats([k[2][0], *k[2][2:], *D5[2][:2]])}\n")


def colmap(folder):
    """Lengths are in units of 250 mm. COLMAP reads what is written here, and writes it again."""
    scale = 1 / 250
    images = "".join(f"{i + 1} {floats([*quaternion(R[i]), *(scale * T[i])])} {i + 1} {n}.png\n\n" for i, n in enumerate(NAMES))
    (folder / "in").mkdir()
    (folder / "out").mkdir()
    for name, text in (("cameras.txt", colmap_cameras()), ("images.txt", images), ("points3D.txt", "")):
        (folder / "in" / name).write_text(text)
    subprocess.run(["colmap", "model_converter", "--input_path", folder / "in", "--output_path", folder / "out", "--output_type", "TXT"],
                   check=True, capture_output=True)
    files = [(n, (folder / "out" / n).read_text()) for n in ("cameras.txt", "images.txt")]
    lines = {w.split()[0]: w for w in files[0][1].splitlines() if not w.startswith("#")}
    pixels = {}
    for line in files[1][1].splitlines():
        if line.startswith("#") or not line.strip():
            continue
        words = line.split()
        q, t = np.array([float(w) for w in words[1:5]]), np.array([float(w) for w in words[5:8]])
        pixels[words[9]] = colmap_pixels(lines[words[8]], rotation(q), t / scale)
    return case("COLMAP", "colmap", files, pixels, unit=250)


def colmap_rig():
    """The rig has camera 2 for its reference; the frame puts it into the world. Laid out by the documentation of COLMAP 3.12."""
    scale = 1 / 250
    rig = "# RIG_ID, NUM_SENSORS, REF_SENSOR_TYPE, REF_SENSOR_ID, SENSORS[]\n1 3 CAMERA 2"
    for i in (0, 2):
        r, t = relative(1, i)
        rig += f" CAMERA {i + 1} 1 {floats([*quaternion(r), *(scale * t)])}"
    frame = f"7 1 {floats([*quaternion(R[1]), *(scale * T[1])])} 3 CAMERA 1 11 CAMERA 2 12 CAMERA 3 13\n"
    none = "1 0 0 0 0 0 0"  # Those of the frames count.
    images = "".join(f"{i + 11} {none} {i + 1} {n}.png\n1.5 2.5 -1\n" for i, n in enumerate(NAMES))
    lines = colmap_cameras().splitlines()
    pixels = {f"{n}.png": colmap_pixels(lines[i], R[i], T[i]) for i, n in enumerate(NAMES)}
    files = [("rigs.txt", rig + "\n"), ("frames.txt", frame), ("cameras.txt", colmap_cameras()), ("images.txt", images)]
    return case("COLMAP, a rig", "colmap", files, pixels, unit=250)


def cases(folder):
    lenses = {4: [d[:4] for d in D5], 5: D5, 8: [d[:8] for d in D14], 12: [d[:12] for d in D14], 14: D14}
    return [*(opencv_singles(folder, "yml", d) for d in lenses.values()), opencv_singles(folder, "xml", D5),
            opencv_singles(folder, "json", lenses[8]), opencv_singles(folder, "yml", FISHEYE, fisheye=True),
            opencv_stereo(folder, (0, 2)), opencv_stereo(folder, (1, 2)), *mrcal_cases(folder), kalibr("radtan"), kalibr("equi"),
            ros("plumb_bob", D5), ros("rational_polynomial", lenses[8]), ros("equidistant", FISHEYE), colmap(folder), colmap_rig(),
            opencv_singles(folder, "yml", D5, k=SQUARE, more=", square pixels"),
            mrcal_models(folder, "LENSMODEL_OPENCV5", D5, k=SQUARE, name=", square pixels")]


with tempfile.TemporaryDirectory() as name:
    made = cases(pathlib.Path(name))
text = json.dumps(dict(points=POINTS, cases=made), default=lambda a: a.tolist(), indent=0) + "\n"
if sys.argv[1] == "-":
    print(text, end="")
else:
    open(sys.argv[1], "w").write(text)
