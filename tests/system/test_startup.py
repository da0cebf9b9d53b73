"""What the command loads: a local file does not pay for the network."""

import re

import pytest

from web_server import Nginx


@pytest.fixture
def loaded(quorin):
    """The libraries that a run of the command has loaded, without what stands behind their names."""
    def libraries(*arguments):
        result = quorin(*arguments, environment={"LD_DEBUG": "files"})
        return {path.rsplit("/")[-1] for path in re.findall(r"file=(\S+?)\.so\S* \[0\];  generating", result.err)}
    return libraries


NETWORK = {"libcurl", "libssl", "libmd-platform-host-http"}
MOUNTS = {"libmount", "libmd-platform-host-mounts"}


@pytest.mark.parametrize("arguments", [("01 Opening.mp3",), ("scan", "."), ("cover", "-d", ".", "01 Opening.mp3"),
                                       ("map", "01 Opening.mp3"), ("play", "01 Opening.mp3", "-v"), ("--help",)])
def test_local_files_load_no_network(loaded, album, arguments):
    libraries = loaded(*arguments)
    assert "libmd-platform-host" in libraries
    assert not libraries & (NETWORK | MOUNTS)


def test_the_network_comes_in_with_the_first_address(loaded, album, tmp_path_factory, plain_mp3):
    with Nginx(tmp_path_factory.mktemp("nginx")) as server:
        (server.www / "song.mp3").write_bytes(plain_mp3)
        libraries = loaded("01 Opening.mp3", f"{server.url}/song.mp3")
    assert NETWORK <= libraries
    assert not libraries & MOUNTS


def test_mounted_media_are_asked_for_a_uuid_that_is_not_registered(loaded):
    libraries = loaded("vdr2://0000-0000/a.mp3")
    assert MOUNTS <= libraries
    assert not libraries & NETWORK
