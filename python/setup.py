"""Makes a wheel of the module with the library inside, from the tree that this file lies in.

    pip wheel --no-build-isolation --no-deps --wheel-dir DIR ./python

Everything is built by cmake, in build/wheel, with the options of CMAKE_ARGS; QVA_BUILD names a
finished build to take it from instead. What the library and the readers link comes from the system
(docs/dependencies.md), so a wheel belongs to the systems that are like the one it was made on.
"""

import glob
import os
import re
import shlex
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)


def version():
    with open(os.path.join(ROOT, "CMakeLists.txt"), encoding="utf-8") as file:
        return re.search(r"project\(lumo VERSION (\S+)", file.read()).group(1)


class CMakeBuild(build_ext):
    """Builds with cmake, and lays what was built into the package."""

    def run(self):
        build = os.environ.get("QVA_BUILD") or self.build_tree()
        stage = os.path.join(os.path.abspath(self.build_temp), "stage")
        subprocess.run(["cmake", "--install", build, "--component", "python", "--prefix", stage],
                       check=True)
        package = os.path.join(HERE if self.inplace else self.build_lib, "qva")
        os.makedirs(package, exist_ok=True)
        built = glob.glob(os.path.join(stage, "**", "_native.*.so"), recursive=True)
        for path in built + [os.path.join(build, "lib", name)
                             for name in ("libqva.so.1", "libRvx32P.so")]:
            shutil.copy(path, package)

    def build_tree(self):
        build = os.path.join(ROOT, "build", "wheel")
        subprocess.run(["cmake", "-G", "Ninja", "-S", ROOT, "-B", build,
                        "-DCMAKE_BUILD_TYPE=Release", "-DLUMO_BUILD_TESTS=OFF",
                        "-DLUMO_PYTHON=" + sys.executable,
                        *shlex.split(os.environ.get("CMAKE_ARGS", ""))], check=True)
        subprocess.run(["cmake", "--build", build, "--target", "qva_python", "--parallel",
                        str(len(os.sched_getaffinity(0)))], check=True)
        return build


setup(
    name="qva",
    version=version(),
    description="High-dynamic-range photographs rendered for paper",
    license="Apache-2.0",
    packages=["qva"],
    package_data={"qva": ["*.pyi", "py.typed"]},
    ext_modules=[Extension("qva._native", [])],
    cmdclass={"build_ext": CMakeBuild},
    python_requires=">=3.9",
    install_requires=["numpy"],
    zip_safe=False,
)
