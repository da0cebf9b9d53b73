"""What `cmake --install` puts where, and that it works from there."""

import os
import subprocess

import pytest

from conftest import TIME_LIMIT, clean_environment


@pytest.fixture
def prefix(tmp_path):
    """Installed somewhere, then moved elsewhere."""
    subprocess.run(["cmake", "--install", os.environ["QUORIN_BUILD"], "--prefix", tmp_path / "first"], check=True,
                   capture_output=True, timeout=TIME_LIMIT)
    return (tmp_path / "first").rename(tmp_path / "second")


def test_the_command_works_from_where_it_is_installed(prefix, album):
    command = [prefix / "bin/quorin", "01 Opening.mp3"]
    result = subprocess.run(command, cwd=album, env=clean_environment(), capture_output=True, text=True, check=True)
    assert "  audio     MP3, 44.1 kHz" in result.stdout
    libraries = subprocess.run(["ldd", command[0]], capture_output=True, text=True, check=True).stdout
    for line in libraries.splitlines():
        assert "libmd-" not in line or f"=> {prefix}/bin/../lib" in line


def test_manual_and_completions_are_where_their_readers_look(prefix):
    for path in ("man/man1/quorin.1", "bash-completion/completions/quorin", "zsh/vendor-completions/_quorin",
                 "fish/vendor_completions.d/quorin.fish"):
        assert (prefix / "share" / path).stat().st_size > 1000
