"""What comes out of the calls, against numpy's own computations."""

import copy
import pickle

import numpy as np
import pytest
import shapes
import zan


@pytest.fixture(scope="module")
def cloud():
    points = shapes.sphere()
    colors = np.rint(127.5 * (1.0 + points)).astype(np.uint8)
    return zan.PointCloud(points, np.column_stack([colors, np.full(len(points), 255, np.uint8)]))


@pytest.fixture
def mesh(cloud):
    return zan.reconstruct(cloud, fill_size=2)


def same(a, b):
    return np.array_equal(a.vertices, b.vertices) and np.array_equal(a.triangles, b.triangles)


def test_a_sphere_comes_out_closed_outward_and_of_its_size(mesh):
    assert len(mesh) == len(mesh.triangles) > 3000
    assert (shapes.edge_counts(mesh.triangles)[1] == 2).all()
    assert shapes.euler_number(mesh.vertices, mesh.triangles) == 2
    assert shapes.volume(mesh.vertices, mesh.triangles) == pytest.approx(4.0 / 3.0 * np.pi, rel=0.01)
    assert len(mesh.border_edges()) == 0


def test_vertices_are_points_of_the_cloud_with_their_colours(mesh, cloud):
    color_of = {tuple(p): tuple(c) for p, c in zip(cloud.points.tolist(), cloud.colors.tolist())}
    found = [color_of.get(tuple(vertex)) for vertex in mesh.vertices.tolist()]
    assert found == [tuple(color) for color in mesh.colors.tolist()]


def test_arrays_have_the_promised_types_and_are_the_callers(mesh):
    assert (mesh.vertices.dtype, mesh.triangles.dtype, mesh.colors.dtype) == (np.float64, np.int32, np.uint8)
    vertices, triangles = mesh.vertices, mesh.triangles
    assert vertices.shape == (len(mesh.colors), 3) and mesh.colors.shape[1] == 4
    for array in (vertices, triangles):
        assert array.flags.c_contiguous and array.flags.writeable and array.flags.aligned
    vertices[0] = 7.0
    assert (mesh.vertices[0] != 7.0).all()
    mesh.smooth(3)
    del mesh
    assert (vertices[0] == 7.0).all() and np.unique(triangles).size == len(vertices)  # outlive the mesh


def test_numbers_are_read_right_from_any_layout_of_memory(cloud):
    points = np.asarray(cloud.points, np.float32).astype(np.float64)  # so that float32 has the same values
    expected = zan.reconstruct(points)
    wide = np.zeros((2 * len(points), 7))
    wide[::2, 1:6:2] = points
    packed = np.zeros(len(points), [("tag", "u1"), ("xyz", "<f8", 3)])
    packed["xyz"] = points
    readonly = points.copy()
    readonly.setflags(write=False)
    layouts = [
        np.asfortranarray(points),
        points[::-1][::-1],
        wide[::2, 1:6:2],
        packed["xyz"],  # not aligned
        readonly,
        points.astype(np.float32),
        points.astype(">f8"),
        points.astype(np.longdouble),
        points.tolist(),
    ]
    for layout in layouts:
        assert same(zan.reconstruct(layout), expected)
    whole = np.rint(100.0 * points).astype(np.int16)
    assert same(zan.reconstruct(whole, spacing=8.0), zan.reconstruct(whole.astype(float), spacing=8.0))


def test_colours_of_all_forms_are_the_same_colours(cloud):
    expected = zan.reconstruct(cloud).colors
    for colors in (cloud.colors[:, :3], cloud.colors / 255.0, np.asfortranarray(cloud.colors.astype(np.int64))):
        assert np.array_equal(zan.reconstruct(cloud.points, colors=colors).colors, expected)
    assert zan.reconstruct(cloud.points).colors is None


def test_threads_do_not_change_the_result(cloud, mesh):
    try:
        for num_threads in (1, 3):
            zan.set_num_threads(num_threads)
            assert same(zan.reconstruct(cloud, fill_size=2), mesh)
    finally:
        zan.set_num_threads(0)


def test_detected_spacing_is_near_the_mean_distance_of_neighbours():
    points = shapes.sphere(1500)
    distances = np.linalg.norm(points[:, None] - points[None], axis=2)
    np.fill_diagonal(distances, np.inf)
    nearest = distances.min(axis=1).mean()
    spacing = zan.estimate_spacing(points)
    assert 0.5 * nearest < spacing < 2.0 * nearest
    assert zan.reconstruct(points, spacing_factor=1.5).cell_size == pytest.approx(1.5 * spacing)


def test_points_that_are_not_finite_are_left_out_with_a_warning(cloud, caplog):
    points = np.vstack([[np.nan, 0.0, 0.0], cloud.points, [0.0, np.inf, 0.0]])
    assert same(zan.reconstruct(points), zan.reconstruct(cloud.points))
    assert [record.name for record in caplog.records] == ["zan"]
    assert caplog.messages[0].startswith("2 of 3002")


def test_a_mesh_of_given_triangles_is_just_these():
    vertices, triangles = shapes.cube()
    colors = np.arange(32, dtype=np.uint8).reshape(8, 4)
    mesh = zan.Mesh(vertices, triangles, colors)
    assert np.array_equal(mesh.vertices[mesh.triangles], vertices[triangles])
    assert np.array_equal(mesh.colors[mesh.triangles], colors[triangles])
    split = zan.Mesh(vertices[triangles].reshape(-1, 3), np.arange(36).reshape(12, 3))
    assert len(split.vertices) == 8 and len(split) == 12


def test_a_cube_melts_to_its_volume_and_keeps_its_corners():
    vertices, triangles = shapes.cube()
    mesh = zan.melt(vertices, triangles.astype(np.uint16), 0.1)
    assert shapes.volume(mesh.vertices, mesh.triangles) == pytest.approx(1.0, rel=1e-6)
    assert shapes.rows(vertices) <= shapes.rows(mesh.vertices)
    assert (shapes.edge_counts(mesh.triangles)[1] == 2).all()


def test_a_cloud_on_a_cube_lies_on_its_faces_a_point_for_each_cell():
    points = zan.to_cloud(*shapes.cube(), spacing=0.05)
    assert np.abs(np.minimum(points, 1.0 - points).min(axis=1)).max() < 1e-9
    assert 6 * 20**2 * 0.8 < len(points) < 6 * 20**2 * 1.6
    assert shapes.rows(shapes.cube()[0]) <= shapes.rows(points)


def test_bridging_points_close_the_gap_between_two_sheets():
    vertices = np.array([[x, y, 0.0] for x in (0.0, 1.0, 1.2, 2.2) for y in (0.0, 1.0)])
    triangles = np.array([[0, 2, 3], [0, 3, 1], [4, 6, 7], [4, 7, 5]])
    sheets = zan.to_cloud(vertices, triangles, 0.05)
    points = zan.fill_gaps(vertices, triangles, 0.05, grow_steps=6)
    assert np.array_equal(points[: len(sheets)], sheets)
    bridge = points[len(sheets) :]
    assert len(bridge) > 30 and (np.abs(bridge[:, 0] - 1.1) < 0.2).all() and np.abs(bridge[:, 2]).max() < 0.1
    joined = zan.reconstruct(points, spacing=0.05, fill_size=2)
    assert shapes.euler_number(joined.vertices, joined.triangles) == 1  # one sheet


def test_border_edges_are_those_of_one_triangle_in_its_order():
    mesh = zan.reconstruct(shapes.sheet())
    edges, counts = shapes.edge_counts(mesh.triangles)
    border = mesh.border_edges()
    assert shapes.rows(np.sort(border, axis=1)) == shapes.rows(edges[counts == 1]) != set()
    assert len(border) == (counts == 1).sum()
    directed = shapes.rows(mesh.triangles[:, [0, 1, 1, 2, 2, 0]].reshape(-1, 2))
    assert shapes.rows(border) <= directed


def test_a_hole_is_closed_if_it_is_not_too_large():
    points = shapes.sphere()
    mesh = zan.reconstruct(points[points[:, 2] < 0.97])
    num_border = len(mesh.border_edges())
    assert num_border > 5
    assert mesh.close_holes(max_edges=5) == 0
    assert len(mesh.border_edges()) == num_border
    assert mesh.close_holes() == 1
    assert len(mesh.border_edges()) == 0


def test_sharp_edges_are_given_back():
    steps = np.linspace(-0.475, 0.475, 20)
    u, v = (grid.ravel() for grid in np.meshgrid(steps, steps))
    faces = [np.roll(np.column_stack([np.full_like(u, s), u, v]), axis, axis=1) for axis in range(3) for s in (-0.5, 0.5)]
    mesh = zan.reconstruct(np.concatenate(faces))
    old = shapes.rows(mesh.vertices)
    added = mesh.sharpen_edges()
    assert added > 100
    assert old <= shapes.rows(mesh.vertices) and len(mesh.vertices) == len(old) + added
    assert (np.abs(mesh.vertices) > 0.5 - 1e-9).all(axis=1).sum() == 8
    assert mesh.sharpen_edges() == 0


def test_shapes_that_smoothing_spoils_are_mended_and_vertices_keep_their_places():
    mesh = zan.reconstruct(shapes.sphere(5000) * (1 + 0.02 * np.sin(12.9898 * np.arange(5000)))[:, None])
    mesh.smooth()
    vertices = shapes.rows(mesh.vertices)
    assert mesh.repair_shapes() > 10
    assert shapes.rows(mesh.vertices) < vertices
    assert mesh.repair_shapes() == 0


def test_flips_keep_the_vertices_and_reduction_a_part_of_them(cloud):
    mesh = zan.reconstruct(cloud.points, fill_size=2)  # between points of different colours nothing collapses
    vertices = shapes.rows(mesh.vertices)
    mesh.edge_flips()
    assert shapes.rows(mesh.vertices) == vertices
    before = len(mesh)
    assert mesh.reduce(max_angle=25.0) > 0
    assert len(mesh) < 0.8 * before
    assert shapes.rows(mesh.vertices) < vertices
    assert shapes.euler_number(mesh.vertices, mesh.triangles) == 2


def test_annealing_gives_a_mesh_of_the_same_vertices():
    mesh = zan.reconstruct(shapes.sphere(800))
    vertices = shapes.rows(mesh.vertices)
    mesh.anneal()
    assert shapes.rows(mesh.vertices) == vertices


def roughness(vertices, triangles):
    """How much a sphere is larger than one of its volume."""
    return shapes.area(vertices, triangles) ** 1.5 / shapes.volume(vertices, triangles) - 6.0 * np.sqrt(np.pi)


def test_smoothing_makes_a_rough_sphere_smaller_and_smoother():
    noise = 1.0 + 0.005 * np.sin(1000.0 * np.arange(10000))
    mesh = zan.reconstruct(shapes.sphere(10000) * noise[:, None], spacing_factor=1.5)
    before = mesh.vertices, mesh.triangles
    mesh.smooth(5)
    after = mesh.vertices, mesh.triangles
    assert roughness(*after) < 0.5 * roughness(*before)
    assert 0.9 * shapes.volume(*before) < shapes.volume(*after) < shapes.volume(*before)


def test_stretched_colours_use_the_whole_range(mesh):
    dull = zan.reconstruct(shapes.sphere(), colors=np.rint(100.0 + 25.0 * shapes.sphere()).astype(np.uint8))
    before = dull.colors
    dull.contrast_spread()
    assert np.ptp(before[:, :3]) == 50 and np.ptp(dull.colors[:, :3]) > 200


def test_average_edge_length_is_the_mean_over_the_edges(mesh):
    edges, _ = shapes.edge_counts(mesh.triangles)
    lengths = np.linalg.norm(mesh.vertices[edges[:, 0]] - mesh.vertices[edges[:, 1]], axis=1)
    assert mesh.average_edge_length == pytest.approx(lengths.mean())


def test_copies_and_pickles_are_the_same_mesh_and_independent(mesh):
    half = zan.Mesh(mesh.vertices, mesh.triangles, mesh.colors)
    assert same(half, mesh) and (half.colors == mesh.colors).all()
    mesh.reduce(max_angle=5)
    for twin in (copy.copy(mesh), copy.deepcopy(mesh), pickle.loads(pickle.dumps(mesh))):
        assert same(twin, mesh) and (twin.colors == mesh.colors).all() and twin.cell_size == mesh.cell_size
        twin.smooth(2)
        assert not np.array_equal(twin.vertices, mesh.vertices)


def test_a_vertex_without_colour_stays_without_one_in_a_copy():
    corners = [[0, 0, 0], [1, 0, 0], [0, 1, 0], [1, 1, 0]]
    colors = np.array([[9, 8, 7, 255], [9, 8, 7, 255], [0, 0, 0, 0], [0, 0, 0, 0]], np.uint8)
    twin = copy.copy(zan.Mesh(corners, [[0, 1, 2], [1, 3, 2]], colors))
    twin.colorize_filled_holes()
    assert (twin.colors == colors[0]).all()
