"""zan and trimesh: their arrays are each other's as they are.

with_trimesh.py     two boxes that run through each other become one clean mesh
"""

import numpy as np
import trimesh
import zan


def main():
    boxes = trimesh.util.concatenate(
        trimesh.creation.box((2.0, 1.0, 1.0)), trimesh.creation.box((1.0, 2.0, 0.7))
    )
    mesh = zan.melt(boxes.vertices, boxes.faces, spacing=0.05)
    melted = trimesh.Trimesh(mesh.vertices, mesh.triangles)
    print(f"volume {melted.volume:.4f}, watertight: {melted.is_watertight}")

    # Colours of vertices come with every alpha, as trimesh has them; points sampled from a mesh are a cloud.
    points, _ = trimesh.sample.sample_surface(melted, 50000, seed=1)
    colors = np.uint8(np.clip(100.0 + 60.0 * points, 0, 255))
    rebuilt = zan.reconstruct(points, spacing_factor=2.0, fill_size=5, colors=colors)
    colored = trimesh.Trimesh(rebuilt.vertices, rebuilt.triangles, vertex_colors=rebuilt.colors)
    print(f"{len(colored.faces)} triangles from {len(points)} points")


if __name__ == "__main__":
    main()
