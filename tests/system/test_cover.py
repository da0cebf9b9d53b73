"""quorin cover: embedded pictures, byte for byte, and nothing else."""

import base64
import contextlib
import os
import pathlib
import signal
import struct
import subprocess

import pytest

from conftest import COMMAND, PICTURE, TIME_LIMIT, clean_environment, id3_tag, until
from web_server import Nginx

PNG = b"\x89PNG\r\n\x1a\n" + bytes(range(256)) * 8
GIF = b"GIF89a" + bytes(500)


def apic(picture, kind=b"image/jpeg", number=3):
    return b"APIC", b"\x00" + kind + b"\x00" + bytes([number]) + b"\x00" + picture


@pytest.fixture
def song(tmp_path, plain_mp3):
    """Makes an MP3 with those pictures."""

    def make(name, *pictures):
        path = tmp_path / name
        path.write_bytes(id3_tag(*[apic(picture) for picture in pictures]) + plain_mp3)
        return path

    return make


@pytest.fixture
def covers(tmp_path):
    folder = tmp_path / "covers"
    folder.mkdir()
    return folder


@pytest.mark.parametrize("picture, ending", [(PICTURE, "jpg"), (PNG, "png"), (GIF, "gif"), (b"GIF87a" + bytes(9), "gif"),
                                             (b"BM and so on", "bin"), (b"\xff\xd8", "bin")])
def test_a_picture_is_named_by_its_real_type(quorin, song, covers, picture, ending):
    song("01 Opening.mp3", picture)
    result = quorin("cover", "-d", "covers", "01 Opening.mp3")
    assert (result.code, result.out, result.err) == (0, f"covers/01 Opening.{ending}\n", "")
    assert (covers / f"01 Opening.{ending}").read_bytes() == picture
    assert os.listdir(covers) == [f"01 Opening.{ending}"]


def test_several_pictures_are_numbered(quorin, song, covers):
    song("a.mp3", PICTURE, PNG, GIF)
    assert quorin("cover", "-d", "covers", "a.mp3").out == "covers/a-1.jpg\ncovers/a-2.png\ncovers/a-3.gif\n"
    assert [(covers / name).read_bytes() for name in ("a-1.jpg", "a-2.png", "a-3.gif")] == [PICTURE, PNG, GIF]
    assert quorin("cover", "-o", "front.x", "a.mp3").out == "front-1.jpg\nfront-2.png\nfront-3.gif\n"
    assert quorin("cover", "-o", "v1.2/front", "a.mp3").complaints == [
        "quorin: a.mp3: v1.2/front-1.jpg: no such file or directory"]


@pytest.mark.parametrize("size", [65000, 65536, 70000, 1_500_000])
@pytest.mark.parametrize("before", [0, 60000])
def test_pictures_within_across_and_beyond_the_cache(quorin, song, tmp_path, size, before):
    picture = PNG + os.urandom(size - len(PNG))
    pictures = [b"x" * before, picture] if before else [picture]
    song("a.mp3", *pictures)
    assert quorin("cover", "-o", "c.png", "a.mp3").code == 0
    assert (tmp_path / ("c-2.png" if before else "c.png")).read_bytes() == picture


def test_a_picture_of_a_flac_file(quorin, tmp_path):
    (tmp_path / "cover.png").write_bytes(
        subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc=size=300x300", "-frames:v", "1", "-f",
                        "image2pipe", "-c:v", "png", "-"], capture_output=True, check=True).stdout)
    subprocess.run(["sox", "-n", "-r", "44100", "a.flac", "synth", "1", "sine", "440"], cwd=tmp_path, check=True)
    subprocess.run(["metaflac", "--import-picture-from=cover.png", "a.flac"], cwd=tmp_path, check=True)
    assert quorin("cover", "-o", "copy.png", "a.flac").out == "copy.png\n"
    assert (tmp_path / "copy.png").read_bytes() == (tmp_path / "cover.png").read_bytes()


def test_a_picture_to_standard_output(quorin, song, tmp_path):
    song("a.mp3", PICTURE)
    with open(tmp_path / "out", "wb") as out:
        assert quorin("cover", "-o", "-", "a.mp3", stdout=out).code == 0
    assert (tmp_path / "out").read_bytes() == PICTURE
    song("b.mp3", PICTURE, PNG)
    assert quorin("cover", "-o", "-", "b.mp3").complaints == [
        "quorin: b.mp3: several embedded pictures do not go to standard output"]


@pytest.mark.parametrize("before", [0, 100_000])
def test_an_empty_picture_is_an_empty_file(quorin, song, tmp_path, before):
    song("a.mp3", PNG + bytes(before), b"")
    assert quorin("cover", "-o", "c", "a.mp3").out == "c-1.png\nc-2.bin\n"
    assert (tmp_path / "c-2.bin").read_bytes() == b""


# Files that are there already


def test_a_file_that_is_there_stays_unless_force_is_given(quorin, song, tmp_path):
    song("a.mp3", PICTURE)
    (tmp_path / "c.jpg").write_text("mine")
    result = quorin("cover", "-o", "c.jpg", "a.mp3")
    assert (result.code, result.out) == (3, "")
    assert result.complaints == ["quorin: a.mp3: c.jpg is there already (--force replaces it)"]
    assert (tmp_path / "c.jpg").read_text() == "mine"
    assert quorin("cover", "--force", "-o", "c.jpg", "a.mp3").code == 0
    assert (tmp_path / "c.jpg").read_bytes() == PICTURE


def test_the_item_itself_is_never_replaced(quorin, song, tmp_path):
    item = song("a.jpg", PICTURE)  # what it is called says nothing of what it is
    before = item.read_bytes()
    for arguments in (("-o", "a.jpg", "a.jpg"), ("-d", ".", "a.jpg"), ("-o", "a.jpg", f"file://{item}")):
        result = quorin("cover", "--force", *arguments)
        name = "./a.jpg" if "-d" in arguments else "a.jpg"
        assert (result.code, result.out) == (4, "")
        assert result.complaints == [f"quorin: {arguments[-1]}: {name} is what is being read, and stays as it is"]
    os.link(item, tmp_path / "b.jpg")
    assert quorin("cover", "--force", "-o", "b.jpg", "a.jpg").code == 4
    assert item.read_bytes() == before


def test_a_taken_name_costs_the_others_nothing(quorin, song, covers):
    song("a.mp3", PICTURE)
    song("b.mp3", PNG)
    (covers / "a.jpg").write_text("mine")
    result = quorin("cover", "-d", "covers", "a.mp3", "b.mp3")
    assert (result.code, result.out) == (1, "covers/b.png\n")
    assert result.complaints == ["quorin: a.mp3: covers/a.jpg is there already (--force replaces it)"]


def test_what_is_no_file_is_not_replaced(quorin, song, tmp_path):
    song("a.mp3", PICTURE)
    os.mkfifo(tmp_path / "pipe")
    for force in ([], ["--force"]):
        result = quorin("cover", *force, "-o", "pipe", "a.mp3")
        assert (result.code, result.complaints) == (
            4, ["quorin: a.mp3: pipe is not a regular file ('-' is standard output)"])
    assert (tmp_path / "pipe").is_fifo()


def test_what_is_no_file_is_in_the_way_of_one_picture_only(quorin, song, covers, tmp_path):
    song("a.mp3", PICTURE)
    song("b.mp3", PICTURE)
    os.mkfifo(covers / "a.jpg")
    result = quorin("cover", "--force", "-d", "covers", "a.mp3", "b.mp3")
    assert (result.code, result.out) == (1, "covers/b.jpg\n")


def test_no_picture_of_a_run_replaces_another(quorin, song, covers, tmp_path):
    (tmp_path / "b").mkdir()
    song("01.mp3", PICTURE)
    song("b/01.mp3", PICTURE + b"x")
    result = quorin("cover", "--force", "-d", "covers", "01.mp3", "b/01.mp3")
    assert (result.code, result.out) == (1, "covers/01.jpg\n")
    assert result.complaints == ["quorin: b/01.mp3: covers/01.jpg is already another item's picture"]
    assert (covers / "01.jpg").read_bytes() == PICTURE


def test_names_cannot_harm_a_terminal(quorin, song, covers):
    song("a\x1b[31m.mp3", PICTURE)
    assert "\x1b" not in quorin.at_terminal("cover", "-d", "covers", "a\x1b[31m.mp3")


def test_a_link_that_leads_nowhere_is_there_too(quorin, song, tmp_path):
    song("a.mp3", PICTURE)
    (tmp_path / "c.jpg").symlink_to("elsewhere")
    assert quorin("cover", "-o", "c.jpg", "a.mp3").code == 3
    assert not (tmp_path / "elsewhere").exists()


def test_a_new_file_has_the_rights_of_new_files(quorin, song, tmp_path):
    song("a.mp3", PICTURE)
    before = os.umask(0o027)
    try:
        quorin("cover", "-o", "c.jpg", "a.mp3")
    finally:
        os.umask(before)
    assert (tmp_path / "c.jpg").stat().st_mode & 0o777 == 0o640


def test_a_folder_that_is_none(quorin, song):
    song("a.mp3", PICTURE)
    result = quorin("cover", "-d", "nowhere", "a.mp3")
    assert (result.code, result.complaints) == (
        2, ["quorin: -d: 'nowhere': no such file or directory ('quorin cover --help' tells more)"])
    result = quorin("cover", "-d", "a.mp3", "a.mp3")
    assert (result.code, result.complaints) == (
        2, ["quorin: -d: 'a.mp3': not a directory ('quorin cover --help' tells more)"])


def test_a_file_that_cannot_be_created(quorin, song):
    song("a.mp3", PICTURE)
    result = quorin("cover", "-o", "nowhere/a.jpg", "a.mp3")
    assert (result.code, result.complaints) == (4, ["quorin: a.mp3: nowhere/a.jpg: no such file or directory"])


def test_a_full_disk_leaves_no_piece_of_a_picture(quorin, song, tmp_path):
    song("a.mp3", PNG + bytes(300_000))
    result = quorin("cover", "-o", "c.png", "a.mp3", prefix=("prlimit", "--fsize=100000"))
    assert (result.code, result.out) == (4, "")
    assert result.complaints == ["quorin: a.mp3: c.png: file too large"]
    assert sorted(path.name for path in tmp_path.iterdir()) == ["a.mp3"]


def test_standard_output_that_takes_nothing(quorin, song):
    song("a.mp3", PICTURE)
    with open("/dev/full", "w") as full:
        result = quorin("cover", "-o", "-", "a.mp3", stdout=full)
    assert (result.code, result.complaints) == (4, ["quorin: a.mp3: standard output: no space left on device"])


# Items without pictures


def test_each_trouble_is_told_and_costs_the_others_nothing(quorin, song, album, covers):
    song("a.mp3", PICTURE)
    (album / "folder").mkdir()
    result = quorin("cover", "-d", "covers", "02 日本語の歌.mp3", "missing", "folder", "noise.bin", "http://h/a b", "a.mp3")
    assert (result.code, result.out) == (1, "covers/a.jpg\n")
    assert result.complaints == [
        "quorin: 02 日本語の歌.mp3: no embedded picture",
        "quorin: missing: no such file or directory",
        "quorin: folder: a folder",
        "quorin: noise.bin: not recognised",
        "quorin: http://h/a b: a redirect; --follow goes on to what is behind it; redirects: http://h/a b -> http://h/a%20b",
    ]
    assert quorin("cover", "-q", "-d", "covers", "missing").err == ""


def test_a_picture_that_the_item_does_not_hold_is_none(quorin, tmp_path, plain_mp3):
    # The frame of the picture claims more than the file has behind it.
    body = b"\x00image/jpeg\x00\x03\x00" + PICTURE
    frame = b"APIC" + struct.pack(">IH", 10_000_000, 0) + body
    tag = b"ID3\x03\x00\x00" + bytes(((10_000_010) >> shift) & 0x7F for shift in (21, 14, 7, 0)) + frame
    (tmp_path / "a.mp3").write_bytes(tag + plain_mp3)
    assert quorin("cover", "-o", "c.jpg", "a.mp3").code == 3
    assert not (tmp_path / "c.jpg").exists()


def test_items_of_a_list(quorin, song, covers):
    song("a.mp3", PICTURE)
    song("b.mp3", PNG)
    assert quorin("cover", "-d", "covers", "--files-from", "-", text=b"a.mp3\nb.mp3\n").out == (
        "covers/a.jpg\ncovers/b.png\n")


# As records


def test_a_record_tells_the_files(quorin, song, covers, tmp_path):
    song("a.mp3", PICTURE, PNG, GIF, b"BM")
    looked = quorin.record("a.mp3")
    record = quorin.record("cover", "-d", "covers", "a.mp3")
    assert [(file["path"], file["type"]) for file in record["files"]] == [
        ("covers/a-1.jpg", "jpeg"), ("covers/a-2.png", "png"), ("covers/a-3.gif", "gif"), ("covers/a-4.bin", "other")]
    assert [{"offset": file["offset"], "length": file["length"]} for file in record["files"]] == (
        record["audio"]["pictures"])
    assert (covers / "a-2.png").read_bytes() == PNG
    for name in ("uri", "kind", "code", "mime_type", "audio", "play_position"):
        assert record[name] == looked[name]


def test_what_copying_costs_is_in_the_record(quorin, song):
    song("a.mp3", PNG + bytes(3_000_000))
    looked = quorin.record("a.mp3")["cost"]["bytes"]
    assert looked < 100_000
    # Its first bytes were in the cache already.
    assert 0 <= looked + 3_000_000 - quorin.record("cover", "-o", "c", "a.mp3")["cost"]["bytes"] < 65536


def test_a_record_of_a_file_whose_name_is_not_utf8(quorin, song):
    song("a.mp3", PICTURE)
    (file,) = quorin.record("cover", "-o", b"caf\xe9.jpg", "a.mp3")["files"]
    assert base64.b64decode(file["path_b64"]) == b"caf\xe9.jpg"


def test_each_trouble_has_its_record(quorin, song, album, covers, plain_mp3):
    song("a.mp3", PICTURE, PNG)
    (album / "folder").mkdir()
    (covers / "a-2.png").write_text("mine")
    items = ("02 日本語の歌.mp3", "missing", "folder", "noise.bin", "http://h/a b", "a.mp3")
    records = quorin.records("cover", "-q", "-d", "covers", *items)
    assert [(record["kind"], record["error"]["name"]) for record in records] == [
        ("error", name) for name in ("no_picture", "not_found", "not_audio", "not_recognised", "not_audio",
                                     "file_exists")]
    assert [record["files"] for record in records[:-1]] == [[]] * 5
    # What was written before the trouble is there, and told.
    assert [file["path"] for file in records[-1]["files"]] == ["covers/a-1.jpg"]
    assert quorin.record("cover", "-o", "nowhere/c", "a.mp3")["error"]["name"] == "cannot_write"


def test_a_report_takes_these_records(quorin, song):
    song("a.mp3", PICTURE)
    for command in (("cover", "-o", "c.jpg"), ("map",)):
        result = quorin("report", "-", "-o", "-", text=quorin(*command, "--json", "a.mp3").out.encode())
        assert (result.code, result.err) == (0, "")


# Over HTTP


@pytest.fixture(scope="module")
def nginx(tmp_path_factory):
    with Nginx(tmp_path_factory.mktemp("nginx")) as server:
        yield server


def test_over_http_only_the_picture_is_requested(quorin, nginx, plain_mp3, tmp_path):
    picture = PNG + os.urandom(1_500_000)
    (nginx.www / "big cover.mp3").write_bytes(id3_tag(apic(picture)) + plain_mp3 * 20)
    url = f"{nginx.url}/big%20cover.mp3?x=/y.z"
    looked = quorin.record(url)["cost"]["bytes"]
    before = len(nginx.requests())
    assert quorin("cover", "-d", str(tmp_path), url).out == f"{tmp_path}/big cover.png\n"
    assert (tmp_path / "big cover.png").read_bytes() == picture
    received = sum(int(line.split()[1]) for line in nginx.requests()[before:])
    assert len(picture) < received < len(picture) + looked + 65536


def is_writing(process, folder):
    """Whether the process has a file open in the folder, be it one without a name."""
    for descriptor in pathlib.Path(f"/proc/{process.pid}/fd").iterdir():
        with contextlib.suppress(FileNotFoundError):  # closed meanwhile
            if os.readlink(descriptor).startswith(f"{folder}/"):
                return True
    return False


def can_be_nameless(folder):
    try:
        os.close(os.open(folder, os.O_TMPFILE | os.O_WRONLY))
    except OSError:
        return False
    return True


@pytest.mark.parametrize("end", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGKILL])
def test_an_end_in_the_middle_leaves_no_piece(nginx, plain_mp3, tmp_path, end):
    if end == signal.SIGKILL and not can_be_nameless(tmp_path):
        pytest.skip("this file system wants a name for every file, and nobody can take it away at SIGKILL")
    (nginx.www / "large.mp3").write_bytes(id3_tag(apic(PNG + bytes(16_000_000))) + plain_mp3)
    process = subprocess.Popen([COMMAND, "cover", "-o", "c.png", f"{nginx.url}/slow/large.mp3"], cwd=tmp_path,
                               env=clean_environment(), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    until(lambda: is_writing(process, tmp_path))
    process.send_signal(end)
    out, complaints = process.communicate(timeout=TIME_LIMIT)
    assert (process.returncode, out, complaints) == (130 if end == signal.SIGINT else -end, b"", b"")
    assert os.listdir(tmp_path) == []


def test_behind_redirects(quorin, nginx, plain_mp3, tmp_path):
    (nginx.www / "a.mp3").write_bytes(id3_tag(apic(PNG)) + plain_mp3)
    assert quorin("cover", "-f1", "-o", "c.png", nginx.go("/a.mp3")).out == "c.png\n"
    assert (tmp_path / "c.png").read_bytes() == PNG


def test_a_server_without_ranges(quorin, nginx, plain_mp3, tmp_path):
    (nginx.www / "b.mp3").write_bytes(id3_tag(apic(PNG + bytes(200_000))) + plain_mp3)
    assert quorin("cover", "-o", "c.png", f"{nginx.url}/norange/b.mp3").out == "c.png\n"
    assert (tmp_path / "c.png").read_bytes() == PNG + bytes(200_000)


@pytest.mark.parametrize("path, name", [("/a/%2e%2e", "cover"), ("/", "cover"), ("/a%2Fb.mp3", "a_b"),
                                        ("/.mp3", ".mp3"), ("/a%1b%5b31m.mp3", "a_[31m"),
                                        ("/%E4.x.mp3", "\udce4.x"), ("/100%25", "100%")])
def test_what_a_picture_of_the_network_is_called(quorin, nginx, plain_mp3, covers, path, name):
    body = id3_tag(apic(GIF)) + plain_mp3
    url = nginx.serve("named.mp3", body, "audio/mpeg")
    assert url and quorin("cover", "-d", "covers", f"{nginx.url}/any{path}").out == f"covers/{name}.gif\n"
    assert pathlib.Path(covers, f"{name}.gif").read_bytes() == GIF


# The options


@pytest.mark.parametrize("arguments, cause", [
    ((), "no item is given"),
    (("a.mp3",), "'cover' needs one of -o and -d"),
    (("-o", "x", "-d", ".", "a.mp3"), "'cover' needs one of -o and -d"),
    (("-o", "x", "a.mp3", "b.mp3"), "-o is for a single item; -d takes several"),
    (("-o", "x", "--files-from", "-"), "-o is for a single item; -d takes several"),
    (("-o", "-", "--json", "a.mp3"), "--json and -o - both write to standard output"),
])
def test_wrong_usage(quorin, arguments, cause):
    result = quorin("cover", *arguments)
    assert (result.code, result.out) == (2, "")
    assert result.complaints == [f"quorin: {cause} ('quorin cover --help' tells more)"]
