"""quorin map: what lies where, and which bytes were read."""

import os
import re
import subprocess
import xml.etree.ElementTree

import pytest

from conftest import PICTURE, id3_tag, lame
from web_server import Nginx, scripted_server

SVG = "{http://www.w3.org/2000/svg}"
COVER = b"\x00image/jpeg\x00\x03\x00" + PICTURE + bytes(1_500_000)


@pytest.fixture(scope="session")
def covered_mp3(plain_mp3):
    """An MP3 behind a cover of 1.5 MB, with an ID3v1 tag."""
    return id3_tag((b"TIT2", b"\x00Opening"), (b"APIC", COVER)) + plain_mp3 * 60 + b"TAG" + bytes(125)


@pytest.fixture
def covered(tmp_path, covered_mp3):
    (tmp_path / "covered.mp3").write_bytes(covered_mp3)
    return tmp_path


@pytest.fixture(scope="module")
def nginx(tmp_path_factory, covered_mp3):
    with Nginx(tmp_path_factory.mktemp("nginx")) as server:
        (server.www / "covered.mp3").write_bytes(covered_mp3)
        yield server


def table_of(text):
    """The rows of the table: letter, name, from, to, size, share."""
    rows = re.findall(r"(?m)^([A-Z?]) ([a-z ]+?) +(\d[\d ]*?)  +(\S[\d ]*?|on)  +(\S+(?: \w+)?)  +(\S.*)$", text)
    return [tuple(cell.replace(" ", "") if 1 < i < 4 else cell for i, cell in enumerate(row)) for row in rows]


# At a terminal


@pytest.mark.parametrize("columns", [60, 80, 200])
def test_the_bars_are_as_wide_as_the_terminal(quorin, covered, golden, columns):
    out = quorin.at_terminal("map", "--color=never", "covered.mp3", columns=columns)
    golden(f"map_{columns}.txt", out)
    lines = out.splitlines()
    assert [len(line) for line in lines[1:4]] == [columns] * 3
    assert max(len(line) for line in lines) <= columns


def test_colours(quorin, covered, golden):
    out = quorin.at_terminal("map", "covered.mp3")
    golden("map_color.txt", out)
    for line in out.splitlines():
        assert len(re.findall(r"\033\[[1-9][0-9;]*m", line)) == line.count("\033[0m")


def test_a_terminal_without_utf8_gets_none(quorin, covered, golden):
    out = quorin.at_terminal("map", "--color=never", "covered.mp3", environment={"LANG": "C"})
    assert out.isascii()
    golden("map_ascii.txt", out)


def test_without_a_terminal_it_is_as_at_one_of_80_columns(quorin, covered, golden):
    golden("map_80.txt", quorin("map", "covered.mp3").out)


@pytest.mark.parametrize("columns", [1, 19, 33])
def test_a_narrow_terminal_is_survived(quorin, covered, columns):
    out = quorin.at_terminal("map", "covered.mp3", columns=columns)
    assert len(out.splitlines()) >= 10


# What lies where


def test_the_table_is_what_probe_tells(quorin, covered):
    audio = quorin.record("covered.mp3")["audio"]
    (picture,) = audio["pictures"]
    rows = table_of(quorin("map", "covered.mp3").out)
    assert [row[0] for row in rows] == ["T", "P", "A", "E"]
    assert rows[1][2:4] == (str(picture["offset"]), str(picture["offset"] + picture["length"] - 1))
    assert rows[2][2:4] == (str(audio["data_start_offset"]), str(audio["data_end_offset"]))
    assert rows[3][2:5] == (str(audio["data_end_offset"] + 1), str(os.path.getsize(covered / "covered.mp3") - 1),
                            "128 bytes")
    # Each begins where the one before it ends.
    assert [int(row[2]) for row in rows[1:]] == [int(row[3]) + 1 for row in rows[:-1]]


def test_an_information_frame_is_no_tag(quorin, tmp_path):
    lame(tmp_path / "a.mp3", "-V2", "--id3v2-only", "--tt", "x")
    rows = table_of(quorin("map", "a.mp3").out)
    assert [row[1] for row in rows] == ["tag", "header", "audio"]
    assert (tmp_path / "a.mp3").read_bytes()[int(rows[1][2])] == 0xFF


def test_the_metadata_of_flac_is_its_header(quorin, tmp_path):
    subprocess.run(["sox", "-n", "-r", "44100", "a.flac", "synth", "1", "sine", "440"], cwd=tmp_path, check=True)
    audio = quorin.record("a.flac")["audio"]
    rows = table_of(quorin("map", "a.flac").out)
    assert [row[:4] for row in rows] == [
        ("H", "header", "0", str(audio["time_calc_start_offset"] - 1)),
        ("A", "audio", str(audio["time_calc_start_offset"]), str(audio["data_end_offset"])),
    ]


def test_an_item_that_is_not_recognised(quorin, album):
    result = quorin("map", "noise.bin")
    assert (result.code, result.complaints) == (1, ["quorin: noise.bin: not recognised"])
    assert table_of(result.out) == [("?", "not recognised", "0", "16383", "16.0 KiB", "100.0 %")]
    assert "\n  audio     none was found\n" in result.out


def test_a_share_of_nearly_all_is_not_all(quorin, tmp_path, plain_mp3):
    (tmp_path / "a.mp3").write_bytes(plain_mp3 * 20 + b"TAG" + bytes(125))
    rows = table_of(quorin("map", "a.mp3").out)
    assert [row[1::4] for row in rows] == [("audio", "> 99.9 %"), ("end", "< 0.1 %")]


def test_a_byte_alone(quorin, tmp_path):
    (tmp_path / "byte").write_bytes(b"x")
    result = quorin("map", "byte")
    assert result.code == 1
    assert result.out.splitlines()[2] == "█" * 80


def test_items_without_bytes_have_no_map(quorin, album, nginx):
    (album / "folder").mkdir()
    url = nginx.go("/covered.mp3")
    for item, code, complaint in [
        ("empty.mp3", 1, "empty"),
        ("folder", 3, "a folder"),
        ("missing", 3, "no such file or directory"),
        (url, 3, f"a redirect; --follow goes on to what is behind it; redirects: {url} -> {nginx.url}/covered.mp3"),
    ]:
        for arguments in ((), ("--svg", "map.svg")):
            result = quorin("map", *arguments, item)
            assert (result.code, result.out, result.complaints) == (code, "", [f"quorin: {item}: {complaint}"])
    assert not (album / "map.svg").exists()


def test_a_name_can_do_no_harm(quorin, tmp_path, plain_mp3):
    name = "\033[2J<script>\n.mp3"
    (tmp_path / name).write_bytes(plain_mp3)
    assert quorin("map", name).out.splitlines()[0] == "\\x1b[2J<script>\\n.mp3"


# What was read


def test_a_cover_of_a_local_item_is_not_read(quorin, covered):
    lines = quorin("map", "covered.mp3").out.splitlines()
    assert lines[2].count("█") + lines[2].count("▒") <= 6
    read = re.search(r"^  read      ([\d.]+) KiB of 4.2 MiB \(0\.\d %\) in [345] reads", "\n".join(lines), re.MULTILINE)
    assert read and float(read[1]) < 25


def test_over_http_a_cover_is_not_read_either(quorin, nginx):
    before = len(nginx.requests())
    result = quorin("map", f"{nginx.url}/covered.mp3")
    requests = len(nginx.requests()) - before
    assert result.code == 0
    assert [row[0] for row in table_of(result.out)] == ["T", "P", "A", "E"]
    read = re.search(r"^  read      ([\d.]+) KiB of 4.2 MiB \(0\.\d %\) in \d reads, (\d) requests", result.out, re.MULTILINE)
    assert read and float(read[1]) < 25
    assert int(read[2]) == requests


def test_behind_a_redirect_the_target_alone_counts(quorin, nginx):
    url = nginx.go("/covered.mp3")
    lines = quorin("map", "-f1", url).out.splitlines()
    assert lines[:2] == [url, f"  followed  to {nginx.url}/covered.mp3"]
    assert lines[2:11] == quorin("map", f"{nginx.url}/covered.mp3").out.splitlines()[1:10]


def test_a_live_stream_goes_on(quorin, plain_mp3):
    interval = 1000
    pieces = [plain_mp3[at:at + interval] for at in range(0, 40000, interval)]
    title = b"StreamTitle='x';"
    head = f"HTTP/1.0 200 OK\r\nContent-Type: audio/mpeg\r\nicy-metaint: {interval}\r\n\r\n".encode()
    with scripted_server(head + b"".join(piece + b"\x01" + title for piece in pieces)) as url:
        result = quorin("map", url)
    lines = result.out.splitlines()
    assert (result.code, result.err) == (0, "")
    assert lines[1].startswith("AAA") and lines[1].endswith("AAA…") and len(lines[1]) == 80
    # 4096 bytes were read, and four blocks of metadata do not count.
    assert lines[2] == "█" * 79
    assert lines[3].split() == ["0", "4", "028", "and", "on"]
    assert table_of(result.out) == [("A", "audio", "0", "on", "-", "-")]
    assert lines[-1].startswith("  read      3.9 KiB in ") and lines[-1].endswith(", the item goes on")


def test_a_pipe_goes_on_too(quorin, tmp_path, plain_mp3):
    os.mkfifo(tmp_path / "fifo")
    with subprocess.Popen(["sh", "-c", "cat > fifo"], cwd=tmp_path, stdin=subprocess.PIPE) as writer:
        writer.stdin.write(plain_mp3[:20000])
        writer.stdin.close()
        assert quorin("map", "fifo").out.splitlines()[1].endswith("…")


# As a record


def test_a_record_tells_the_same_as_the_table(quorin, covered):
    record = quorin.record("map", "covered.mp3")
    rows = table_of(quorin("map", "covered.mp3").out)
    assert [(region["kind"], str(region["first"]), str(region["last"])) for region in record["map"]["regions"]] == [
        row[1:4] for row in rows]
    assert record["map"]["size"] == os.path.getsize(covered / "covered.mp3")
    read = sum(span["last"] - span["first"] + 1 for span in record["map"]["read"])
    assert 0 < read <= record["cost"]["bytes"] < 25000
    assert record["map"]["read"][0]["first"] == 0
    looked = quorin.record("covered.mp3")
    assert {**record, "map": 0, "cost": 0} == {**looked, "map": 0, "cost": 0}


def test_a_record_of_a_drawing_tells_its_file(quorin, covered):
    record = quorin.record("map", "--svg", "m.svg", "covered.mp3")
    assert record["files"] == [{"path": "m.svg", "length": os.path.getsize(covered / "m.svg"), "type": "svg"}]
    assert len(record["map"]["regions"]) == 4
    record = quorin.record("map", "--svg", "m.svg", "covered.mp3")
    assert (record["kind"], record["error"]["name"], "files" in record) == ("error", "file_exists", False)


def test_records_of_items_without_a_map(quorin, album):
    (album / "folder").mkdir()
    for item, kind, name in (("folder", "error", "not_audio"), ("missing", "error", "not_found"),
                             ("empty.mp3", "unknown", "empty")):
        record = quorin.record("map", item)
        assert (record["kind"], record["error"]["name"], "map" in record) == (kind, name, False)


def test_a_record_of_an_item_that_is_not_recognised(quorin, album):
    record = quorin.record("map", "noise.bin")
    assert record["map"]["regions"] == [{"kind": "unknown", "first": 0, "last": 16383}]


def test_a_record_of_an_item_that_goes_on(quorin, tmp_path, plain_mp3):
    os.mkfifo(tmp_path / "fifo")
    with subprocess.Popen(["sh", "-c", "cat > fifo"], cwd=tmp_path, stdin=subprocess.PIPE) as writer:
        writer.stdin.write(plain_mp3[:20000])
        writer.stdin.close()
        shown = quorin.record("map", "fifo")["map"]
    assert "size" not in shown
    assert shown["regions"] == [{"kind": "audio", "first": 0}]


# As a picture


def svg_of(quorin, *arguments):
    return xml.etree.ElementTree.fromstring(quorin("map", "--svg", "-", *arguments).out.encode())


def texts_of(svg):
    """Each text with its line and the room it takes: 8 units per character, more than the font has."""
    for text in svg.iter(f"{SVG}text"):
        size = (11 if "h" in text.get("class").split() else 8) * len(text.text or "")
        x = float(text.get("x"))
        x -= size if "right" in text.get("class") else size / 2 if "middle" in text.get("class") else 0
        yield text.get("y"), x, x + size, text.text


def boxes_of(svg, name):
    """Left and right edges of the boxes of that class within the bars."""
    boxes = [rect for rect in svg.iter(f"{SVG}rect") if rect.get("class") == name and rect.get("width") != "14.0"]
    return [(float(box.get("x")), float(box.get("x")) + float(box.get("width"))) for box in boxes]


def test_a_picture_tells_the_same_in_words(quorin, covered):
    svg = svg_of(quorin, "covered.mp3")
    assert svg.get("viewBox").startswith("0 0 960 ") and svg.get("role") == "img"
    assert svg.find(f"{SVG}title").text == "Byte map of covered.mp3"
    out = quorin("map", "covered.mp3").out
    audio, read = (re.search(rf"(?m)^  {what} +(.*)$", out)[1] for what in ("audio", "read"))
    assert svg.find(f"{SVG}desc").text == f"audio: {audio}; read: {read}."
    shown = " | ".join(text for *_, text in texts_of(svg))
    for row in table_of(out):
        assert row[1] in shown and row[4] in shown and row[5] in shown


def test_a_picture_stands_for_itself(quorin, covered):
    text = quorin("map", "--svg", "-", "covered.mp3").out
    svg = xml.etree.ElementTree.fromstring(text.encode())
    assert "prefers-color-scheme:dark" in svg.find(f"{SVG}style").text
    assert {element.tag.replace(SVG, "") for element in svg.iter()} == {
        "svg", "title", "desc", "style", "rect", "g", "text", "path"}
    assert "href" not in text and "url(" not in text and text.count("http") == 1


def test_the_blocks_of_a_picture_lie_side_by_side(quorin, covered):
    svg = svg_of(quorin, "covered.mp3")
    blocks = sorted(box for name in ("tag", "picture", "audio", "end") for box in boxes_of(svg, name))
    assert (blocks[0][0], blocks[-1][1]) == (24, 936)
    assert [left for left, _ in blocks[1:]] == [right for _, right in blocks[:-1]]
    assert all(right - left >= 4 for left, right in blocks)
    assert boxes_of(svg, "track") == [(24, 936)]
    (audio,) = boxes_of(svg, "audio")
    reads = boxes_of(svg, "read")
    assert reads[0][0] == 24 and reads[-1][1] == 936
    # The head, where the audio begins, and the end.
    assert any(abs(left - audio[0]) < 2 for left, _ in reads) and len(reads) == 3


def overlapping(svg):
    texts = list(texts_of(svg))
    return [(a[3], b[3]) for a in texts for b in texts
            if a is not b and a[0] == b[0] and a[1] < b[2] and b[1] < a[2]]


@pytest.mark.parametrize("cover", [0, 500, 5_000, 30_000, 60_000, 200_000, 800_000, 4_000_000])
def test_labels_do_not_overlap(quorin, tmp_path, plain_mp3, cover):
    (tmp_path / "a.mp3").write_bytes(id3_tag((b"APIC", b"\x00image/png\x00\x03\x00" + bytes(cover))) + plain_mp3)
    svg = svg_of(quorin, "a.mp3")
    assert overlapping(svg) == []
    assert all(0 <= left and right <= 960 for _, left, right, _ in texts_of(svg))


@pytest.mark.parametrize("name", ["<script>alert(1)<script>.mp3", "\"'&amp;]]>.mp3", "\033]0;x\007\n\x7f.mp3",
                                  "caf\udce9.mp3", "日本語の歌.mp3", "\u202e3pm.exe", "W" * 200 + ".mp3"])
def test_a_hostile_name_stays_text(quorin, tmp_path, plain_mp3, name):
    (tmp_path / name).write_bytes(plain_mp3)
    shown = quorin(name).out.splitlines()[0]
    svg = svg_of(quorin, name)
    assert svg.find(f"{SVG}title").text == "Byte map of " + shown
    assert list(svg.iter(f"{SVG}script")) == []
    assert max(right for _, _, right, _ in texts_of(svg)) <= 960


def test_a_picture_is_not_replaced_unless_force_is_given(quorin, covered):
    assert quorin("map", "--svg", "m.svg", "covered.mp3").out == "m.svg\n"
    assert sorted(os.listdir(covered)) == ["covered.mp3", "m.svg"]
    xml.etree.ElementTree.parse(covered / "m.svg")
    (covered / "m.svg").write_text("mine")
    result = quorin("map", "--svg", "m.svg", "covered.mp3")
    assert (result.code, result.out) == (3, "")
    assert result.complaints == ["quorin: covered.mp3: m.svg is there already (--force replaces it)"]
    assert (covered / "m.svg").read_text() == "mine"
    assert quorin("map", "--force", "--svg", "m.svg", "covered.mp3").out == "m.svg\n"
    xml.etree.ElementTree.parse(covered / "m.svg")


def test_the_item_itself_is_never_replaced(quorin, covered, covered_mp3):
    result = quorin("map", "--force", "--svg", "covered.mp3", "covered.mp3")
    assert (result.code, result.out, result.complaints) == (
        4, "", ["quorin: covered.mp3: covered.mp3 is what is being read, and stays as it is"])
    assert (covered / "covered.mp3").read_bytes() == covered_mp3


def test_a_picture_that_cannot_be_written(quorin, covered):
    result = quorin("map", "--svg", "nowhere/m.svg", "covered.mp3")
    assert (result.code, result.complaints) == (
        4, ["quorin: covered.mp3: nowhere/m.svg: no such file or directory"])
    with open("/dev/full", "w") as full:
        assert quorin("map", "--svg", "-", "covered.mp3", stdout=full).code == 4
        assert quorin("map", "covered.mp3", stdout=full).code == 4


def test_a_picture_of_an_item_that_is_not_recognised(quorin, album):
    result = quorin("map", "--svg", "m.svg", "noise.bin")
    assert (result.code, result.out, result.complaints) == (1, "m.svg\n", ["quorin: noise.bin: not recognised"])
    svg = xml.etree.ElementTree.parse(album / "m.svg").getroot()
    assert boxes_of(svg, "unknown") == [(24, 936)]


@pytest.mark.parametrize("arguments, cause", [
    ((), "no item is given"),
    (("a.mp3", "b.mp3"), "'map' takes one item"),
    (("--json", "--svg", "-", "a.mp3"), "--json and --svg - both write to standard output"),
    (("--force", "a.mp3"), "--force needs --svg"),
    (("--files-from", "list"), "'map' takes no option --files-from; it is for probe, scan, cover"),
])
def test_wrong_usage(quorin, arguments, cause):
    result = quorin("map", *arguments)
    assert (result.code, result.out) == (2, "")
    assert result.complaints == [f"quorin: {cause} ('quorin map --help' tells more)"]
