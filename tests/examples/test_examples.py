"""Every program of examples/: what it prints, and how it ends."""

import contextlib
import http.server
import threading
import time

import pytest

from web_server import Nginx, live, scripted_server


@pytest.fixture(scope="module")
def nginx(tmp_path_factory, media):
    with Nginx(tmp_path_factory.mktemp("nginx")) as server:
        (server.www / "song.mp3").write_bytes((media / "song.mp3").read_bytes())
        yield server


@pytest.fixture
def song(media):
    return str(media / "song.mp3")


@pytest.fixture
def tone(media):
    return str(media / "tone.wav")


def audio_in(path):
    """The bytes of an MP3 file between its tags, and where they begin."""
    with open(path, "rb") as file:
        item = file.read()
    start = item.index(b"\xff\xfb", item.index(b"\xff\xd9"))
    assert item[-128:-125] == b"TAG"
    return item[start:-128], start


# analyze


def test_analyze_describes_audio(example, media, song):
    audio, start = audio_in(song)
    cover = (media / "cover.jpg").read_bytes()
    with open(song, "rb") as file:
        place = file.read().index(cover)
    assert example("analyze", song) == (0, f"""{song}: audio/mpeg
  sampling frequency (Hz): 44100
  bitrate (bit/s): 128000
  first byte: {start}
  last byte: {start + len(audio) - 1}
  duration (s): 2
  picture: {len(cover)} bytes at {place}
  a player may seek
""".encode(), "")


def test_analyze_tells_other_kinds_of_item(example, media, nginx):
    redirect = nginx.go("http://radio.example/live")
    assert example("analyze", str(media)) == (0, f"{media}: application/folder\n".encode(), "")
    assert example("analyze", redirect) == (
        0, f"{redirect}: application/redirect\n  leads to http://radio.example/live\n".encode(), "")
    cover = media / "cover.jpg"
    assert example("analyze", str(cover)) == (1, f"{cover}: application/unknown\n".encode(), "")


def test_analyze_tells_why_nothing_can_be_said(example, nginx):
    assert example("analyze", "missing") == (1, b"", "missing: there is no such item (-296)\n")
    assert example("analyze", "x-none:1") == (1, b"", "x-none:1: cannot be opened (-297)\n")
    busy = f"{nginx.url}/status/503"
    assert example("analyze", busy) == (1, b"", f"{busy}: cannot be opened at present (-294)\n")
    status, out, complaint = example("analyze", "file")  # the library throws
    assert (status, out, complaint[:6]) == (1, b"", "file: ")
    assert example("analyze") == (1, b"", "usage: analyze ITEM\n")


# follow


def test_follow_goes_on_to_what_is_behind(example, nginx):
    (nginx.www / "radio.m3u").write_text(f"#EXTM3U\n#EXTINF:-1,Radio\n{nginx.url}/moved\n")
    url = nginx.url
    assert example("follow", f"{url}/radio.m3u") == (0, f"""{url}/radio.m3u -> {url}/moved
{url}/moved -> {url}/song.mp3
{url}/song.mp3: audio/mpeg
""".encode(), "")


@pytest.mark.parametrize("target, meaning", [
    ("/song.mp3", "{url}/song.mp3"),
    ("//{server}/song.mp3", "{url}/song.mp3"),
    ("../song.mp3", "{url}/go/../song.mp3"),
    ("song.mp3", "{url}/go/song.mp3"),
    ("song 1.mp3", "{url}/go/song%201.mp3"),
])
def test_follow_understands_relative_targets(example, nginx, target, meaning):
    server = nginx.url[len("http://"):]
    start = nginx.go(target.format(server=server))
    status, out, complaint = example("follow", start)
    meant = meaning.format(url=nginx.url)
    assert out.decode().splitlines()[0] == f"{start} -> {meant}"
    found = "/go/song" not in meant
    assert (status, complaint) == ((0, "") if found else (1, f"{meant}: cannot be opened (-296)\n"))


def test_follow_stops_where_redirects_go_round(example, nginx):
    (nginx.www / "round.m3u").write_text(f"#EXTM3U\n{nginx.url}/robin.m3u\n")
    (nginx.www / "robin.m3u").write_text(f"#EXTM3U\n{nginx.url}/round.m3u\n")
    url = nginx.url
    assert example("follow", f"{url}/round.m3u") == (
        1, f"{url}/round.m3u -> {url}/robin.m3u\n".encode(),
        f"{url}/robin.m3u: the redirects go round in a circle: {url}/round.m3u\n")


@pytest.mark.parametrize("hops", [5, 6])
def test_follow_takes_five_steps(example, nginx, hops):
    uri = f"{nginx.url}/song.mp3"
    for _ in range(hops):
        uri = nginx.go(uri)
    status, out, complaint = example("follow", uri)
    assert out.count(b" -> ") == 5
    assert status == hops - 5
    assert ("too many redirects" in complaint) == (hops == 6)


def test_follow_goes_from_the_network_to_nothing_local(example, nginx, tone):
    (nginx.www / "local.m3u").write_text(f"#EXTM3U\nfile:/{tone}\n")
    for start, target in ((nginx.go(f"file://{tone}"), f"file://{tone}"),
                          (f"{nginx.url}/local.m3u", f"file:/{tone}")):
        assert example("follow", start) == (
            1, b"", f"{start}: leads from the network to something that is not: {target}\n")
    # A path is one of the server, even if there is such a file here.
    start = nginx.go(tone)
    assert example("follow", start) == (1, f"{start} -> {nginx.url}{tone}\n".encode(),
                                        f"{nginx.url}{tone}: cannot be opened (-296)\n")


# play


def test_play_writes_the_audio(example, song, tone, nginx):
    audio, _ = audio_in(song)
    assert example("play", song) == (0, audio, "")
    assert example("play", f"{nginx.url}/song.mp3") == (0, audio, "")
    with open(tone, "rb") as file:
        assert example("play", tone) == (0, file.read(), "")


def test_play_seeks(example, song, nginx):
    audio, _ = audio_in(song)
    for item in (song, f"{nginx.url}/song.mp3"):
        assert example("play", item, "1") == (0, audio[len(audio) // 2:], "")
        for beyond in ("2", "-1", "1x", ""):
            assert example("play", item, beyond) == (1, b"", f"{item}: cannot seek there\n")
    straight_on = f"{nginx.url}/norange/song.mp3"
    assert example("play", straight_on, "1") == (1, b"", f"{straight_on}: cannot seek there\n")


def test_play_tells_the_titles_of_a_live_stream(example, song):
    audio, _ = audio_in(song)
    with scripted_server(live(audio, titles=("One", "Two\x1b[2J")), close=True) as url:
        assert example("play", url) == (0, audio, """at 4096: StreamTitle='One';StreamUrl='x';
at 8192: StreamTitle='Two?[2J';StreamUrl='x';
""")


def test_play_tells_when_the_audio_breaks_off(example, song):
    audio, _ = audio_in(song)
    header = f"HTTP/1.1 200 OK\r\nContent-Type: audio/mpeg\r\nContent-Length: {len(audio) + 1000}\r\n\r\n"
    with scripted_server(header.encode() + audio, close=True) as url:
        assert example("play", url) == (1, audio, f"{url}: ended early (-104)\n")


def test_play_plays_audio_only(example, media):
    assert example("play", str(media)) == (1, b"", f"{media}: no audio\n")
    assert example("play", "missing") == (1, b"", "missing: no audio\n")


# url_translator, own_scheme


def test_url_translator_names_the_stream(example):
    assert example("url_translator") == (0, b"""translator added
radio:jazz   application/redirect: http://radio.example/live/jazz.mp3
radio:       status -297, nowhere to go
translator removed
radio:jazz   status -297, nowhere to go
""", "")


def test_own_scheme_opens_what_is_computed(example):
    assert example("own_scheme", "tone:440") == (0, b"tone:440: audio/x-wav, 88244 bytes\n", "")
    assert example("own_scheme", "TONE:440") == (0, b"TONE:440: audio/x-wav, 88244 bytes\n", "")
    assert example("own_scheme", "tone:1") == (1, b"", "tone:1: cannot be opened (-296)\n")
    assert example("own_scheme", "tone:loud") == (1, b"", "tone:loud: cannot be opened (-294)\n")
    assert example("own_scheme", "note:440") == (1, b"", "note:440: cannot be opened (-297)\n")


# logging


def test_logging_shows_the_lines_with_their_level(example, tone):
    status, out, lines = example("logging", tone)
    assert (status, out) == (0, b"status 0\n")
    assert lines.splitlines()[0] == f"  4000 Analyzer::Impl::analyze() analyze '{tone}'."
    assert lines.splitlines()[-1] == "  5000 AnalyzerAudioWav::analyze(): out ok"
    status, out, lines = example("logging", "missing")
    assert (status, out) == (1, b"status -296\n")
    assert lines.splitlines()[-1] == "! 3000 Analyzer::Impl::analyze() open error=-296."


def test_any_program_logs_on_request(example, tone):
    _, out, lines = example("analyze", tone, OBQ_DEBUG="4000")
    assert lines.splitlines()[0] == f"Analyzer::Impl::analyze() analyze '{tone}'."
    assert example("analyze", tone) == (0, out, "")


# limits


@contextlib.contextmanager
def recording_server(item):
    """A server that answers each request with the item. Yields its URL, and a list of (request target, header)."""
    requests = []

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_GET(self):
            requests.append((self.path, self.headers))
            self.send_response(200)
            self.send_header("Content-Length", str(len(item)))
            self.end_headers()
            with contextlib.suppress(OSError):  # who knows enough hangs up
                self.wfile.write(item)

        def log_message(self, *_):
            pass

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    thread = threading.Thread(target=server.serve_forever)
    thread.start()
    try:
        yield f"http://127.0.0.1:{server.server_port}", requests
    finally:
        server.shutdown()
        server.server_close()
        thread.join(10)


def test_limits_talks_as_it_was_told(example, song):
    with open(song, "rb") as file, recording_server(file.read()) as (url, requests):
        status, out, complaint = example("limits", f"{url}/song.mp3")
    assert (status, complaint) == (0, "")
    assert out.decode().splitlines()[0] == f"{url}/song.mp3: audio/mpeg"
    assert out.decode().splitlines()[1].endswith(f" bytes in {len(requests)} requests")
    target, header = requests[0]
    assert target == "/song.mp3"
    assert (header["User-Agent"], header["X-Room"], header["Accept-Language"]) == ("my-player/1.0", "kitchen", "en")


def test_limits_goes_by_the_proxy(example, song):
    with open(song, "rb") as file, recording_server(file.read()) as (proxy, requests):
        status, out, complaint = example("limits", "http://radio.example/song.mp3", "", proxy)
    assert (status, out.splitlines()[0], complaint) == (0, b"http://radio.example/song.mp3: audio/mpeg", "")
    assert requests[0][0] == "http://radio.example/song.mp3"


def test_limits_trusts_the_certificates_it_is_given(example, nginx):
    url = f"{nginx.secure_url}/song.mp3"
    assert example("limits", url) == (1, b"", f"{url}: cannot be opened (-294)\n")
    status, out, complaint = example("limits", url, nginx.ca)
    assert (status, out.splitlines()[0], complaint) == (0, f"{url}: audio/mpeg".encode(), "")


def test_limits_does_not_wait_for_ever(example):
    with scripted_server(b"HTTP/1.1 200 OK\r\n") as url:  # and then nothing
        started = time.monotonic()
        assert example("limits", url) == (1, b"", f"{url}: cannot be opened (-294)\n")
        assert 1 < time.monotonic() - started < 10


# threads


def test_threads_answer_in_order(example, media, song, tone, nginx):
    url = f"{nginx.url}/song.mp3"
    answers = {song: "audio/mpeg", tone: "audio/x-wav", "missing": "status -296", url: "audio/mpeg",
               str(media): "application/folder"}
    items = list(answers) * 8
    status, out, complaint = example("threads", *items)
    assert (status, complaint) == (0, "")
    assert out.decode().splitlines() == [f"{item}: {answers[item]}" for item in items]
