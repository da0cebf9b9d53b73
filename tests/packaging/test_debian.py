"""The Debian packages: no error of lintian, and what is in them works from where it was unpacked, without an installation."""

import gzip
import os
import re

import pytest

from conftest import BUILD, TREE, run

CONSUMER = TREE / "tests/packaging/consumer"
NAMES = ["libmd-common-quorin0", "libmd-common-quorin-dev", "quorin"]


@pytest.fixture(scope="module")
def packages(target, tmp_path_factory):
    """The package files by name."""
    build = BUILD
    if not target.is_armhf:  # that build is for debugging
        build = TREE / "build/debian"
        run("cmake", "--preset", "debian", cwd=TREE)
        run("cmake", "--build", build)
    folder = tmp_path_factory.mktemp("packages")
    run("cpack", "-G", "DEB", "-B", folder, cwd=build)
    architecture = "armhf" if target.is_armhf else "amd64"
    found = {file.name.split("_")[0]: file for file in folder.glob(f"*_{architecture}.deb")}
    assert sorted(found) == sorted(NAMES)
    return found


@pytest.fixture(scope="module")
def unpacked(packages, tmp_path_factory):
    """The packages, unpacked over each other."""
    prefix = tmp_path_factory.mktemp("unpacked")
    for file in packages.values():
        run("dpkg-deb", "-x", file, prefix)
    return prefix


@pytest.fixture(scope="module")
def libraries(unpacked):
    """Where the libraries of the machine were unpacked."""
    return next(unpacked.glob("usr/lib/*/pkgconfig")).parent


def field(package, name):
    return run("dpkg-deb", "-f", package, name).strip()


def test_lintian_has_no_errors(packages):
    run("lintian", "--fail-on", "error", "--allow-root", *packages.values())


@pytest.mark.parametrize("name, synopsis", [
    ("libmd-common-quorin0", "media analysis library - shared libraries"),
    ("libmd-common-quorin-dev", "media analysis library - development files"),
    ("quorin", "tells what media files and streams are"),
])
def test_each_says_what_it_is(packages, name, synopsis):
    lines = field(packages[name], "Description").splitlines()
    assert lines[0] == synopsis
    assert len(lines) > 2 and all(re.match(r" \S", line) for line in lines[1:])


def test_the_command_depends_on_what_it_loads_late(packages):
    assert "libcurl4 (>= 7.88)" in field(packages["quorin"], "Depends")


def test_each_depends_on_what_it_needs_of_its_own_version(packages):
    version = field(packages["quorin"], "Version")
    for name in ("libmd-common-quorin-dev", "quorin"):
        assert f"libmd-common-quorin0 (= {version})" in field(packages[name], "Depends")


def test_the_packages_of_all_linked_libraries_are_dependencies(packages, unpacked, libraries):
    files = {"quorin": [unpacked / "usr/bin/quorin"],
             "libmd-common-quorin0": list(libraries.glob("*.so.*"))}
    for name, paths in files.items():
        wanted = set()
        for path in paths:
            for library in re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "-d", path)):
                if not library.startswith(("libmd-", "ld-linux")):
                    wanted.add(re.match(r"[^:]+", run("dpkg-query", "-S", f"*/lib/*/{library}")).group())
        assert wanted
        listed = {re.match(r"\S+", word).group() for word in field(packages[name], "Depends").split(", ")}
        assert wanted <= listed


def test_the_command_works_and_needs_no_path_of_its_own(unpacked, libraries, target, tone):
    command = unpacked / "usr/bin/quorin"
    assert "RUNPATH" not in run("readelf", "-d", command)
    out = target.execute(command, "--json", tone, environment={"LD_LIBRARY_PATH": str(libraries)})
    assert '"media_type":"wav"' in out


def test_manual_and_completions_are_where_debian_looks(unpacked):
    share = unpacked / "usr/share"
    assert b".TH" in gzip.decompress((share / "man/man1/quorin.1.gz").read_bytes())
    for path in ("bash-completion/completions/quorin", "zsh/vendor-completions/_quorin",
                 "fish/vendor_completions.d/quorin.fish"):
        assert (share / path).stat().st_size > 1000


def test_a_program_builds_against_the_development_package(libraries, target, tone, tmp_path):
    target.configure(CONSUMER, tmp_path, f"-Dmd-common-quorin_DIR={libraries}/cmake/md-common-quorin")
    run("cmake", "--build", tmp_path)
    assert "audio/x-wav 44100" in target.execute(tmp_path / "consumer", tone)


def test_nothing_of_the_build_machine_is_in_the_packages(unpacked):
    """Neither paths of the build nor a home folder."""
    for path in unpacked.rglob("*"):
        if path.is_file() and not path.is_symlink():
            assert os.fsencode(TREE) not in path.read_bytes(), path
