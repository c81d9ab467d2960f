"""Wrong arguments: what is told, and that it is told before anything runs."""

import numpy as np
import pytest
import shapes
import zan

POINTS = shapes.sphere(500)
VERTICES, TRIANGLES = shapes.cube()


@pytest.mark.parametrize(
    ("call", "text"),
    [
        (lambda: zan.reconstruct(POINTS[:, :2]), r"points must have the shape \(n, 3\), not \(500, 2\)"),
        (lambda: zan.reconstruct(POINTS.ravel()), r"shape \(n, 3\), not \(1500,\)"),
        (lambda: zan.reconstruct(POINTS + 1j), "points must be real numbers, not complex128"),
        (lambda: zan.reconstruct([["a", "b", "c"]]), "points must be real numbers"),
        (lambda: zan.reconstruct(np.zeros((0, 3))), "nothing could be built"),
        (lambda: zan.reconstruct(np.zeros((9, 3))), "all points of the cloud lie in one place"),
        (lambda: zan.reconstruct(np.full((9, 3), np.nan)), "not finite"),
        (lambda: zan.reconstruct(POINTS, spacing=0.0), "spacing must be above 0"),
        (lambda: zan.reconstruct(POINTS, spacing=np.nan), "spacing must be finite"),
        (lambda: zan.reconstruct(POINTS, spacing="wide"), "spacing must be a number"),
        (lambda: zan.reconstruct(POINTS, spacing=1e-12), "too fine for an extent"),
        (lambda: zan.reconstruct(POINTS, spacing_factor=-1.0), "spacing_factor must be above 0"),
        (lambda: zan.reconstruct(POINTS, fill_size=1.5), "fill_size must be a whole number"),
        (lambda: zan.reconstruct(POINTS, fill_size=-1), "fill_size must be from 0"),
        (lambda: zan.reconstruct(POINTS, fill_size=2**40), "fill_size must be from 0"),
        (lambda: zan.reconstruct(POINTS, colors=POINTS[:9]), r"colors must have the shape \(500, 3\)"),
        (lambda: zan.reconstruct(POINTS, colors=POINTS), "colors of real numbers must be from 0.0 to 1.0"),
        (lambda: zan.reconstruct(POINTS, colors=np.full((500, 3), 256)), "must be from 0 to 255"),
        (lambda: zan.reconstruct(POINTS, colors=np.full((500, 3), True)), "colors must be numbers"),
        (lambda: zan.melt(VERTICES, TRIANGLES + 1, 0.1), "names vertex 8 of 8"),
        (lambda: zan.melt(VERTICES, TRIANGLES - 1, 0.1), "names vertex -1"),
        (lambda: zan.melt(VERTICES, TRIANGLES * 1.0, 0.1), "triangles must be whole numbers"),
        (lambda: zan.melt(VERTICES, TRIANGLES.ravel(), 0.1), r"triangles must have the shape \(m, 3\)"),
        (lambda: zan.melt(VERTICES, np.full((1, 3), 2**64 - 1, np.uint64), 0.1), "no index"),
        (lambda: zan.melt(VERTICES, [], 0.1), "nothing could be built"),
        (lambda: zan.melt(VERTICES, TRIANGLES, -0.1), "spacing must be above 0"),
        (lambda: zan.melt(VERTICES, TRIANGLES, 0.1, np.inf), "feature_angle must be finite"),
        (lambda: zan.Mesh(VERTICES, [[0, 0, 1]]), "no triangle is left: .*"),
        (lambda: zan.Mesh(VERTICES, TRIANGLES, POINTS), r"colors must have the shape \(8, 3\)"),
        (lambda: zan.to_cloud(VERTICES, [], 0.1), "no points came out"),
        (lambda: zan.fill_gaps(VERTICES, TRIANGLES, 0.1, grow_steps=0), "grow_steps must be from 1"),
        (lambda: zan.estimate_spacing(np.zeros((9, 3))), "give no spacing: .*in one place"),
        (lambda: zan.set_num_threads(-1), "num_threads must be from 0"),
    ],
)
def test_wrong_arguments_are_told(call, text):
    with pytest.raises(ValueError, match=text):
        call()


def test_wrong_arguments_of_a_mesh_are_told_and_leave_it_as_it_is():
    mesh = zan.reconstruct(POINTS)
    vertices = mesh.vertices
    for call, text in (
        (lambda: mesh.reduce(max_length=np.nan), "max_length must be finite"),
        (lambda: mesh.reduce(max_angle=np.inf), "max_angle must be finite"),
        (lambda: mesh.smooth(-1), "num_iterations must be from 0"),
        (lambda: mesh.close_holes(0), "max_edges must be from 1"),
        (lambda: mesh.sharpen_edges(5), "feature_angle must be from 10 to 90, is 5"),
        (lambda: mesh.contrast_spread(np.nan), "low_fraction must be finite"),
    ):
        with pytest.raises(ValueError, match=text):
            call()
    assert np.array_equal(mesh.vertices, vertices)


def test_a_progress_that_is_no_callable_is_a_type_error():
    with pytest.raises(TypeError, match="progress must be callable, not int"):
        zan.reconstruct(POINTS, progress=1)
