"""zan and Open3D: what numpy sees of a point cloud goes in, what comes out goes into a mesh.

with_open3d.py     a coloured cloud of a torus becomes a mesh of Open3D
"""

import numpy as np
import open3d
import zan


def main():
    torus = open3d.geometry.TriangleMesh.create_torus(radial_resolution=200, tubular_resolution=80)
    cloud = open3d.geometry.PointCloud(torus.vertices)
    cloud.colors = open3d.utility.Vector3dVector(np.clip(np.abs(np.asarray(cloud.points)), 0.0, 1.0))

    # Colours from 0 to 1, as Open3D has them, are taken as they are.
    mesh = zan.reconstruct(np.asarray(cloud.points), colors=np.asarray(cloud.colors), fill_size=3)

    result = open3d.geometry.TriangleMesh(
        open3d.utility.Vector3dVector(mesh.vertices), open3d.utility.Vector3iVector(mesh.triangles)
    )
    result.vertex_colors = open3d.utility.Vector3dVector(mesh.colors[:, :3] / 255.0)
    result.compute_vertex_normals()
    print(f"{len(result.triangles)} triangles, watertight: {result.is_watertight()}")


if __name__ == "__main__":
    main()
