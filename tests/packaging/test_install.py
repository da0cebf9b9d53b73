"""A program outside of the tree, built against what `cmake --install` leaves: by CMake and by pkg-config, against
shared and static libraries. The installed tree is moved first, so that nothing in it may know where it was."""

import os
import shutil

import pytest

from conftest import BUILD, TREE, run

CONSUMER = TREE / "tests/packaging/consumer"
ANSWER = "audio/x-wav 44100\nhttp://host/a%20b\n"


@pytest.fixture(scope="module", params=["shared", "static"])
def installed(request, target, tmp_path_factory):
    """Name of the kind of libraries, and the prefix where they lie."""
    folder = tmp_path_factory.mktemp(request.param)
    build = BUILD
    if request.param == "static":
        build = folder / "build"
        target.configure(TREE, build, "-DBUILD_SHARED_LIBS=OFF", "-DQUORIN_TOOLS=OFF")
        run("cmake", "--build", build)
    run("cmake", "--install", build, "--prefix", folder / "first")
    return request.param, (folder / "first").rename(folder / "second")


def check(program, kind, target, tone):
    needed = run("readelf", "-d", program)
    assert ("libmd-common-quorin.so.0" in needed) == (kind == "shared")
    assert target.execute(program, tone) == ANSWER


def test_a_cmake_project_builds(installed, target, tone, tmp_path):
    kind, prefix = installed
    # CMAKE_FIND_ROOT_PATH instead of CMAKE_PREFIX_PATH lets a cross build look outside of its sysroot.
    target.configure(CONSUMER, tmp_path, f"-Dmd-common-quorin_DIR={prefix}/{target.libraries}/cmake/md-common-quorin")
    run("cmake", "--build", tmp_path)
    check(tmp_path / "consumer", kind, target, tone)


def test_the_flags_of_pkg_config_alone_build_a_program(installed, target, tone, tmp_path):
    kind, prefix = installed
    folders = [prefix / target.libraries / "pkgconfig"]
    sysroot = []
    if target.is_armhf:
        folders += [target.sysroot / "usr/lib/arm-linux-gnueabihf/pkgconfig"]
        sysroot = [f"--sysroot={target.sysroot}"]
    flags = run("pkg-config", "--cflags", "--libs", "md-common-quorin",
                environment={"PKG_CONFIG_PATH": os.pathsep.join(map(str, folders))}).split()
    program = tmp_path / "consumer"
    run(target.compiler, *sysroot, "-std=c++17", CONSUMER / "consumer.cpp", "-o", program, *flags,
        f"-Wl,-rpath,{prefix}/{target.libraries}")
    check(program, kind, target, tone)


def test_the_command_works_from_where_it_is_installed(installed, target, tone):
    kind, prefix = installed
    if kind == "static":
        pytest.skip("that build has no command")
    command = prefix / "bin/quorin"
    assert '"media_type":"wav"' in target.execute(command, "--json", tone)
    assert f"$ORIGIN/../{target.libraries}" in run("readelf", "-d", command)


def test_without_the_network_part_an_address_has_no_opener(installed, target, tone, tmp_path):
    """As on a device that never goes online and leaves it out."""
    kind, prefix = installed
    if kind == "static":
        pytest.skip("the network is part of that library")
    shutil.copytree(prefix, tmp_path / "offline", symlinks=True)
    (part,) = (tmp_path / "offline" / target.libraries).glob("libmd-platform-host-http.so.0")
    part.unlink()
    command = tmp_path / "offline/bin/quorin"
    assert '"media_type":"wav"' in target.execute(command, "--json", tone)
    assert '"no_opener"' in target.execute(command, "--json", "http://127.0.0.1:1/", status=3)


def test_another_minor_version_is_not_taken(installed, target, tmp_path):
    _, prefix = installed
    project = tmp_path / "project"
    project.mkdir()
    project.joinpath("CMakeLists.txt").write_text(
        "cmake_minimum_required(VERSION 3.16)\nproject(later LANGUAGES CXX)\n"
        "find_package(md-common-quorin 0.2 QUIET)\n"
        "if(md-common-quorin_FOUND)\n  message(FATAL_ERROR \"taken\")\nendif()\n")
    target.configure(project, tmp_path / "build",
                     f"-DCMAKE_PREFIX_PATH={prefix}", "-DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH")
