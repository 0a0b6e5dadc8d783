"""Builds the extension with CMake, for the interpreter that runs this file. pyproject.toml has the metadata."""

import os
import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext
from setuptools.command.build_py import build_py
from setuptools.command.editable_wheel import editable_wheel
from setuptools.errors import ExecError

ROOT = Path(__file__).resolve().parent


def project_version() -> str:
    (version,) = re.findall(r"^project\(mcp_responses VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(), re.M)
    return version


def cmake(*arguments: object) -> None:
    try:
        subprocess.run(["cmake", *map(str, arguments)], check=True)
    except FileNotFoundError:
        raise ExecError("cmake is not on PATH (Debian: cmake ninja-build)") from None
    except subprocess.CalledProcessError as failed:
        raise ExecError(f"cmake {arguments[0]} failed; its messages are above") from failed


class BuildWithCMake(build_ext):
    def build_extension(self, extension: Extension) -> None:
        build = Path(self.build_temp).resolve()
        destination = Path(self.get_ext_fullpath(extension.name)).resolve().parents[1]
        os.environ.setdefault("CMAKE_GENERATOR", "Ninja")
        # --fresh: a cache of an earlier build may name the interpreter of another environment.
        cmake(
            *("--fresh", "-S", ROOT, "-B", build, f"-DPython_EXECUTABLE={sys.executable}"),
            *("-DCMAKE_BUILD_TYPE=Release", "-DMCP_RESPONSES_TESTS=OFF"),
        )
        cmake("--build", build, "--target", "mcp_responses_extension")
        cmake("--install", build, "--component", "wheel", "--strip", "--prefix", destination)


class RefuseToBeEditable(editable_wheel):
    def run(self) -> None:
        # The package hollin belongs to the service. A link from there to the extension would not rebuild it.
        raise ExecError("a compiled module cannot be edited in place: run `pip install .`, and again after each change")


class CopyWithoutMode(build_py):
    def copy_file(self, source: str, target: str, *_: object, **__: object) -> tuple[str, bool]:
        return super().copy_file(source, target, preserve_mode=False)


# Builds are reproducible: a wheel depends neither on the time nor on the umask. Zip files cannot have an earlier time.
os.environ.setdefault("SOURCE_DATE_EPOCH", "315532800")
os.umask(0o022)

setup(
    version=project_version(),
    # The package hollin belongs to the service: the wheel adds only this module and its schemas to it.
    ext_modules=[Extension("hollin.mcp_responses", sources=[])],
    packages=["hollin-stubs"],
    package_data={"hollin-stubs": ["*.pyi", "py.typed"]},
    include_package_data=False,
    cmdclass={"build_ext": BuildWithCMake, "build_py": CopyWithoutMode, "editable_wheel": RefuseToBeEditable},
)
