"""Servers that mean harm, as who runs the command sees them: the error, its message, the exit status, in time."""

import contextlib
import gzip
import pathlib
import re
import socket
import subprocess
import threading
import time

import pytest

from conftest import id3_tag
from web_server import Nginx, flood, part, range_server, scripted_server

# More than any of this takes on a busy machine; limits that a test does not mean are longer.
SOON = 20
LIMITS = ["--connect-timeout", "60", "--stall-timeout", "60"]

TIMED_OUT = ("timed_out", "timed out")
NO_HTTP = ("http_client_error", "the server refuses the request (HTTP 4xx), or does not speak HTTP")
TIMED_OUT_READING = ("timed_out", "timed out while it was read")
NO_SUCH_HOST = ("no_such_host", "no such host")
CHANGED = ("io_error", "the item changed while it was read")
NOT_RECOGNISED = ("not_recognised", "not recognised")


def check_failure(quorin, url, error, *options, suffix="", **how):
    """The command fails in that way, in its record and in words. Returns the seconds that the record took."""
    name, message = error
    start = time.monotonic()
    record = quorin.record(*LIMITS, *options, url, **how)
    took = time.monotonic() - start
    assert record["error"]["name"] == name
    result = quorin(*LIMITS, *options, url, **how)
    code = 1 if error == NOT_RECOGNISED else 3
    assert (result.code, result.complaints) == (code, [f"quorin: {url}: {message}{suffix}"])
    assert took < SOON
    return took


def play(quorin, *arguments):
    """What is played, and how that ends."""
    with open(quorin.folder / "played", "w+b") as file:
        result = quorin("play", *arguments, stdout=file)
        file.seek(0)
        return file.read(), result


@pytest.mark.parametrize("beginning, piece", [
    (b"", b"HTTP/1.1 100 Continue\r\n\r\n" * 100),
    (b"HTTP/1.1 200 OK\r\n", b"X-More: and more\r\n" * 100),
    (b"HTTP/1.1 200 OK\r\nX-Long: ", b"x" * 4096),
    (b"", b"no HTTP at all " * 100),
], ids=["interim", "lines", "line", "garbage"])
def test_a_header_without_end(quorin, beginning, piece):
    with flood(beginning, piece) as url:
        check_failure(quorin, url, NO_HTTP)


@pytest.mark.parametrize("beginning, piece", [
    (b"", b"HTTP/1.1 103 Early Hints\r\n\r\n"),
    (b"HTTP/1.1 200 OK\r\n", b"X: 1\r\n"),
], ids=["interim", "lines"])
def test_a_header_that_trickles(quorin, beginning, piece):
    with flood(beginning, piece, pause=0.05) as url:
        assert check_failure(quorin, url, TIMED_OUT, "--timeout", "0.7") >= 0.7


def test_a_body_that_trickles(quorin):
    with flood(b"HTTP/1.1 200 OK\r\n\r\n", b"text", pause=0.05) as url:
        took = check_failure(quorin, url, TIMED_OUT_READING, "--timeout", "0.7")
    assert took >= 0.7


def test_a_body_that_nobody_can_read_to_its_end_while_it_plays(quorin):
    frames = (b"\xff\xfb\x90\x00" + bytes(413)) * 100
    with flood(b"HTTP/1.1 200 OK\r\nContent-Type: audio/mpeg\r\n\r\n", frames) as url:
        start = time.monotonic()
        result = quorin("play", "--timeout", "1", url)
        assert 1 <= time.monotonic() - start < SOON
    assert (result.code, result.complaints) == (3, [f"quorin: {url}: timed out while it was read"])


@pytest.mark.parametrize("header", [
    b"Content-Length: -1", b"Content-Length: none", b"Transfer-Encoding: gzip",
])
def test_a_body_of_no_sensible_form(quorin, header):
    with scripted_server(b"HTTP/1.1 200 OK\r\n" + header + b"\r\n\r\nbody", close=True) as url:
        check_failure(quorin, url, NO_HTTP)


def test_a_body_that_ends_too_soon(quorin):
    with scripted_server(b"HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nbody", close=True) as url:
        check_failure(quorin, url, ("io_error", "the connection ended before the item did"))


# Live streams whose titles never end

LIVE = b"ICY 200 OK\r\nContent-Type: audio/mpeg\r\nicy-metaint: 1\r\n\r\n"
SOUND_OF_NOTHING = bytes(range(1, 65))
TITLES = pytest.mark.parametrize("title", [b"StreamTitle='%s';" % (b"y" * 4065), b"StreamTitle='" + b"y" * 4067],
                                 ids=["closed", "open"])


def drowned(audio, title):
    """The longest title behind each byte of the audio."""
    return b"".join(bytes([byte, 255]) + title for byte in audio)


@TITLES
def test_titles_without_end_of_what_is_no_audio(quorin, title):
    with flood(LIVE, drowned(SOUND_OF_NOTHING, title)) as url:
        check_failure(quorin, url, NOT_RECOGNISED)


@TITLES
def test_titles_without_end_within_what_is_stepped_over(quorin, title):
    tag = id3_tag((b"COMM", bytes(1_000_000)))[:10]
    with flood(LIVE + drowned(tag, title), drowned(SOUND_OF_NOTHING, title)) as url:
        assert check_failure(quorin, url, TIMED_OUT_READING, "--timeout", "0.7") >= 0.7


@TITLES
def test_titles_without_end_hide_no_audio(quorin, plain_mp3, title):
    with flood(LIVE, drowned(plain_mp3, title)) as url:
        record = quorin.record(*LIMITS, url)
        start = time.monotonic()
        played, result = play(quorin, "--timeout", "1", url)
        assert 1 <= time.monotonic() - start < SOON
    assert (record["kind"], record["audio"]["bit_rate"]) == ("audio", 128000)
    assert (result.code, result.complaints) == (3, [f"quorin: {url}: timed out while it was read"])
    assert played and (plain_mp3 * (len(played) // len(plain_mp3) + 1)).startswith(played)


# Bodies that are compressed although nobody asked for that


def chunks(body):
    return b"Transfer-Encoding: chunked\r\n\r\n%x\r\n%s\r\n0\r\n\r\n" % (len(body), body)


def whole(body):
    return b"Content-Length: %d\r\n\r\n%s" % (len(body), body)


@pytest.mark.parametrize("form", [whole, chunks])
@pytest.mark.parametrize("unpacked", ["plain_mp3", None], ids=["audio", "very much"])
def test_a_compressed_body_is_not_unpacked(quorin, request, form, unpacked):
    body = gzip.compress(request.getfixturevalue(unpacked) if unpacked else bytes(64 << 20))
    header = b"HTTP/1.1 200 OK\r\nContent-Type: audio/mpeg\r\nContent-Encoding: gzip\r\n"
    with scripted_server(header + form(body), close=True) as url:
        check_failure(quorin, url, NOT_RECOGNISED)
        assert quorin.record(url)["cost"]["bytes"] == len(body)


# Ranges that are not those that were asked for


def without_range(answer):
    return answer.replace(b"Content-Range:", b"X-Range:")


@pytest.mark.parametrize("lie", [
    lambda item, first, last: part(item, first + 1, last + 1),
    lambda item, first, last: without_range(part(item, first, last)),
], ids=["another", "none"])
def test_a_first_range_that_is_a_lie(quorin, tagged_mp3, lie):
    with range_server(lambda first, last: lie(tagged_mp3, first, last)) as url:
        check_failure(quorin, url, NO_HTTP)


VERSION = 'ETag: "1"\r\nLast-Modified: Mon, 01 Jan 2024 00:00:00 GMT\r\n'
LATER_ANSWERS = {
    "next range": lambda item, first, last: part(item, first + 1, last + 1, VERSION),
    "first range": lambda item, first, last: part(item, 0, last - first, VERSION),
    "no range": lambda item, first, last: without_range(part(item, first, last, VERSION)),
    "whole item": lambda item, first, last: b"HTTP/1.1 200 OK\r\n" + VERSION.encode() + whole(item),
    "beyond the end": lambda item, first, last:
        b"HTTP/1.1 416 No\r\nContent-Range: bytes */%d\r\n%s" % (first, whole(b"")),
    "another ETag": lambda item, first, last: part(item, first, last, VERSION.replace('"1"', '"2"')),
    "weak ETag": lambda item, first, last: part(item, first, last, 'ETag: W/"1"\r\n'),
    "no ETag, no date": lambda item, first, last: part(item, first, last),
    "another date": lambda item, first, last: part(item, first, last, VERSION.replace("2024", "2025")),
    "larger": lambda item, first, last: part(item + b"x", first, last, VERSION),
    "smaller": lambda item, first, last: part(item[:-1], first, last, VERSION),
}


@pytest.fixture(params=LATER_ANSWERS)
def liar(request):
    """Makes a server that keeps its word about an item in its first answer only: the later bytes are those of another."""
    answer = LATER_ANSWERS[request.param]
    return lambda item: range_server(
        lambda first, last: answer(item[::-1], first, last) if first > 0 else part(item, first, last, VERSION))


def test_a_later_range_that_is_a_lie(quorin, tagged_mp3, liar):
    with liar(tagged_mp3) as url:
        check_failure(quorin, url, CHANGED)


def test_a_lie_about_the_end_leaves_the_end_untold_and_all_else_as_it_is(quorin, plain_mp3, liar):
    with range_server(lambda first, last: part(plain_mp3, first, last, VERSION)) as url:
        truth = quorin.record(url)
    assert truth["audio"].pop("data_end_offset") == len(plain_mp3) - 1
    with liar(plain_mp3) as url:
        record = quorin.record(*LIMITS, url)
        result = quorin(*LIMITS, url)
    assert (result.code, result.err) == (0, "")
    assert record["kind"] == "audio" and record["cost"]["requests"] == truth["cost"]["requests"] > 1
    assert {**record, "uri": 0, "cost": 0} == {**truth, "uri": 0, "cost": 0}


def test_of_two_items_only_one_is_played(quorin, plain_mp3, liar):
    with liar(plain_mp3) as url:
        played, result = play(quorin, *LIMITS, url)
    assert (result.code, result.complaints) == (3, [f"quorin: {url}: the item changed while it was read"])
    assert played and plain_mp3.startswith(played)


# Names that nobody knows

WITH_NAME_SERVER = ("unshare", "-m", "sh", "-c", 'mount --bind resolv.conf /etc/resolv.conf && exec "$@"', "sh")


@contextlib.contextmanager
def name_server(answer):
    """A name server, which answers a QUESTION (RFC 1035) by answer(QUESTION), unless that is empty. Yields what it was
    asked."""
    questions = []
    ending = threading.Event()

    def serve():
        while not ending.is_set():
            with contextlib.suppress(TimeoutError):
                question, sender = server.recvfrom(512)
                questions.append(question)
                if reply := answer(question):
                    server.sendto(reply, sender)

    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as server:
        server.bind(("127.0.0.1", 53))
        server.settimeout(0.05)
        thread = threading.Thread(target=serve, daemon=True)
        thread.start()
        try:
            yield questions
        finally:
            ending.set()
            thread.join(10)


def refusal(code):
    """Answers without an address, with a code of RFC 1035."""
    return lambda question: question[:2] + bytes([question[2] | 0x80, code]) + question[4:]


def asks_name_servers():
    """Whether the C library does so itself; a service that it asks instead has name servers of its own."""
    path = pathlib.Path("/etc/nsswitch.conf")
    hosts = re.search("^hosts:(.*)", path.read_text() if path.exists() else "", re.MULTILINE)
    return hosts is None or "resolve" not in hosts[1]


@pytest.mark.parametrize("answer, error", [
    (refusal(3), NO_SUCH_HOST), (refusal(0), NO_SUCH_HOST), (refusal(2), NO_SUCH_HOST),
    (lambda question: b"", TIMED_OUT), (lambda question: refusal(0)(question)[:13], TIMED_OUT),
], ids=["no such name", "no address", "failure", "silence", "nonsense"])
def test_a_name_that_resolves_to_nothing(quorin, answer, error):
    (quorin.folder / "resolv.conf").write_text("nameserver 127.0.0.1\noptions timeout:30 attempts:1\n")
    with_name_server = subprocess.run([*WITH_NAME_SERVER, "true"], cwd=quorin.folder, capture_output=True)
    if len(socket.if_nameindex()) != 1 or with_name_server.returncode != 0 or not asks_name_servers():
        pytest.skip("this machine lets no test have a name server of its own")
    options = ("--connect-timeout", "0.7") if error == TIMED_OUT else ()
    with name_server(answer) as questions:
        took = check_failure(quorin, "http://a-name-of-this-test.example/song.mp3", error, *options,
                             prefix=WITH_NAME_SERVER)
    assert questions
    assert took >= 0.7 or error == NO_SUCH_HOST


# Where redirects lead to


@pytest.fixture(scope="module")
def nginx(tmp_path_factory):
    with Nginx(tmp_path_factory.mktemp("nginx")) as server:
        yield server


@pytest.mark.parametrize("target", ["gopher://127.0.0.1/1", "javascript:alert(1)", "data:audio/mpeg;base64,SUQz",
                                    "ftp://127.0.0.1/song.mp3", "dict://127.0.0.1/d:x"])
def test_a_redirect_to_what_nothing_opens(quorin, nginx, target):
    url, scheme = nginx.go(target), target.partition(":")[0]
    assert quorin.record(url)["redirect"]["urls"] == [target]
    check_failure(quorin, url, ("no_opener", f'nothing here opens "{scheme}:"'), "--follow", "9",
                  suffix=f"; redirects: {url} -> {target}")


@pytest.mark.parametrize("target", ["file:///etc/passwd", "FILE:/etc/passwd", "vdr2://CARD/song.mp3"])
def test_a_redirect_to_this_machine(quorin, nginx, target):
    url = nginx.go(target)
    assert quorin.record(url)["redirect"]["urls"] == [target]
    check_failure(quorin, url,
                  ("local_target", "the network redirects to something local, which takes --allow-local"),
                  "--follow", "9", suffix=f"; redirects: {url} -> {target}")


def test_a_redirect_of_a_megabyte(quorin):
    with flood(b"HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1/", b"x" * 65536) as url:
        check_failure(quorin, url, NO_HTTP, "--follow", "9")


def test_a_redirect_with_control_characters(quorin):
    answer = b"HTTP/1.1 302 Found\r\nLocation: gopher:\x1b[31m\x07\x7f\r\nContent-Length: 0\r\n\r\n"
    with scripted_server(answer, close=True) as url:
        assert quorin.record(url)["redirect"]["urls"] == ["gopher:\x1b[31m\x07\x7f"]
        result = quorin("--follow", "9", url)
    assert result.code == 3
    assert not [c for c in result.out + result.err if ord(c) < 32 and c != "\n" or ord(c) == 127]
