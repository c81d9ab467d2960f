"""Triangle meshes from unorganised point clouds, and clean ones from triangle soups.

    import zan

    cloud = zan.read_points("scan.ply")
    mesh = zan.reconstruct(cloud, fill_size=2)
    mesh.save("mesh.ply")

Points and triangles are numpy arrays. The same input gives the same result, bit for bit, for any number of
threads. Warnings of the library go to the logger "zan".
"""

import os as _os

from . import _core
from ._arrays import PointCloud
from ._calls import estimate_spacing, fill_gaps, melt, reconstruct, sample_scan, set_num_threads, to_cloud
from ._files import read_mesh, read_points, write_mesh, write_points
from ._mesh import Mesh
from ._messages import InternalError

__version__ = ".".join(str(part) for part in _core.version())

__all__ = [
    "InternalError",
    "Mesh",
    "PointCloud",
    "estimate_spacing",
    "fill_gaps",
    "melt",
    "read_mesh",
    "read_points",
    "reconstruct",
    "sample_scan",
    "set_num_threads",
    "to_cloud",
    "write_mesh",
    "write_points",
]

# A fork takes the worker threads from the child, which would wait for them: let both sides start new ones.
if hasattr(_os, "register_at_fork"):
    _os.register_at_fork(before=_core.end_threads)
