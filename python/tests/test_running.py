"""Progress, cancelling, threads, references: how a call behaves while it runs."""

import gc
import os
import signal
import sys
import threading
import time
import weakref

import numpy as np
import pytest
import shapes
import zan


@pytest.fixture(scope="module")
def points():
    return shapes.sphere(20000)


def run_all(points, mesh, progress):
    """Each call that takes long, as (name, function)."""
    vertices, triangles = shapes.cube()
    return {
        "reconstruct": lambda: zan.reconstruct(points, progress=progress),
        "Mesh": lambda: zan.Mesh(mesh.vertices, mesh.triangles, progress=progress),
        "melt": lambda: zan.melt(vertices, triangles, 0.02, progress=progress),
        "to_cloud": lambda: zan.to_cloud(vertices, triangles, 0.02, progress=progress),
        "fill_gaps": lambda: zan.fill_gaps(vertices, triangles, 0.02, progress=progress),
        "estimate_spacing": lambda: zan.estimate_spacing(points, progress=progress),
        "edge_flips": lambda: mesh.edge_flips(progress=progress),
        "anneal": lambda: mesh.anneal(progress=progress),
        "reduce": lambda: mesh.reduce(max_angle=5.0, progress=progress),
        "smooth": lambda: mesh.smooth(3, progress=progress),
        "repair_shapes": lambda: mesh.repair_shapes(progress=progress),
        "close_holes": lambda: mesh.close_holes(progress=progress),
        "sharpen_edges": lambda: mesh.sharpen_edges(progress=progress),
    }


CALLS = list(run_all(None, None, None))


@pytest.mark.parametrize("name", CALLS)
def test_progress_ends_at_one_and_what_it_raises_cancels(name):
    points = shapes.sphere(1500)
    holed = points[points[:, 2] < 0.9]
    fractions = []
    run_all(points, zan.reconstruct(holed), fractions.append)[name]()
    assert fractions[-1] == 1.0 and 0.0 <= min(fractions)

    class Enough(Exception):
        pass

    enough = Enough()

    def stop(fraction):
        if fraction >= 0.3:
            raise enough

    mesh = zan.reconstruct(holed)
    with pytest.raises(Enough) as caught:
        run_all(points, mesh, stop)[name]()
    assert caught.value is enough
    again = run_all(points, zan.reconstruct(holed), None)[name]
    again()


def test_ctrl_c_cancels_without_a_callable(points):
    timer = threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT))
    start = time.monotonic()
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        while time.monotonic() < start + 20.0:  # a single call may end before the timer
            zan.reconstruct(points)
    assert time.monotonic() - start < 10.0


def test_other_threads_run_while_a_call_does(points):
    done = threading.Event()
    count = 0

    def work():
        nonlocal count
        while not done.is_set():
            count += 1
            time.sleep(0.001)

    thread = threading.Thread(target=work)
    thread.start()
    zan.reconstruct(points)
    done.set()
    thread.join()
    assert count > 10


def test_calls_in_many_threads_give_what_one_gives(points):
    expected = zan.reconstruct(points).triangles
    results = [None] * 4
    fractions = [[] for _ in results]

    def work(k):
        results[k] = zan.reconstruct(points, progress=fractions[k].append).triangles

    threads = [threading.Thread(target=work, args=(k,)) for k in range(len(results))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert all(np.array_equal(result, expected) for result in results)
    assert all(own[-1] == 1.0 for own in fractions)


def test_threads_on_one_mesh_wait_for_each_other(points):
    mesh = zan.reconstruct(points)
    errors = []

    def work(call):
        try:
            for _ in range(5):
                call()
        except Exception as error:  # noqa: BLE001: told by the main thread
            errors.append(error)

    def read():
        triangles = mesh.triangles
        assert np.unique(triangles).size == triangles.max() + 1

    calls = [mesh.edge_flips, lambda: mesh.smooth(1), lambda: mesh.reduce(max_angle=1.0), read, read]
    threads = [threading.Thread(target=work, args=(call,)) for call in calls]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert errors == []
    assert len(mesh.triangles) == len(mesh)


def test_a_callable_gets_an_error_instead_of_waiting_for_its_own_call(points):
    mesh = zan.reconstruct(points)
    with pytest.raises(RuntimeError, match="leave it alone"):
        mesh.smooth(2, progress=lambda fraction: mesh.vertices)
    with pytest.raises(RuntimeError, match="must not start another"):
        mesh.smooth(2, progress=lambda fraction: zan.estimate_spacing(points))
    mesh.smooth(2)


def test_no_reference_is_kept_or_lost(points):
    class Follower:
        def __call__(self, fraction):
            if self.fail and fraction > 0.2:
                raise ValueError("enough")

    for fail in (False, True):
        follower = Follower()
        follower.fail = fail
        colors = np.zeros((len(points), 4), np.uint8)
        counts = [sys.getrefcount(thing) for thing in (points, colors, follower)]
        for _ in range(3):
            try:
                mesh = zan.reconstruct(points, colors=colors, progress=follower)
                mesh.smooth(1, progress=follower)
            except ValueError:
                assert fail
        gc.collect()
        assert [sys.getrefcount(thing) for thing in (points, colors, follower)] == counts
        gone = weakref.ref(follower)
        del follower
        assert gone() is None

    mesh = zan.reconstruct(points)
    vertices, triangles = mesh.vertices, mesh.triangles
    assert sys.getrefcount(vertices) == sys.getrefcount(triangles) == 2
    gone = weakref.ref(mesh)
    del mesh
    assert gone() is None


@pytest.mark.skipif(not hasattr(os, "fork"), reason="this system has no fork")
def test_a_forked_child_can_call(points):
    zan.set_num_threads(2)
    zan.reconstruct(points)  # the threads are there
    child = os.fork()
    if child == 0:
        signal.alarm(60)  # ends a child that waits for threads that it has not
        code = 1
        try:
            code = 0 if len(zan.reconstruct(points)) > 0 else 1
        finally:
            os._exit(code)
    _, status = os.waitpid(child, 0)
    zan.set_num_threads(0)
    assert os.waitstatus_to_exitcode(status) == 0
