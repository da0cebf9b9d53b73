"""--follow: the chain of redirects from an item to what is behind it, and where it ends."""

import re
import urllib.parse

import pytest

from web_server import Nginx


@pytest.fixture(scope="module")
def nginx(tmp_path_factory, plain_mp3):
    with Nginx(tmp_path_factory.mktemp("nginx")) as server:
        (server.www / "song.mp3").write_bytes(plain_mp3)
        (server.www / "deep").mkdir()
        (server.www / "deep/song.mp3").write_bytes(plain_mp3)
        yield server


@pytest.fixture
def chain(nginx):
    """A playlist of a playlist of an MP3: their three URLs."""
    song = f"{nginx.url}/song.mp3"
    inner = nginx.serve("inner", f"#EXTM3U\r\n{song}\r\n", "audio/x-mpegurl")
    outer = nginx.serve("outer", f'<asx version="3.0"><entryref href="{inner}"/></asx>', "video/x-ms-asf")
    return outer, inner, song


def test_a_playlist_of_a_playlist_of_a_song(quorin, chain, plain_mp3):
    outer, inner, song = chain
    record = quorin.record("--follow", "2", outer)
    assert (record["kind"], record["uri"], record["via"]) == ("audio", song, [outer, inner])
    assert record["audio"]["data_end_offset"] == len(plain_mp3) - 1
    assert "redirect" not in record


def test_its_cost_is_that_of_all_steps(quorin, chain):
    steps = [quorin.record(uri)["cost"] for uri in chain]
    whole = quorin.record("-f2", chain[0])["cost"]
    for name in ("bytes", "reads", "requests"):
        assert whole[name] == sum(step[name] for step in steps) > 0


def test_without_the_option_nothing_is_followed(quorin, chain):
    for arguments in ([], ["--follow", "0"]):
        record = quorin.record(*arguments, chain[0])
        assert (record["kind"], record["uri"], record["redirect"]["urls"]) == ("redirect", chain[0], [chain[1]])
        assert "via" not in record


def test_what_does_not_redirect_has_no_chain(quorin, nginx):
    assert "via" not in quorin.record("--follow", "9", f"{nginx.url}/song.mp3")


@pytest.mark.parametrize("command", [(), ("scan",), ("cover", "-d", "."), ("map",), ("play",)])
def test_each_step_is_told_on_request(quorin, chain, command):
    outer, inner, song = chain
    with open("/dev/null", "wb") as null:
        said = quorin(*command, "-v", "-f2", outer, stdout=null).complaints
    assert said[:2] == [f"quorin: {outer}: redirects to {inner}", f"quorin: {outer}: redirects to {song}"]
    assert re.fullmatch(r"quorin: \S+: (audio|error): [\d.]+ KiB in \d+ reads, \d requests, [\d.]+ m?s", said[2])


def test_the_card_and_the_table_show_the_chain(quorin, chain):
    outer, inner, song = chain
    card = quorin("-f", "5", outer).out.splitlines()
    assert card[0] == outer
    assert card[1] == f"  followed  to {inner}, to {song}"
    assert card[2].startswith("  audio     MP3")
    assert f"{outer} → {inner} → {song}" in quorin("-f5", outer, song).out


@pytest.mark.parametrize("code", [301, 302, 303, 307, 308])
@pytest.mark.parametrize("target", ["/song.mp3", "../song.mp3", "../go/../song.mp3", "//{host}/song.mp3", "{url}/song.mp3",
                                    "/song.mp3#from", "/./song.mp3?x=a b"])
def test_relative_targets_mean_what_the_standard_says(quorin, nginx, code, target):
    target = target.format(url=nginx.url, host=urllib.parse.urlsplit(nginx.url).netloc)
    record = quorin.record("-f1", nginx.go(target, code))
    assert record["kind"] == "audio"
    assert urllib.parse.urlsplit(record["uri"]).path == "/song.mp3"


def test_a_relative_entry_of_a_playlist(quorin, nginx):
    (nginx.www / "deep/list.m3u").write_text("[Reference]\nRef1=song.mp3\n")
    record = quorin.record("-f1", f"{nginx.url}/deep/list.m3u")
    assert (record["kind"], record["uri"]) == ("audio", f"{nginx.url}/deep/song.mp3")


def test_a_repaired_url_is_a_step_too(quorin, nginx):
    address = nginx.url.replace("http", "HTTP")
    record = quorin.record("-f1", f"{address}/song.mp3")
    assert (record["kind"], record["via"]) == ("audio", [f"{address}/song.mp3"])


# Where a chain ends badly


def complaint(quorin, *arguments):
    result = quorin(*arguments)
    assert (result.code, result.out) == (3, "")
    (line,) = result.complaints
    return line


def test_the_limit(quorin, chain):
    outer, inner, song = chain
    record = quorin.record("--follow", "1", outer)
    assert (record["kind"], record["error"]["name"]) == ("error", "too_many_redirects")
    assert (record["uri"], record["via"], record["redirect"]["urls"]) == (inner, [outer], [song])
    assert complaint(quorin, "-f1", outer) == (
        f"quorin: {outer}: still a redirect after one (--follow takes a higher number); "
        f"redirects: {outer} -> {inner} -> {song}")


def test_a_redirect_to_itself(quorin, nginx):
    (nginx.www / "self.m3u").write_text(f"{nginx.url}/self.m3u\n")
    url = f"{nginx.url}/self.m3u"
    assert quorin.record("-f9", url)["error"]["name"] == "redirect_loop"
    assert complaint(quorin, "-f9", url) == (
        f"quorin: {url}: the redirects go round in a circle; redirects: {url} -> {url}")


def test_a_loop_of_several(quorin, nginx):
    one, two = f"{nginx.url}/one.m3u", f"{nginx.url}/two.m3u"
    (nginx.www / "one.m3u").write_text(two)
    (nginx.www / "two.m3u").write_text(one)
    record = quorin.record("-f9", one)
    assert (record["error"]["name"], record["uri"], record["via"]) == ("redirect_loop", two, [one])
    assert complaint(quorin, "-f9", one).endswith(f"circle; redirects: {one} -> {two} -> {one}")


def test_an_empty_target_is_the_item_itself(quorin, nginx):
    url = nginx.serve("empty", "[Reference]\nRef1=\n", "audio/mpegurl")
    assert quorin.record("-f9", url)["error"]["name"] == "redirect_loop"


def test_a_scheme_that_nothing_opens(quorin, nginx):
    url = nginx.serve("stream", "rtsp://127.0.0.1/s", "audio/mpegurl")
    record = quorin.record("-f9", url)
    assert (record["error"]["name"], record["uri"], record["via"]) == ("no_opener", "rtsp://127.0.0.1/s", [url])
    assert complaint(quorin, "-f9", url) == (
        f'quorin: {url}: nothing here opens "rtsp:"; redirects: {url} -> rtsp://127.0.0.1/s')


def test_a_target_that_is_not_there(quorin, nginx):
    url, gone = nginx.go("/gone"), f"{nginx.url}/gone"
    assert complaint(quorin, "-f9", url) == (
        f"quorin: {url}: the server has no such item (HTTP 404 or 410); redirects: {url} -> {gone}")


def test_a_target_that_is_not_recognised_is_shown_with_the_way_there(quorin, nginx):
    (nginx.www / "page.html").write_text("<html>" * 2000)
    url, page = nginx.go("/page.html"), f"{nginx.url}/page.html"
    result = quorin("-f1", url)
    assert (result.code, result.complaints) == (1, [f"quorin: {url}: not recognised; redirects: {url} -> {page}"])
    assert f"  followed  to {page}\n  unknown   not recognised\n" in result.out


@pytest.mark.parametrize("target", ["file:{folder}/01 Opening.mp3", "FILE://{folder}/01 Opening.mp3",
                                    "vdr2://CARD/01 Opening.mp3", "file:{folder}"])
def test_the_network_leads_to_nothing_local_unless_allowed(quorin, nginx, album, target):
    target = target.format(folder=album)
    url = nginx.serve("local", target + "\n", "audio/mpegurl")
    medium = ["--medium", f"CARD={album}"]
    record = quorin.record("-f9", *medium, url)
    assert (record["kind"], record["error"]["name"]) == ("error", "local_target")
    assert record["redirect"]["urls"] == [target]
    assert complaint(quorin, "-f9", *medium, url) == (
        f"quorin: {url}: the network redirects to something local, which takes --allow-local; "
        f"redirects: {url} -> {target}")
    record = quorin.record("-f9", "--allow-local", *medium, url)
    assert (record["kind"], record["uri"]) == ("audio" if target.endswith("mp3") else "folder", target)


@pytest.mark.parametrize("options", [(), ("--allow-local",)])
def test_a_target_that_is_no_url_is_no_path_either(quorin, nginx, tmp_path, plain_mp3, options):
    (tmp_path / "a\x01.mp3").write_bytes(plain_mp3)
    url = nginx.serve("odd", f"[Reference]\nRef1={tmp_path}/a\x01.mp3\n", "audio/mpegurl")
    assert quorin.record("-f9", *options, url)["error"]["name"] == "not_found"


def test_a_path_is_one_of_the_server(quorin, nginx, album):
    url = nginx.go(f"{album}/01 Opening.mp3")
    assert quorin.record("-f9", url)["error"]["name"] == "not_found"


def test_the_other_items_are_analysed_all_the_same(quorin, nginx, chain):
    records = quorin.records("-f1", *chain)
    assert [record["kind"] for record in records] == ["error", "audio", "audio"]
    assert quorin("-f1", *chain).code == 1


# What is told to whom


def test_credentials_stay_with_the_server_that_was_named(quorin, nginx):
    told = ["--header", "Authorization: Bearer x", "--header", "X-Test: y", "--header", "COOKIE: z"]
    secure = f"{nginx.secure_url}/song.mp3?other"
    assert quorin.record("-f9", *told, "--cacert", str(nginx.ca), nginx.go(secure))["kind"] == "audio"
    assert quorin.record("-f9", *told, nginx.go("/song.mp3?same"))["kind"] == "audio"
    other = [line for line in nginx.requests() if "/song.mp3?other" in line]
    same = [line for line in nginx.requests() if "/song.mp3?same" in line]
    assert other and all(line.endswith("|y|-|-") for line in other)
    assert same and all(line.endswith("|y|Bearer x|z") for line in same)
    assert quorin.record(*told, f"{nginx.url}/song.mp3?next")["kind"] == "audio"


def test_the_next_item_is_told_again(quorin, nginx):
    quorin.records("-f9", "--header", "Authorization: Bearer x", "--cacert", str(nginx.ca),
                   nginx.go(f"{nginx.secure_url}/song.mp3"), f"{nginx.url}/song.mp3?again")
    again = [line for line in nginx.requests() if "?again" in line]
    assert again and all("|Bearer x|" in line for line in again)


# The options


@pytest.mark.parametrize("number", ["-1", "1001", "x", "1.5", ""])
def test_a_number_of_steps_that_is_none(quorin, number):
    result = quorin(f"--follow={number}", "song.mp3")
    assert (result.code, result.out) == (2, "")
    assert "--follow" in result.err


def test_allow_local_alone_means_nothing(quorin):
    result = quorin("--allow-local", "song.mp3")
    assert (result.code, result.complaints) == (
        2, ["quorin: --allow-local needs --follow ('quorin --help' tells more)"])
