"""Servers that mean harm, as who runs the command sees them: the error, its message, the exit status, in time."""

import contextlib
import socket
import threading
import time

import pytest

from web_server import Nginx, scripted_server

# More than any of this takes on a busy machine; limits that a test does not mean are longer.
SOON = 20
LIMITS = ["--connect-timeout", "60", "--stall-timeout", "60"]

TIMED_OUT = ("timed_out", "timed out")
NO_HTTP = ("http_client_error", "the server refuses the request (HTTP 4xx), or does not speak HTTP")


@contextlib.contextmanager
def flood(beginning, piece, pause=0.0):
    """A server that sends `beginning` and then `piece` without end. Yields its URL."""
    listener = socket.create_server(("127.0.0.1", 0))
    ending = threading.Event()
    threads = []

    def serve(connection):
        with connection, contextlib.suppress(OSError):
            connection.recv(65536)
            connection.sendall(beginning)
            while not ending.wait(pause):
                connection.sendall(piece)

    def accept():
        with contextlib.suppress(OSError):
            while True:
                threads.append(threading.Thread(target=serve, args=(listener.accept()[0],), daemon=True))
                threads[-1].start()

    acceptor = threading.Thread(target=accept, daemon=True)
    acceptor.start()
    try:
        yield f"http://127.0.0.1:{listener.getsockname()[1]}"
    finally:
        ending.set()
        listener.shutdown(socket.SHUT_RDWR)
        listener.close()
        for thread in [acceptor, *threads]:
            thread.join(10)


def check_failure(quorin, url, error, *options, suffix=""):
    """The command fails in that way, in its record and in words. Returns the seconds that the record took."""
    name, message = error
    start = time.monotonic()
    record = quorin.record(*LIMITS, *options, url)
    took = time.monotonic() - start
    assert record["error"]["name"] == name
    result = quorin(*LIMITS, *options, url)
    assert (result.code, result.complaints) == (3, [f"quorin: {url}: {message}{suffix}"])
    assert took < SOON
    return took


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
        took = check_failure(quorin, url, ("timed_out", "timed out while it was read"), "--timeout", "0.7")
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
