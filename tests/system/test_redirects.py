"""Redirects and playlists as a real server sends them: what the library makes of them, one step at a time."""

import pytest

from web_server import Nginx, scripted_server

PLAYLIST_TYPES = ["audio/x-ms-wax", "audio/x-ms-asf", "video/x-ms-wvx", "video/x-ms-asf", "audio/mpegurl",
                  "audio/x-mpegurl"]
CODES = [301, 302, 303, 307, 308]


@pytest.fixture(scope="module")
def nginx(tmp_path_factory, plain_mp3):
    with Nginx(tmp_path_factory.mktemp("nginx")) as server:
        (server.www / "song.mp3").write_bytes(plain_mp3)
        yield server


# The Location line


@pytest.mark.parametrize("code", CODES)
@pytest.mark.parametrize("target, stored", [
    ("http://127.0.0.1:1/song.mp3", "http://127.0.0.1:1/song.mp3"),
    ("/song.mp3", "/song.mp3"),
    ("../song.mp3?a=b", "../song.mp3?a=b"),
    ("HTTP://Example.ORG/a b", "http://example.org/a%20b"),
])
def test_a_location_is_the_target_as_it_stands_but_repaired(quorin, nginx, code, target, stored):
    record = quorin.record(nginx.go(target, code))
    assert (record["kind"], record["mime_type"]) == ("redirect", "application/redirect")
    assert record["redirect"]["urls"] == [stored]


@pytest.mark.parametrize("code", CODES)
def test_an_empty_location_is_an_error(quorin, nginx, code):
    assert quorin.record(nginx.go("", code))["error"]["name"] == "redirect_without_location"


@pytest.mark.parametrize("code", CODES)
def test_a_missing_location_is_an_error(quorin, code):
    with scripted_server(f"HTTP/1.1 {code} Elsewhere\r\nContent-Length: 0\r\n\r\n".encode()) as url:
        assert quorin.record(url)["error"]["name"] == "redirect_without_location"


def test_other_answers_of_that_class_are_not_followed(quorin, nginx):
    assert quorin.record(nginx.go("/song.mp3", 304))["error"]["name"] == "http_client_error"


def test_what_a_redirect_costs_is_told(quorin, nginx):
    cost = quorin.record(nginx.go("/song.mp3"))["cost"]
    assert cost["requests"] == 1


# Playlists: each form under each content type


FORMS = {
    "m3u": ("#EXTM3U\r\n#EXTINF:1,One\r\nhttp://h/1.mp3\r\n", "http://h/1.mp3", "application/redirect"),
    "asx": ('<ASX version="3.0"><Entry><Ref href="http://h/s"/></Entry></ASX>', "mmsh://h/s",
            "application/redirect-asf"),
    "entryref": ('<asx><entryref href="http://h/more.asx"/></asx>', "http://h/more.asx", "application/redirect"),
    "reference": ("[Reference]\r\nRef1=http://h/s?MSWMExt=.asf\r\nRef2=x\r\n", "mmsh://h/s?MSWMExt=.asf",
                  "application/redirect-asf"),
}


@pytest.mark.parametrize("content_type", PLAYLIST_TYPES)
@pytest.mark.parametrize("form", FORMS)
@pytest.mark.parametrize("written", [str, lambda text: text + "; charset=utf-8", str.upper, str.title])
def test_a_playlist_of_every_form_under_every_type(quorin, nginx, content_type, form, written):
    body, target, mime_type = FORMS[form]
    record = quorin.record(nginx.serve("list", body, written(content_type)))
    assert record["redirect"] == {"content_type": written(content_type), "urls": [target]}
    assert record["mime_type"] == mime_type


@pytest.mark.parametrize("content_type", PLAYLIST_TYPES)
@pytest.mark.parametrize("written", [str, lambda text: text + "; charset=utf-8", str.upper, str.title])
def test_a_bare_url_is_a_stream_where_the_type_says_asf(quorin, nginx, content_type, written):
    record = quorin.record(nginx.serve("list", "http://h/s\n", written(content_type)))
    is_asf = "mpegurl" not in content_type
    assert record["redirect"]["urls"] == ["mmsh://h/s" if is_asf else "http://h/s"]
    assert record["mime_type"] == ("application/redirect-asf" if is_asf else "application/redirect")


@pytest.mark.parametrize("content_type", ["text/plain", "audio/mpeg", "application/xspf+xml", "audio/mpeg-url"])
def test_other_types_are_no_playlists(quorin, nginx, content_type):
    assert quorin.record(nginx.serve("list", FORMS["m3u"][0], content_type))["kind"] == "unknown"


# What is seen of a long body


def list_of(size, target_at, target="http://127.0.0.1/1.mp3"):
    """A playlist of exactly that many bytes whose target begins at `target_at`."""
    head = "#EXTM3U\n#EXTINF:1,"
    text = head + "x" * (target_at - len(head) - 1) + "\n" + target + "\n"
    assert len(text) <= size
    return text + "#" * (size - len(text))


@pytest.mark.parametrize("size", [9999, 10000, 10001, 200000])
def test_a_target_before_the_limit_is_followed_whatever_the_size(quorin, nginx, size):
    record = quorin.record(nginx.serve("list", list_of(size, 100), "audio/mpegurl"))
    assert record["redirect"]["urls"] == ["http://127.0.0.1/1.mp3"]


def test_a_target_that_ends_at_the_limit_is_followed_whole(quorin, nginx):
    target = "http://127.0.0.1/1.mp3"
    for size in (10000, 12000):
        body = list_of(size, 10000 - len(target) - 1)
        assert quorin.record(nginx.serve("list", body, "audio/mpegurl"))["redirect"]["urls"] == [target]


def test_a_target_that_runs_over_the_limit_is_cut_there(quorin, nginx):
    body = list_of(12000, 9990)
    assert quorin.record(nginx.serve("list", body, "audio/mpegurl"))["redirect"]["urls"] == ["http://127"]


@pytest.mark.parametrize("target_at", [10000, 10001, 11000])
def test_a_target_behind_the_limit_is_not_seen(quorin, nginx, target_at):
    assert quorin.record(nginx.serve("list", list_of(12000, target_at), "audio/mpegurl"))["kind"] == "unknown"


def test_a_body_that_stops_short_gives_what_it_holds(quorin):
    head = b"HTTP/1.1 200 OK\r\nContent-Type: audio/mpegurl\r\nContent-Length: 5000\r\nConnection: close\r\n\r\n"
    with scripted_server(head + b"#EXTM3U\nhttp://h/1.mp3\n#EXTINF:2,", close=True) as url:
        assert quorin.record(url)["redirect"]["urls"] == ["http://h/1.mp3"]


def test_a_body_that_stops_before_its_target_is_an_error_of_reading(quorin):
    head = b"HTTP/1.1 200 OK\r\nContent-Type: audio/mpegurl\r\nContent-Length: 5000\r\nConnection: close\r\n\r\n"
    with scripted_server(head + b"#EXTM3U\n#EXTINF:2,", close=True) as url:
        record = quorin.record(url)
        assert (record["kind"], record["error"]["name"]) == ("unknown", "io_error")
