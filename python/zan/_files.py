"""Files of points, and the way of writing a file that leaves no half ones behind."""

from __future__ import annotations

import errno
import os
import tempfile
from typing import Callable, Optional, Union

import numpy.typing as npt

from . import _core
from ._arrays import PointCloud, Points, cloud_tables
from ._messages import run, run_or_raise

Path = Union[str, "os.PathLike[str]"]

_POINT_ENDINGS = (".ply", ".xyz", ".txt", ".asc", ".bin")


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


def read_points(path: Path) -> PointCloud:
    """Read points from .ply, .xyz, .txt, .asc (three numbers at the start of a line) or .bin.

    Raises:
        ValueError: another ending, no points in it, or not what the ending says.
        OSError: no such file, or not readable.
    """
    name = checked_readable(path, _POINT_ENDINGS)
    cloud = PointCloud(*run_or_raise(f"{name!r} could not be read", _core.read_points, os.fsencode(name)))
    if len(cloud.points) == 0:
        raise ValueError(f"{name!r} holds no points")
    return cloud


def write_points(
    path: Path, points: Points, colors: Optional[npt.ArrayLike] = None, ascii: bool = False
) -> None:
    """Write points as .ply (float32; binary, or text if `ascii`), .xyz, .txt, .asc (18 digits) or .bin (float64).

    Colours are for .ply. A file that was there is replaced only by a whole new one.
    """
    xyz, rgba = cloud_tables(points, colors)
    replace_file(path, _POINT_ENDINGS, lambda name: run(_core.write_points, name, xyz, rgba, bool(ascii)))


def _umask() -> int:
    mask = os.umask(0)
    os.umask(mask)
    return mask
