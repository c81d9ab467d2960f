"""The package itself: its version, its help, and that the stub tells what is in the module."""

import ast
import inspect
import pathlib

import zan
from zan import _core


def test_version_is_the_one_of_the_build(pytestconfig):
    expected = pytestconfig.getoption("zan_version")
    assert expected is None or zan.__version__ == expected


def test_everything_public_has_help():
    for name in zan.__all__:
        thing = getattr(zan, name)
        assert inspect.getdoc(thing), name
    for name, member in inspect.getmembers(zan.Mesh):
        if not name.startswith("_") and name != "average_edge_length":
            assert inspect.getdoc(member), name


def names_in_stub(body):
    found = {}
    for node in body:
        if isinstance(node, ast.ClassDef):
            found[node.name] = set(names_in_stub(node.body))
        elif isinstance(node, ast.FunctionDef):
            found[node.name] = None
    return found


def test_the_stub_names_what_is_in_the_module():
    stub = pathlib.Path(zan.__file__).with_name("_core.pyi").read_text()
    told = names_in_stub(ast.parse(stub).body)
    real = {name for name in dir(_core) if not name.startswith("__")}
    assert set(told) == real
    assert told["Mesh"] == {name for name in dir(_core.Mesh) if not name.startswith("__")}
