"""Files: what is written is read again, and what fails leaves things as they were."""

import os

import numpy as np
import pytest
import shapes
import zan

POINTS = shapes.sphere(500)
COLORS = np.arange(2000, dtype=np.uint8).reshape(500, 4)


@pytest.mark.parametrize(("ending", "ascii"), [(".xyz", False), (".bin", False), (".ply", False), (".ply", True)])
def test_points_are_read_as_they_were_written(tmp_path, ending, ascii):
    path = tmp_path / ("points \N{SNOWMAN}" + ending)
    zan.write_points(path, 1e6 + POINTS, COLORS, ascii=ascii)
    cloud = zan.read_points(path, color_column=4)
    assert np.array_equal(cloud.points, 1e6 + POINTS)
    if ending == ".ply":
        assert np.array_equal(cloud.colors, COLORS)
    elif ending == ".xyz":
        assert np.array_equal(cloud.colors[:, :3], COLORS[:, :3])
    else:
        assert cloud.colors is None
    assert os.listdir(tmp_path) == [path.name]


@pytest.mark.parametrize("ending", [".ply", ".stl", ".obj"])
def test_a_mesh_is_read_as_it_was_saved(tmp_path, ending):
    mesh = zan.reconstruct(POINTS, colors=np.abs(POINTS))
    for ascii in (False, True):
        mesh.save(tmp_path / ("mesh" + ending), ascii=ascii)
        again = zan.read_mesh(tmp_path / ("mesh" + ending))
        assert np.allclose(again.vertices[again.triangles], mesh.vertices[mesh.triangles], atol=1e-5)
        if ending != ".stl":
            assert np.array_equal(again.colors[again.triangles], mesh.colors[mesh.triangles])
    again.edge_flips()
    assert len(again) == len(mesh)


def test_paths_may_be_bytes_that_are_no_text(tmp_path):
    path = os.fsencode(tmp_path) + b"/\xff.bin"
    zan.write_points(path, POINTS)
    assert np.array_equal(zan.read_points(path).points, POINTS)


@pytest.mark.parametrize("ending", [".ply", ".list"])
def test_a_saved_mesh_is_a_whole_file_with_the_usual_rights(tmp_path, ending):
    mesh = zan.reconstruct(POINTS)
    path = tmp_path / ("mesh" + ending)
    path.write_text("old")
    mesh.save(str(path))
    assert path.stat().st_size > 40 * len(mesh) / 3
    plain = tmp_path / "plain"
    plain.touch()
    assert path.stat().st_mode == plain.stat().st_mode


def test_trouble_is_told_and_leaves_nothing_behind(tmp_path):
    mesh = zan.reconstruct(POINTS)
    (tmp_path / "old.ply").write_text("old")
    (tmp_path / "none.xyz").write_text("no numbers\n")
    (tmp_path / "folder.ply").mkdir()
    before = sorted(os.listdir(tmp_path))
    for call, error, text in (
        (lambda: zan.read_points(tmp_path / "gone.ply"), FileNotFoundError, "gone.ply"),
        (lambda: zan.read_points(tmp_path / "folder.ply"), IsADirectoryError, "folder.ply"),
        (lambda: zan.read_points(tmp_path / "points.dat"), ValueError, "is not one of .ply"),
        (lambda: zan.read_points(tmp_path / "old.ply"), ValueError, "could not be read"),
        (lambda: zan.read_points(tmp_path / "none.xyz"), ValueError, "holds no points"),
        (lambda: zan.read_mesh(tmp_path / "old.ply"), ValueError, "no mesh in"),
        (lambda: zan.read_mesh(tmp_path / "none.xyz"), ValueError, "is not one of .ply"),
        (lambda: mesh.save(tmp_path / "mesh.off"), ValueError, "is not one of .ply"),
        (lambda: mesh.save(tmp_path / "no" / "mesh.ply"), FileNotFoundError, "no"),
        (lambda: mesh.save(tmp_path / "folder.ply"), IsADirectoryError, "folder.ply"),
    ):
        with pytest.raises(error, match=text):
            call()
    assert sorted(os.listdir(tmp_path)) == before
    assert (tmp_path / "old.ply").read_text() == "old"
