"""Records for programs."""

import base64
import json
import os
import subprocess

import pytest

from conftest import PICTURE, SCHEMA, TIME_LIMIT, id3_tag


def test_the_records_of_an_album(quorin, album, golden):
    items = ("01 Opening.mp3", "02 日本語の歌.mp3", ".", "noise.bin", "empty.mp3", "missing.mp3", "gopher:x", "")
    result = quorin("--json", *items)
    golden("records.ndjson", result.out)
    assert result.code == 1


def test_every_item_has_a_line_of_its_own(quorin, album):
    records = quorin.records("01 Opening.mp3", "missing.mp3", "noise.bin")
    assert [record["kind"] for record in records] == ["audio", "error", "unknown"]


@pytest.mark.parametrize("name, options, media_type, mime_type", [
    ("a.mp3", ["-b:a", "128k"], "mp3", "audio/mpeg"),
    ("a.wav", [], "wav", "audio/x-wav"),
    ("a.flac", [], "flac", "audio/x-flac"),
    ("a.aac", ["-f", "adts"], "aac_mpeg4", "audio/aacp"),
])
def test_every_format_has_its_name(quorin, tmp_path, name, options, media_type, mime_type):
    make = ["ffmpeg", "-hide_banner", "-loglevel", "error", "-f", "lavfi", "-i", "sine=440:duration=3"]
    subprocess.run([*make, *options, str(tmp_path / name)], check=True, timeout=TIME_LIMIT, stdin=subprocess.DEVNULL)
    record = quorin.record(name)
    assert (record["audio"]["media_type"], record["mime_type"]) == (media_type, mime_type)
    assert record["audio"]["sample_rate"] == 44100


def test_aac_of_both_standards(quorin, tmp_path):
    make = ["ffmpeg", "-hide_banner", "-loglevel", "error", "-f", "lavfi", "-i", "sine=440:duration=3", "-f", "adts"]
    subprocess.run([*make, str(tmp_path / "4.aac")], check=True, timeout=TIME_LIMIT, stdin=subprocess.DEVNULL)
    frames = bytearray((tmp_path / "4.aac").read_bytes())
    at = 0
    while at < len(frames):  # the frames differ in one bit
        frames[at + 1] |= 8
        at += (frames[at + 3] & 3) << 11 | frames[at + 4] << 3 | frames[at + 5] >> 5
    (tmp_path / "2.aac").write_bytes(frames)
    assert quorin.record("2.aac")["audio"]["media_type"] == "aac_mpeg2"
    for standard in (2, 4):
        assert f"\n  audio     AAC (MPEG-{standard}), 44.1 kHz, length not known\n" in quorin(f"{standard}.aac").out


def test_the_picture_lies_where_the_record_says(quorin, album, tagged_mp3):
    record = quorin.record("01 Opening.mp3")
    (picture,) = record["audio"]["pictures"]
    assert tagged_mp3[picture["offset"]:][:picture["length"]] == PICTURE


def test_playing_goes_on_at_the_first_frame(quorin, album, tagged_mp3):
    record = quorin.record("01 Opening.mp3")
    assert record["play_position"] == record["audio"]["data_start_offset"]
    assert tagged_mp3[record["play_position"]:][:2] == b"\xff\xfb"


def test_a_picture_that_reaches_beyond_the_item_is_left_out(quorin, album, plain_mp3):
    tag = bytearray(id3_tag((b"APIC", b"\x00image/png\x00\x03\x00" + bytes(100))))
    tag[14:18] = (1 << 24).to_bytes(4, "big")
    (album / "greedy.mp3").write_bytes(bytes(tag) + plain_mp3)
    assert quorin.record("greedy.mp3")["audio"]["pictures"] == []


def test_the_cost_is_counted(quorin, album):
    cost = quorin.record("02 日本語の歌.mp3")["cost"]
    assert 0 < cost["bytes"] < 20000
    assert 0 < cost["reads"] < 10
    assert cost["requests"] == 0


def test_a_relative_path_is_made_absolute(quorin, album):
    (album / "sub").mkdir()
    for name in ("01 Opening.mp3", "./01 Opening.mp3"):
        assert quorin.record(name)["uri"] == f"{album}/01 Opening.mp3"
    assert quorin.record("../01 Opening.mp3", cwd=album / "sub")["kind"] == "audio"


def test_a_name_that_is_not_utf8_travels_as_base64(quorin, album, plain_mp3):
    name = b"caf\xe9.mp3"
    with open(os.path.join(os.fsencode(album), name), "wb") as file:
        file.write(plain_mp3)
    record = quorin.record(name)
    assert "uri" not in record
    assert base64.b64decode(record["path_b64"]) == os.fsencode(album) + b"/" + name
    assert record["kind"] == "audio"


@pytest.mark.parametrize("name", ["a\nb.mp3", 'quote".mp3', "back\\slash.mp3", "\033[31m.mp3", "\u202e3pm.exe"])
def test_a_name_survives_the_way_through_json(quorin, album, plain_mp3, name):
    (album / name).write_bytes(plain_mp3)
    result = quorin("--json", name)
    assert result.out.count("\n") == 1
    assert json.loads(result.out)["uri"] == f"{album}/{name}"


@pytest.mark.parametrize("item, name, code", [("missing.mp3", "not_found", -296), ("", "empty_uri", -292),
                                              ("gopher:x", "no_opener", -297), ("circle", "bad_uri", -294)])
def test_an_error_has_a_name_and_the_librarys_code(quorin, album, item, name, code):
    (album / "circle").symlink_to("circle")
    record = quorin.record(item)
    assert (record["kind"], record["error"]["name"], record["code"]) == ("error", name, code)
    assert {**record["cost"], "elapsed_us": 0} == {"bytes": 0, "reads": 0, "requests": 0, "elapsed_us": 0}


@pytest.mark.parametrize("item, name", [("noise.bin", "not_recognised"), ("empty.mp3", "empty")])
def test_an_unknown_item_says_why(quorin, album, item, name):
    record = quorin.record(item)
    assert (record["kind"], record["error"]["name"], record["code"]) == ("unknown", name, -287)
    assert record["mime_type"] == "application/unknown"


def test_a_file_that_breaks_while_it_is_read_says_so(quorin):
    # Memory of the process itself: it opens, but nothing is mapped at its start.
    record = quorin.record("/proc/self/mem")
    assert (record["kind"], record["error"]["name"]) == ("unknown", "io_error")


def test_the_schema_is_one(quorin):
    import jsonschema

    jsonschema.Draft202012Validator.check_schema(SCHEMA)
