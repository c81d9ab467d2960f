"""The mesh."""

from __future__ import annotations

import math
import os
from typing import Callable, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _core
from ._arrays import callable_or_none, color_table, index_table, real, real_table, whole
from ._messages import run, run_or_raise

Progress = Optional[Callable[[float], object]]


class Mesh:
    """A triangle mesh, in the library's memory.

    `vertices`, `triangles` and `colors` make new arrays each time, which are yours: they stay valid whatever
    happens to the mesh, and the mesh does not see what you write into them. Several threads may use one mesh: the
    calls wait for each other. `copy.copy`, `copy.deepcopy` and `pickle` give a mesh of its own with the same
    vertices, triangles, colours and cell size.
    """

    _handle: _core.Mesh

    def __init__(
        self,
        vertices: npt.ArrayLike,
        triangles: npt.ArrayLike,
        colors: Optional[npt.ArrayLike] = None,
        progress: Progress = None,
    ) -> None:
        """A mesh of these very triangles: equal vertices become one, and that is all. `melt` mends triangles.

        Triangles with a coordinate that is not finite, of less than three different vertices or with the vertices
        of an earlier one are left out, with a warning. Vertices that no triangle uses are dropped; the others keep
        their order, as the triangles do.

        Args:
            vertices: (n, 3) numbers, as in `reconstruct`.
            triangles: (m, 3) indices of vertices.
            colors: Of the vertices, as in `reconstruct`.
            progress: As in `reconstruct`.

        Raises:
            ValueError: wrong shapes or arguments, or no triangle is left.
        """
        xyz = real_table(vertices, "vertices")
        rgba = color_table(colors, len(xyz))
        indices = index_table(triangles, "triangles")
        self._handle = run_or_raise(
            "no triangle is left", _core.mesh_from_triangles, xyz, rgba, indices, 0.0, callable_or_none(progress)
        )

    @classmethod
    def _of(cls, handle: _core.Mesh) -> "Mesh":
        mesh = cls.__new__(cls)
        mesh._handle = handle
        return mesh

    @classmethod
    def _restore(
        cls,
        vertices: npt.NDArray[np.float64],
        triangles: npt.NDArray[np.int32],
        colors: Optional[npt.NDArray[np.uint8]],
        cell_size: float,
    ) -> "Mesh":
        return cls._of(
            run_or_raise(
                "no triangle is left", _core.mesh_from_triangles, vertices, colors, triangles, cell_size, None
            )
        )

    def __reduce__(self) -> Tuple[object, ...]:
        return type(self)._restore, self._handle.state()

    @property
    def vertices(self) -> npt.NDArray[np.float64]:
        """(n, 3): the vertices that a triangle uses."""
        return self._handle.vertices()

    @property
    def triangles(self) -> npt.NDArray[np.int32]:
        """(m, 3): indices of vertices; seen from outside they run counterclockwise."""
        return self._handle.triangles()

    @property
    def colors(self) -> Optional[npt.NDArray[np.uint8]]:
        """(n, 4): red, green, blue and alpha of the vertices; None if none has a colour."""
        return self._handle.colors()

    @property
    def cell_size(self) -> float:
        """Edge length of the cells of the grid that the mesh came from."""
        return self._handle.cell_size()

    @property
    def average_edge_length(self) -> float:
        return self._handle.average_edge_length()

    def border_edges(self) -> npt.NDArray[np.int32]:
        """(k, 2): the edges of one triangle only, as indices of vertices in the order of that triangle."""
        triangles = self.triangles.astype(np.int64)
        edges = triangles[:, [0, 1, 1, 2, 2, 0]].reshape(-1, 2)
        keys = edges.min(axis=1) * (triangles.max(initial=0) + 1) + edges.max(axis=1)
        _, first, count = np.unique(keys, return_index=True, return_counts=True)
        return edges[np.sort(first[count == 1])].astype(np.int32)

    def edge_flips(self, progress: Progress = None) -> None:
        """Turn edges to the other diagonal where that makes the surface straighter.

        Vertices stay where they are. `reconstruct` has done this twice already.
        """
        run(self._handle.edge_flips, callable_or_none(progress))

    def anneal(self, progress: Progress = None) -> None:
        """As `edge_flips`, by simulated annealing: for a rough surface. Takes some fifty times as long."""
        run(self._handle.anneal, callable_or_none(progress))

    def reduce(
        self, max_length: float = math.inf, max_angle: float = 10.0, progress: Progress = None
    ) -> int:
        """Collapse edges, the short ones in flat places first; returns how many triangles that removed.

        Args:
            max_length: No edge longer than this collapses, in units of the mesh; infinity: by angle alone.
            max_angle: No collapse turns a triangle by more degrees. 0 removes what is exactly flat, 5 to 30 are
                usual.
        """
        length = real(max_length, "max_length", allow_inf=True)
        angle = real(max_angle, "max_angle")
        return run(self._handle.reduce, length, angle, callable_or_none(progress))

    def smooth(self, num_iterations: int = 1, progress: Progress = None) -> None:
        """Move every vertex that is not on a border to the mean of its neighbours, so many times.

        Some triangles get flat or turn over by that: `repair_shapes` mends them.
        """
        run(self._handle.smooth, whole(num_iterations, "num_iterations"), callable_or_none(progress))

    def repair_shapes(self, progress: Progress = None) -> int:
        """Mend triangles with an angle below 10 degrees and folds; returns how many steps that took.

        Edges turn or collapse: vertices keep their places or vanish. `reconstruct` and `melt` have done this.
        """
        return run(self._handle.repair_shapes, callable_or_none(progress))

    def close_holes(self, max_edges: Optional[int] = None, progress: Progress = None) -> int:
        """Close holes with patches that continue the surface; returns how many were closed.

        The outer rim of an open surface is no hole.

        Args:
            max_edges: Only holes with at most so many edges round them. None: of any size.
        """
        limit = 0 if max_edges is None else whole(max_edges, "max_edges", low=1)
        return run(self._handle.close_holes, limit, callable_or_none(progress))

    def sharpen_edges(self, feature_angle: float = 40.0, progress: Progress = None) -> int:
        """Give the sharp edges that the cells cut off back; returns how many vertices were added on them.

        For meshes of `reconstruct`, before reduction and not after smoothing. Rounded edges stay, and so do
        those beside faces that are very noisy.

        Args:
            feature_angle: Only edges where the surface turns by more degrees than this, 10 to 90.
        """
        angle = real(feature_angle, "feature_angle")
        if not 10.0 <= angle <= 90.0:
            raise ValueError(f"feature_angle must be from 10 to 90, is {angle:g}")
        return run(self._handle.sharpen_edges, angle, callable_or_none(progress))

    def colorize_filled_holes(self) -> None:
        """Give vertices without a colour the mean colour of their neighbours, from the coloured ones on."""
        run(self._handle.colorize_filled_holes)

    def contrast_spread(self, low_fraction: float = 0.01, high_fraction: float = 0.01) -> None:
        """Stretch the colours over the whole range; the fractions may be cut off at its ends."""
        run(self._handle.contrast_spread, real(low_fraction, "low_fraction"), real(high_fraction, "high_fraction"))

    def save(self, path: Union[str, "os.PathLike[str]"], ascii: bool = False) -> None:
        """Write the mesh to a file: as `write_mesh`."""
        from ._files import write_mesh  # which needs this class

        write_mesh(path, self, ascii)

    def __len__(self) -> int:
        """The number of triangles."""
        return self._handle.num_triangles()

    def __repr__(self) -> str:
        return f"<zan.Mesh of {len(self.vertices)} vertices and {len(self)} triangles>"
