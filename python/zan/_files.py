"""Files of points and meshes, and the way of writing a file that leaves no half ones behind."""

from __future__ import annotations

import errno
import os
import tempfile
from typing import Callable, Optional, Union

import numpy.typing as npt

from . import _core
from ._arrays import PointCloud, Points, callable_or_none, cloud_tables, whole
from ._mesh import Mesh, Progress
from ._messages import run, run_or_raise

Path = Union[str, "os.PathLike[str]"]

_POINT_ENDINGS = (".ply", ".xyz", ".txt", ".asc", ".bin")
_MESH_ENDINGS_READ = (".ply", ".stl", ".obj")
_MESH_ENDINGS = (".ply", ".stl", ".obj", ".list")


def checked_ending(path: Path, endings: tuple[str, ...]) -> str:
    """The path as text. Raises ValueError unless its ending is one of these."""
    name = os.fsdecode(path)
    ending = os.path.splitext(name)[1]
    if ending not in endings:
        raise ValueError(f"the ending of {name!r} is not one of {', '.join(endings)}")
    return name


def checked_readable(path: Path, endings: tuple[str, ...]) -> str:
    """As above. Raises OSError unless the file can be opened for reading."""
    name = checked_ending(path, endings)
    with open(name, "rb"):
        return name


def replace_file(path: Path, endings: tuple[str, ...], write: Callable[[bytes], bool]) -> None:
    """Let write make a file beside the path, then put it in place. Nothing is left if that fails."""
    name = checked_ending(path, endings)
    handle, part = tempfile.mkstemp(
        prefix=".zan-", suffix=os.path.splitext(name)[1], dir=os.path.dirname(name) or "."
    )
    os.close(handle)
    try:
        if not write(os.fsencode(part)):
            raise OSError(errno.EIO, "the file could not be written whole", name)
        os.chmod(part, 0o666 & ~_umask())
        os.replace(part, name)
    except BaseException:
        os.unlink(part)
        raise


def read_points(path: Path, color_column: Optional[int] = None) -> PointCloud:
    """Read points from .ply, .xyz, .txt, .asc (three numbers at the start of a line) or .bin, with their colours.

    Args:
        path: The file.
        color_column: Of a text file: the column, counted from 1, where red stands, with green and blue behind it.

    Raises:
        ValueError: another ending, no points in it, or not what the ending says.
        OSError: no such file, or not readable.
    """
    name = checked_readable(path, _POINT_ENDINGS)
    column = 0 if color_column is None else whole(color_column, "color_column", low=4)
    cloud = PointCloud(*run_or_raise(f"{name!r} could not be read", _core.read_points, os.fsencode(name), column))
    if len(cloud.points) == 0:
        raise ValueError(f"{name!r} holds no points")
    return cloud


def write_points(
    path: Path, points: Points, colors: Optional[npt.ArrayLike] = None, ascii: bool = False
) -> None:
    """Write points, with their colours, as .ply (binary, or text if `ascii`), .xyz, .txt, .asc or, without, .bin.

    A file that was there is replaced only by a whole new one.
    """
    xyz, rgba = cloud_tables(points, colors)
    replace_file(path, _POINT_ENDINGS, lambda name: run(_core.write_points, name, xyz, rgba, bool(ascii)))


def read_mesh(path: Path, progress: Progress = None) -> Mesh:
    """Read the triangles of .stl, .ply or .obj, with their colours, as `Mesh` takes them. Polygons become fans.

    Raises:
        ValueError: another ending, no triangles in it, or not what the ending says.
        OSError: no such file, or not readable.
    """
    name = checked_readable(path, _MESH_ENDINGS_READ)
    handle = run_or_raise(
        f"no mesh in {name!r}", _core.read_mesh, os.fsencode(name), callable_or_none(progress)
    )
    return Mesh._of(handle)


def write_mesh(path: Path, mesh: Mesh, ascii: bool = False) -> None:
    """Write a mesh, with its colours, as .ply, .stl (binary, or text if `ascii`), .obj or .list (Geomview).

    PLY holds float32 where that moves no vertex by more than a thousandth of a cell. A file that was there is
    replaced only by a whole new one.

    Raises:
        ValueError: another ending.
        OSError: the file could not be written.
    """
    replace_file(path, _MESH_ENDINGS, lambda name: run(mesh._handle.write, name, bool(ascii)))


def _umask() -> int:
    mask = os.umask(0)
    os.umask(mask)
    return mask
