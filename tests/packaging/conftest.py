"""What the tests of what is shipped share: the build that they ship, and how programs are built and run for it.

Run by hand:  QUORIN_BUILD=build/dev /usr/bin/python3 -m pytest tests/packaging
For 32-bit ARM:  QUORIN_BUILD=build/armhf
Rewrite the golden files:  ... --update-golden
"""

import os
import pathlib
import re
import struct
import subprocess

import pytest

TREE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["QUORIN_BUILD"]).resolve()

# Generous: building takes its time on a busy machine.
TIME_LIMIT = 300


def run(*command, status=0, **how):
    """Runs a command that has to end with the exit status; returns what it printed."""
    environment = {**os.environ, **how.pop("environment", {})}
    result = subprocess.run([str(word) for word in command], env=environment, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, timeout=TIME_LIMIT, **how)
    assert result.returncode == status, f"{command}\n{result.stdout}"
    return result.stdout


class Target:
    """The machine that the build is for, as its CMake cache tells."""

    def __init__(self):
        lines = (BUILD / "CMakeCache.txt").read_text().splitlines()
        self.cache = dict(re.match(r"([^:]+):[^=]*=(.*)", line).groups() for line in lines
                          if re.match(r"[^#/][^:]*:[^=]*=", line))
        self.toolchain = self.cache.get("CMAKE_TOOLCHAIN_FILE")
        self.is_armhf = self.toolchain is not None
        self.sysroot = pathlib.Path(self.cache.get("QUORIN_ARMHF_SYSROOT", TREE / "build/armhf-sysroot"))
        self.libraries = self.cache["CMAKE_INSTALL_LIBDIR"]
        self.compiler = "arm-linux-gnueabihf-g++" if self.is_armhf else self.cache["CMAKE_CXX_COMPILER"]

    def configure(self, source, build, *options):
        """Configures a CMake project the way the build under test was."""
        words = ["cmake", "-G", "Ninja", "-S", source, "-B", build, *options]
        if self.is_armhf:
            words += [f"-DCMAKE_TOOLCHAIN_FILE={self.toolchain}", f"-DQUORIN_ARMHF_SYSROOT={self.sysroot}",
                      f"-DCMAKE_INSTALL_LIBDIR={self.libraries}"]
        else:
            words += [f"-DCMAKE_CXX_COMPILER={self.compiler}"]
        for option in ("CMAKE_BUILD_TYPE", "CMAKE_CXX_FLAGS"):  # the compiler cache then knows the objects
            words.append(f"-D{option}={self.cache.get(option, '')}")
        run(*words)

    def execute(self, *command, **how):
        """Runs a program that was built for the machine."""
        emulator = ["qemu-arm-static", "-cpu", "cortex-a9", "-L", self.sysroot] if self.is_armhf else []
        return run(*emulator, *command, **how)


def pytest_addoption(parser):
    parser.addoption("--update-golden", action="store_true", help="write the golden files instead of comparing")


@pytest.fixture
def golden(request):
    """Compares a text with the golden file of a path."""
    def compare(path, text):
        if request.config.getoption("--update-golden"):
            path.write_text(text)
        assert text == path.read_text()
    return compare


@pytest.fixture(scope="session")
def target():
    return Target()


@pytest.fixture(scope="session")
def tone(tmp_path_factory):
    """A WAV file of a tenth of a second."""
    samples = bytes(4410 * 4)
    path = tmp_path_factory.mktemp("item") / "tone.wav"
    header = struct.pack("<4sI4s4sIHHIIHH4sI", b"RIFF", 36 + len(samples), b"WAVE", b"fmt ", 16, 1, 2, 44100, 176400, 4, 16,
                         b"data", len(samples))
    path.write_bytes(header + samples)
    return path
