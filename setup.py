"""Lets CMake build the Python package's module; the rest stands in pyproject.toml.

What CMAKE_ARGS holds in the environment goes to CMake as well.
"""

import os
import pathlib
import re
import shlex
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent


def version():
    """The one version of the project."""
    return re.search(r"project\(zan VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text())[1]


def pybind11_folder():
    """Where CMake finds a pybind11 that came as a Python package; the system's needs no word."""
    try:
        import pybind11
    except ImportError:
        return []
    return [f"-Dpybind11_ROOT={pybind11.get_cmake_dir()}"]


class CMakeBuild(build_ext):
    """Configures and builds the target zan_python, and takes the module to where setuptools wants it."""

    def build_extension(self, extension):
        build = pathlib.Path(self.build_temp).resolve()
        arguments = [
            "-DCMAKE_BUILD_TYPE=Release",
            "-DZAN_BUILD_PYTHON=ON",
            "-DZAN_BUILD_CLI=OFF",
            f"-DPython_EXECUTABLE={sys.executable}",
            *pybind11_folder(),
            *shlex.split(os.environ.get("CMAKE_ARGS", "")),
        ]
        jobs = str(os.cpu_count() or 1)
        subprocess.run(["cmake", "-S", str(ROOT), "-B", str(build), *arguments], check=True)
        subprocess.run(["cmake", "--build", str(build), "--target", "zan_python", "-j", jobs], check=True)
        target = pathlib.Path(self.get_ext_fullpath(extension.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        self.copy_file(str(build / "python" / "zan" / target.name), str(target))


setup(version=version(), ext_modules=[Extension("zan._core", [])], cmdclass={"build_ext": CMakeBuild})
