"""quorin play: the audio to standard output."""

import json
import subprocess

import pytest

from conftest import COMMAND, TIME_LIMIT, check_records, clean_environment
from web_server import Nginx, live, scripted_server


@pytest.fixture(scope="module")
def nginx(tmp_path_factory, plain_mp3):
    with Nginx(tmp_path_factory.mktemp("nginx")) as server:
        (server.www / "song.mp3").write_bytes(plain_mp3)
        yield server


def played(*arguments, cwd=None):
    """Standard output as it is, the exit status, the complaints."""
    process = subprocess.run([COMMAND, "play", *arguments], cwd=cwd, env=clean_environment(), capture_output=True,
                             stdin=subprocess.DEVNULL, timeout=TIME_LIMIT)
    return process.stdout, process.returncode, process.stderr.decode().splitlines()


def test_the_audio_without_its_tags(album, plain_mp3):
    path = album / "01 Opening.mp3"
    path.write_bytes(path.read_bytes() + b"TAG" + bytes(125))
    assert played("01 Opening.mp3", cwd=album) == (plain_mp3, 0, [])


def test_a_player_takes_it(album):
    process = subprocess.Popen([COMMAND, "play", "01 Opening.mp3"], cwd=album, stdout=subprocess.PIPE)
    player = subprocess.run(["mpg123", "-q", "-t", "-"], stdin=process.stdout, capture_output=True, timeout=TIME_LIMIT)
    process.stdout.close()
    assert (player.returncode, player.stderr, process.wait(TIME_LIMIT)) == (0, b"", 0)


def test_over_http_and_behind_redirects(nginx, plain_mp3):
    assert played(f"{nginx.url}/song.mp3") == (plain_mp3, 0, [])
    assert played("-f1", nginx.go("/song.mp3")) == (plain_mp3, 0, [])


def test_a_reader_who_goes_away_is_no_failure(nginx, plain_mp3):
    (nginx.www / "long.mp3").write_bytes(plain_mp3 * 100)
    process = subprocess.Popen([COMMAND, "play", f"{nginx.url}/long.mp3"], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    assert process.stdout.read(1000) == plain_mp3[:1000]
    process.stdout.close()
    assert (process.wait(TIME_LIMIT), process.stderr.read()) == (0, b"")


def test_output_that_cannot_be_written(album):
    with open("/dev/full", "w") as full:
        process = subprocess.run([COMMAND, "play", "01 Opening.mp3"], cwd=album, stdout=full, stderr=subprocess.PIPE)
    assert (process.returncode, process.stderr) == (4, b"quorin: standard output: no space left on device\n")


# Live streams


def test_the_metadata_of_a_live_stream_is_taken_out(plain_mp3):
    with scripted_server(live(plain_mp3), close=True) as url:
        assert played(url) == (plain_mp3, 0, [])


def test_the_titles_of_a_live_stream_are_told_on_request(plain_mp3):
    with scripted_server(live(plain_mp3), close=True) as url:
        out, code, said = played("-v", url)
    assert (out, code) == (plain_mp3, 0)
    assert said[:3] == ["quorin: playing: One", "quorin: playing: It's; two", "quorin: playing: Two"]
    assert said[3].startswith(f"quorin: {url}: audio: 47.5 KiB in ") and len(said) == 4


def test_titles_cannot_harm_a_terminal(plain_mp3):
    with scripted_server(live(plain_mp3, titles=("\x1b[2J",)), close=True) as url:
        assert played("-v", url)[2][0] == "quorin: playing: \\x1b[2J"


def test_metadata_without_a_title_is_told_as_it_is(plain_mp3):
    stream = live(plain_mp3, titles=("One",)).replace(b"StreamTitle='One';StreamUrl='x'", b"just text".ljust(31, b"\0"))
    with scripted_server(stream, close=True) as url:
        assert played("-v", url)[2][0] == "quorin: playing: just text"


# The record, which cannot be where the stream is


def test_the_record_comes_last_on_standard_error(quorin, album, plain_mp3):
    out, code, said = played("--json", "02 日本語の歌.mp3", cwd=album)
    assert (out, code, len(said)) == (plain_mp3, 0, 1)
    check_records(said[0])
    record, looked = json.loads(said[0]), quorin.record("02 日本語の歌.mp3")
    assert {**record, "cost": 0} == {**looked, "cost": 0}
    assert record["cost"]["bytes"] >= len(plain_mp3)


def test_the_record_of_what_cannot_be_played(album):
    for item, name in (("01 Opening.mp3", None), ("missing", "not_found"), ("noise.bin", "not_recognised"),
                       (".", "not_audio")):
        with open("/dev/null", "w") as null:
            said = subprocess.run([COMMAND, "play", "-q", "--json", item], cwd=album, env=clean_environment(),
                                  stdout=null, stderr=subprocess.PIPE, timeout=TIME_LIMIT).stderr.decode()
        check_records(said)
        record = json.loads(said)
        assert record.get("error", {}).get("name") == name
        assert record["kind"] == ("error" if name else "audio")


# What cannot be played


def test_what_is_no_audio(album):
    (album / "folder").mkdir()
    assert played("folder", cwd=album) == (b"", 3, ["quorin: folder: a folder"])
    assert played("noise.bin", cwd=album) == (b"", 3, ["quorin: noise.bin: not recognised"])
    assert played("missing", cwd=album) == (b"", 3, ["quorin: missing: no such file or directory"])


def test_a_stream_that_breaks_off_is_played_so_far(plain_mp3):
    head = b"HTTP/1.1 200 OK\r\nContent-Type: audio/mpeg\r\nContent-Length: 1000000\r\nConnection: close\r\n\r\n"
    with scripted_server(head + plain_mp3, close=True) as url:
        out, code, complaints = played(url)
    assert (out, code) == (plain_mp3, 3)
    assert complaints == [f"quorin: {url}: the connection ended before the item did"]


@pytest.mark.parametrize("arguments, cause", [((), "no item is given"), (("a", "b"), "'play' takes one item"),
                                              (("-o", "x", "a"), "'play' takes no option -o; it is for cover, report")])
def test_wrong_usage(arguments, cause):
    assert played(*arguments) == (b"", 2, [f"quorin: {cause} ('quorin play --help' tells more)"])
