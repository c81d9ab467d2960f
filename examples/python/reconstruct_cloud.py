"""A program in one file: coloured points in, coloured mesh out, progress on the way.

reconstruct_cloud.py OUT.ply            a torus that the program makes itself
reconstruct_cloud.py OUT.ply IN.ply     a cloud from a file (.ply, .xyz, .txt, .asc, .bin)
"""

import sys

import numpy as np
import zan


def make_torus(num_around=300, num_tube=120):
    """An even torus whose colours run around it, red one way and green the other."""
    around, tube = np.meshgrid(np.arange(num_around) / num_around, np.arange(num_tube) / num_tube)
    a, t = 2.0 * np.pi * around, 2.0 * np.pi * tube
    radius = 1.0 + 0.4 * np.cos(t)
    points = np.stack([radius * np.cos(a), radius * np.sin(a), 0.4 * np.sin(t)], axis=-1).reshape(-1, 3)
    colors = np.stack([around, tube, np.full_like(tube, 0.5)], axis=-1).reshape(-1, 3)  # 0.0 to 1.0
    return points, colors


def print_percent(fraction):
    """Gets a call about two hundred times a run. Raising from here cancels the run."""
    print(f"\r{100.0 * fraction:3.0f} %", end="", file=sys.stderr)


def main():
    if len(sys.argv) < 2:
        sys.exit("usage: reconstruct_cloud.py OUT.ply [IN]")
    points, colors = zan.read_points(sys.argv[2]) if len(sys.argv) > 2 else make_torus()

    # Cells of the detected spacing; gaps of up to two cells are bridged.
    mesh = zan.reconstruct(points, colors=colors, fill_size=2, progress=print_percent)
    print(f"\n{len(points)} points, {len(mesh)} triangles")

    # The arrays are numpy's: the area is the sum of half the lengths of the cross products.
    a, b, c = (mesh.vertices[mesh.triangles[:, k]] for k in range(3))
    print(f"area {0.5 * np.linalg.norm(np.cross(b - a, c - a), axis=1).sum():.3f}")
    mesh.save(sys.argv[1])


if __name__ == "__main__":
    main()
