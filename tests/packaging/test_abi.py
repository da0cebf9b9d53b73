"""What a program sees of the shared libraries: their names, and the layout behind them. Kept in packaging/abi, so that
a change shows in review. `--update-golden` rewrites what is kept; a change after which programs have to be built
again also takes a new QUORIN_SOVERSION."""

import lzma

import pytest

from conftest import BUILD, TREE, run

KEPT = TREE / "packaging/abi"
LIBRARIES = ["md-common-quorin", "md-platform-host"]
MODULES = ["md-platform-host-http", "md-platform-host-mounts"]  # programs do not link these
HEADERS = [TREE / "include", TREE / "platform/include"]


def library_file(name):
    return BUILD / f"lib/lib{name}.so"


@pytest.mark.parametrize("name", LIBRARIES + MODULES)
def test_exactly_the_listed_names_are_shown(name, golden):
    symbols = run("nm", "-DC", "--defined-only", library_file(name)).splitlines()
    names = sorted({line.split(maxsplit=2)[2] for line in symbols})
    golden(KEPT / f"{name}.names", "".join(line + "\n" for line in names))


def dump(name, path):
    folders = [word for folder in HEADERS for word in ("--headers-dir", folder)]
    run("abidw", *folders, "--drop-private-types", "--no-corpus-path", "--no-comp-dir-path", "--no-show-locs",
        "--type-id-style", "hash", library_file(name), "--out-file", path)


# The 32-bit build carries no debug information; its names are compared above.
@pytest.mark.parametrize("name", LIBRARIES)
def test_the_layout_is_the_kept_one(name, target, tmp_path, request):
    if target.is_armhf:
        pytest.skip("no debug information in this build")
    kept, then, now = KEPT / f"{name}.amd64.abi.xz", tmp_path / "then.abi", tmp_path / "now.abi"
    dump(name, now)
    if request.config.getoption("--update-golden"):
        kept.write_bytes(lzma.compress(now.read_bytes()))
    then.write_bytes(lzma.decompress(kept.read_bytes()))
    run("abidiff", "--suppressions", KEPT / "private.suppr", then, now)
