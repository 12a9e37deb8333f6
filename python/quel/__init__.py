"""Measuring with a calibrated head of three cameras: points, pixels, rays and their uncertainty as NumPy arrays.

    >>> import quel
    >>> head = quel.make_head("board-three-views.json")
    >>> head
    <quel.Head QUEL0001-1: 3 cameras, 640 x 480 pixels>
    >>> pixels = [head.project([[100.0, 62.5, 0.0]], camera=k) for k in range(3)]
    >>> head.triangulate(*pixels, noise=0.05)
    <quel.Triangulated: 1 of 1 points>

Lengths are millimetres, pixel (0, 0) is the centre of the top-left pixel, arrays are float64 of shape (N, 3) and (N, 2); others
are converted, or refused by a TypeError. Failures are `quel.Error`.
"""

from ._clouds import read_cloud, write_cloud, xyz
from ._error import Error
from ._formats import Cameras, Exported, export_cameras, import_cameras
from ._geometry import (
    DeviationScale, Index, Line, Partition, Plane, Residuals, fit_line, fit_plane, index_by_image, index_by_space, partition,
)
from ._head import (
    Camera, DistortionFit, Head, Identity, Lens, camera_type, lens_models, make_head, new_camera_type,
)
from ._measure import Status, Triangulated
from ._quel import version
from ._store import (
    BlockNames, Material, NumberedSetup, Operation, OperationList, Part, Plate, Project, ProjectTree, Setup, block_names,
    plates, project_tree, read_materials, read_operations, setup_numbers, write_materials,
)

__version__ = version()

__all__ = [
    "BlockNames", "Camera", "Cameras", "DeviationScale", "DistortionFit", "Error", "Exported", "Head", "Identity",
    "Index", "Lens", "Line", "Material", "NumberedSetup", "Operation", "OperationList", "Part", "Partition", "Plane",
    "Plate", "Project", "ProjectTree", "Residuals", "Setup", "Status", "Triangulated", "block_names", "camera_type",
    "export_cameras", "fit_line", "fit_plane", "import_cameras", "index_by_image", "index_by_space", "lens_models",
    "make_head", "new_camera_type", "partition", "plates", "project_tree", "read_cloud", "read_materials",
    "read_operations", "setup_numbers", "write_cloud", "write_materials", "xyz",
]
