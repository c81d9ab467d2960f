"""Points or triangles in, a mesh, points or a number out."""

from __future__ import annotations

from typing import Callable, Optional

import numpy.typing as npt

from . import _core
from ._arrays import (
    PointCloud,
    Points,
    callable_or_none,
    cloud_tables,
    index_table,
    real,
    real_table,
    whole,
)
from ._mesh import Mesh
from ._messages import run, run_or_raise

Progress = Optional[Callable[[float], object]]


def reconstruct(
    points: Points,
    spacing: Optional[float] = None,
    spacing_factor: float = 1.0,
    fill_size: int = 0,
    colors: Optional[npt.ArrayLike] = None,
    progress: Progress = None,
) -> Mesh:
    """Rebuild a triangle mesh from an unorganised point cloud; needs no normals. Open borders stay open.

    Args:
        points: (n, 3) numbers in any order of memory, or a `PointCloud`. float32 and float64 are read where they
            lie. Points with a coordinate that is not finite are left out, with a warning.
        spacing: Cell size in units of the points, about the distance between neighbours or a little more.
            None: detected.
        spacing_factor: The cell size as a multiple of the detected spacing. 1.0 keeps the finest detail, noisy
            clouds are better served by 1.5 to 3. Not used when `spacing` is given.
        fill_size: Gaps up to about this many cells are bridged; 2 to 5 mends an uneven scan, 20 closes
            occlusion holes.
        colors: (n, 3) or (n, 4), uint8 or real numbers from 0 to 1; the vertices keep them.
        progress: Called with a fraction from 0.0 to 1.0, about two hundred times. What it raises cancels the
            call and comes out of it. Ctrl-C cancels with or without it.

    Raises:
        ValueError: wrong shapes or arguments, or no mesh came out; the text tells why.
    """
    xyz, rgba = cloud_tables(points, colors)
    given = None if spacing is None else real(spacing, "spacing", above=0.0)
    factor = real(spacing_factor, "spacing_factor", above=0.0)
    fill = whole(fill_size, "fill_size")
    handle = run_or_raise(
        "nothing could be built", _core.reconstruct, xyz, rgba, given, factor, fill, callable_or_none(progress)
    )
    return Mesh._of(handle)


def melt(
    vertices: npt.ArrayLike,
    triangles: npt.ArrayLike,
    spacing: float,
    feature_angle: float = 30.0,
    progress: Progress = None,
) -> Mesh:
    """Make a clean mesh of a triangle soup of any condition, at a resolution.

    Overlaps, cracks below a cell, intersections, wrong windings and bad triangles don't carry over; sharp edges,
    corners and borders stay in their places. What is closer than a cell melts together.

    Args:
        vertices: (n, 3) numbers, as in `reconstruct`.
        triangles: (m, 3) indices of vertices.
        spacing: Cell size in units of the vertices.
        feature_angle: Edges where the surface turns by more degrees than this are sharp. From 360 on only
            borders are.
        progress: As in `reconstruct`.

    Raises:
        ValueError: wrong shapes or arguments, or no mesh came out; the text tells why.
    """
    xyz, indices, cell, angle = _soup(vertices, triangles, spacing, feature_angle)
    handle = run_or_raise(
        "nothing could be built", _core.melt, xyz, indices, cell, angle, callable_or_none(progress)
    )
    return Mesh._of(handle)


def to_cloud(
    vertices: npt.ArrayLike,
    triangles: npt.ArrayLike,
    spacing: float,
    feature_angle: float = 30.0,
    progress: Progress = None,
) -> npt.NDArray:
    """Put an even cloud on triangles: one point, (k, 3) in all, for each cell that a triangle touches.

    Sharp edges, corners and borders have their points exactly on them. Arguments as in `melt`.
    """
    xyz, indices, cell, angle = _soup(vertices, triangles, spacing, feature_angle)
    points, _ = run_or_raise(
        "no points came out", _core.to_cloud, xyz, indices, cell, angle, callable_or_none(progress)
    )
    return points


def fill_gaps(
    vertices: npt.ArrayLike,
    triangles: npt.ArrayLike,
    spacing: float,
    feature_angle: float = 30.0,
    grow_steps: int = 6,
    progress: Progress = None,
) -> npt.NDArray:
    """As `to_cloud`, and behind those points others that bridge the gaps between sheets of triangles.

    Give all of them to `reconstruct` with the same spacing and a fill size of 2 for one surface.

    Args:
        vertices: As in `melt`, and so the next three.
        triangles: See there.
        spacing: See there.
        feature_angle: See there.
        grow_steps: Rims of up to 1.5 times as many cells from each other are joined; 3 to 20 are usual.
        progress: As in `reconstruct`.
    """
    xyz, indices, cell, angle = _soup(vertices, triangles, spacing, feature_angle)
    steps = whole(grow_steps, "grow_steps", low=1)
    points, _ = run_or_raise(
        "no points came out", _core.fill_gaps, xyz, indices, cell, angle, steps, callable_or_none(progress)
    )
    return points


def estimate_spacing(points: Points, progress: Progress = None) -> float:
    """The average distance between neighbouring points, as `reconstruct` detects it.

    Raises:
        ValueError: the points give none, for example because they all lie in one place.
    """
    xyz, _ = cloud_tables(points, None)

    def call() -> Optional[float]:
        spacing = _core.estimate_spacing(xyz, callable_or_none(progress))
        return spacing if spacing > 0.0 else None

    return run_or_raise("the points give no spacing", call)


def sample_scan() -> PointCloud:
    """The built-in sample: a closed, coloured scan of about 100,000 points; the same everywhere."""
    return PointCloud(*_core.sample_scan())


def set_num_threads(num_threads: int) -> None:
    """Set the number of worker threads of all later calls, in the whole process; 0: as the hardware has."""
    run(_core.set_num_threads, whole(num_threads, "num_threads"))


def _soup(
    vertices: npt.ArrayLike, triangles: npt.ArrayLike, spacing: float, feature_angle: float
) -> tuple[npt.NDArray, npt.NDArray, float, float]:
    return (
        real_table(vertices, "vertices"),
        index_table(triangles, "triangles"),
        real(spacing, "spacing", above=0.0),
        real(feature_angle, "feature_angle"),
    )
