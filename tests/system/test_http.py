"""Items behind HTTP(S), and the options that shape requests."""

import pytest

from web_server import Nginx, free_port, scripted_server


@pytest.fixture(scope="module")
def nginx(tmp_path_factory, plain_mp3):
    folder = tmp_path_factory.mktemp("nginx")
    with Nginx(folder) as server:
        (server.www / "song.mp3").write_bytes(plain_mp3)
        yield server


def test_an_item_is_told_with_its_requests(quorin, nginx, plain_mp3):
    record = quorin.record(f"{nginx.url}/song.mp3")
    assert record["kind"] == "audio"
    assert record["audio"]["data_end_offset"] == len(plain_mp3) - 1
    assert record["cost"]["requests"] > 0
    assert " request" in quorin(f"{nginx.url}/song.mp3").out


@pytest.mark.parametrize("status, name, cause", [
    (404, "not_found", "the server has no such item (HTTP 404 or 410)"),
    (410, "not_found", "the server has no such item (HTTP 404 or 410)"),
    (401, "permission_denied", "the server denies access (HTTP 401 or 403)"),
    (403, "permission_denied", "the server denies access (HTTP 401 or 403)"),
    (429, "busy", "the server is busy, try again later (HTTP 429 or 503)"),
    (503, "busy", "the server is busy, try again later (HTTP 429 or 503)"),
    (418, "http_client_error", "the server refuses the request (HTTP 4xx), or does not speak HTTP"),
    (500, "http_server_error", "the server failed (HTTP 5xx)"),
])
def test_a_server_that_refuses(quorin, nginx, status, name, cause):
    url = f"{nginx.url}/status/{status}"
    assert quorin.record(url)["error"]["name"] == name
    result = quorin(url)
    assert (result.code, result.complaints) == (3, [f"quorin: {url}: {cause}"])


def test_a_redirect(quorin, nginx):
    record = quorin.record(f"{nginx.url}/moved")
    assert (record["kind"], record["code"]) == ("redirect", 0)
    assert record["redirect"]["urls"] == [f"{nginx.url}/song.mp3"]
    result = quorin(f"{nginx.url}/moved")
    assert (result.code, result.err) == (0, "")
    assert f"  redirect  to {nginx.url}/song.mp3\n" in result.out
    table = quorin(f"{nginx.url}/moved", f"{nginx.url}/song.mp3").out
    assert table.splitlines()[1].split() == ["redirect", f"{nginx.url}/moved", "→", f"{nginx.url}/song.mp3"]


def test_a_redirect_to_nowhere(quorin, nginx):
    url = f"{nginx.url}/lost"
    record = quorin.record(url)
    assert (record["kind"], record["error"]["name"], record["code"]) == ("error", "redirect_without_location", -293)
    assert quorin(url).complaints == [f"quorin: {url}: the server redirects, but names no target that can be used"]


def test_a_playlist_is_a_redirect(quorin, nginx):
    (nginx.www / "list.m3u").write_text(f"#EXTM3U\n{nginx.url}/song.mp3\n")
    record = quorin.record(f"{nginx.url}/list.m3u")
    assert record["redirect"] == {"content_type": "audio/x-mpegurl", "urls": [f"{nginx.url}/song.mp3"]}


def test_a_url_that_needs_repair_is_a_redirect_to_the_repaired_one(quorin):
    assert quorin.record("http://host/a b")["redirect"]["urls"] == ["http://host/a%20b"]


def test_mode_pcm_finds_raw_pcm_alone(quorin, nginx):
    (nginx.www / "raw.l16").write_bytes(bytes(44100 * 4))
    records = quorin.records("--mode", "pcm", f"{nginx.url}/raw.l16", f"{nginx.url}/song.mp3")
    assert [record["kind"] for record in records] == ["audio", "unknown"]
    assert records[0]["audio"]["media_type"] == "lpcm"
    assert records[0]["audio"]["channels"] == 2


def test_raw_pcm_in_words(quorin, nginx):
    (nginx.www / "raw.l16").write_bytes(bytes(44100 * 4))
    assert "\n  audio     raw PCM, 44.1 kHz, stereo, " in quorin("--mode", "pcm", f"{nginx.url}/raw.l16").out


def test_the_other_items_are_analysed_all_the_same(quorin, nginx):
    records = quorin.records(f"{nginx.url}/status/404", f"{nginx.url}/song.mp3")
    assert [record["kind"] for record in records] == ["error", "audio"]


def test_a_refused_connection(quorin):
    url = f"http://127.0.0.1:{free_port()}/song.mp3"
    assert quorin.record(url)["error"]["name"] == "connection_refused"
    assert quorin(url).complaints == [f"quorin: {url}: connection refused, or the host cannot be reached"]


def test_a_host_that_does_not_exist(quorin):
    url = "http://nowhere.invalid/song.mp3"
    assert quorin.record(url)["error"]["name"] == "no_such_host"
    assert quorin(url).complaints == [f"quorin: {url}: no such host"]


def test_a_url_that_is_none(quorin):
    for url in ("http://127.0.0.1:99999/x", "http:", "http://[", "http://user@"):
        assert quorin.record(url)["error"]["name"] == "bad_uri"
        assert quorin(url).complaints == [f"quorin: {url.replace('user', '***')}: not a usable URI"]


def test_something_that_does_not_speak_http(quorin):
    with scripted_server(b"220 mail.example ESMTP\r\n\r\n\r\n") as url:
        record = quorin.record("--stall-timeout", "5", url)
        assert record["error"]["name"] == "http_client_error"


def test_an_item_that_is_no_audio(quorin, nginx):
    (nginx.www / "page.html").write_text("<html>" * 1000)
    assert quorin(f"{nginx.url}/page.html").complaints == [f"quorin: {nginx.url}/page.html: not recognised"]


def test_a_connection_that_breaks_says_so(quorin):
    answer = b"HTTP/1.1 200 OK\r\nContent-Length: 100000\r\nConnection: close\r\n\r\n" + bytes(100)
    with scripted_server(answer) as url:
        record = quorin.record("--stall-timeout", "0.5", url)
        assert (record["kind"], record["error"]["name"]) == ("unknown", "timed_out")
        assert quorin("--stall-timeout", "0.5", url).complaints == [f"quorin: {url}: timed out while it was read"]


# Time limits


@pytest.mark.parametrize("option", ["--timeout", "--stall-timeout"])
def test_a_server_that_never_answers(quorin, option):
    with scripted_server(b"") as url:
        record = quorin.record(option, "0.5", url)
    assert (record["kind"], record["error"]["name"]) == ("error", "timed_out")
    assert 400_000 < record["cost"]["elapsed_us"] < 9_000_000


def test_a_connection_that_never_stands(quorin):
    import socket

    # The queue of this listener is full, so no further connection is accepted.
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        listener.listen(0)
        address = listener.getsockname()
        waiting = []
        for _ in range(4):
            client = socket.socket()
            client.setblocking(False)
            client.connect_ex(address)
            waiting.append(client)
        record = quorin.record("--connect-timeout", "0.5", f"http://127.0.0.1:{address[1]}/")
        for client in waiting:
            client.close()
    assert record["error"]["name"] == "timed_out"
    assert record["cost"]["elapsed_us"] < 9_000_000


# What travels to the server


def test_header_lines_and_user_agent_are_sent(quorin, nginx):
    quorin("--header", "X-Test: one, [two]", "--header=Authorization: Bearer x", "--user-agent", "tester/1",
           f"{nginx.url}/song.mp3?marked")
    lines = [line for line in nginx.requests() if "?marked" in line]
    assert lines and all(line.endswith("|tester/1|one, [two]|Bearer x|-") for line in lines)


def test_without_the_options_nothing_of_that_is_sent(quorin, nginx):
    quorin(f"{nginx.url}/song.mp3?plain")
    lines = [line for line in nginx.requests() if "?plain" in line]
    assert lines and all(line.endswith("|-|-|-") for line in lines)


def test_requests_go_through_the_proxy(quorin, nginx):
    # A proxy gets the whole URL, and the host need not even exist here.
    record = quorin.record("--proxy", nginx.url, "http://nowhere.invalid/song.mp3?proxied")
    assert record["kind"] == "audio"
    assert any("?proxied" in line for line in nginx.requests())


def test_a_proxy_that_is_not_there(quorin):
    record = quorin.record("--proxy", f"http://127.0.0.1:{free_port()}", "http://127.0.0.1/")
    assert record["error"]["name"] == "connection_refused"


def test_tls_with_a_certificate_of_ones_own(quorin, nginx):
    assert quorin.record("--cacert", str(nginx.ca), f"{nginx.secure_url}/song.mp3")["kind"] == "audio"


def test_tls_is_refused_without_it(quorin, nginx):
    url = f"{nginx.secure_url}/song.mp3"
    assert quorin.record(url)["error"]["name"] == "tls_failed"
    assert quorin(url).complaints == [
        f"quorin: {url}: no secure connection: the certificate is not trusted, or TLS failed"
    ]
