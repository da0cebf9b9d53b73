"""What the command asks the machine for a local file: few system calls, and little of the file."""

import re
import subprocess

import pytest

from conftest import COMMAND, TIME_LIMIT, clean_environment, id3_tag, lame

MOST_CALLS = 7  # whether it is a folder, open, its kind and size, three reads, close
MOST_BYTES = 64 * 1024

ID3V1 = b"TAG" + bytes(125)


def with_cover(audio, size):
    return id3_tag((b"TIT2", b"\x00Opening"), (b"APIC", b"\x00image/jpeg\x00\x03\x00" + b"\x55" * size)) + audio + ID3V1


@pytest.fixture(scope="module")
def wave(tmp_path_factory):
    path = tmp_path_factory.mktemp("sound") / "sound.wav"
    subprocess.run(["sox", "-n", "-r", "44100", "-c", "2", "-b", "16", path, "synth", "3", "sine", "440"], check=True,
                   timeout=TIME_LIMIT)
    return path


def flac(wave, path, *options):
    subprocess.run(["flac", "--silent", *options, "-o", path, wave], check=True, timeout=TIME_LIMIT)
    return path.read_bytes()


@pytest.fixture(scope="module")
def items(tmp_path_factory, wave, plain_mp3):
    folder = tmp_path_factory.mktemp("items")
    picture = folder / "cover.png"
    subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "nullsrc=size=920x920,format=rgb24,noise=alls=100",
                    "-frames:v", "1", picture], check=True, timeout=TIME_LIMIT)
    assert picture.stat().st_size > 1_500_000
    subprocess.run(["ffmpeg", "-v", "error", "-i", wave, "-c:a", "aac", folder / "plain.aac"], check=True,
                   timeout=TIME_LIMIT)
    return {
        "plain.mp3": plain_mp3,
        "tagged.mp3": id3_tag((b"TIT2", b"\x00Opening")) + plain_mp3 + ID3V1,
        "variable.mp3": lame(folder / "variable.mp3", "-V", "4").read_bytes(),
        "small-cover.mp3": with_cover(plain_mp3, 20_000),
        "middle-cover.mp3": with_cover(plain_mp3, 60_000),
        "large-cover.mp3": with_cover(plain_mp3, 1_500_000),
        # The longest frames that Layer III has.
        "large-cover-and-frames.mp3": with_cover(
            lame(folder / "frames.mp3", "-b", "320", "--resample", "32").read_bytes(), 1_500_000),
        "plain.aac": (folder / "plain.aac").read_bytes(),
        "plain.flac": flac(wave, folder / "plain.flac"),
        "large-cover.flac": flac(wave, folder / "cover.flac", f"--picture={picture}"),
        "plain.wav": wave.read_bytes(),
        "unrecognised": b"just some text\n" * 20_000,
        "large-cover-unrecognised": with_cover(b"just some text\n" * 20_000, 1_500_000),
    }


def calls_on(path):
    """The system calls by path or descriptor, and the bytes that were read."""
    trace = path.with_suffix(".strace")
    subprocess.run(["strace", "-f", "-s", "0", "-o", trace, "-P", path, "-P", f"{path}/", COMMAND, path],
                   env=clean_environment(ASAN_OPTIONS="detect_leaks=0"),  # which cannot be traced
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=TIME_LIMIT)
    calls = re.findall(r"^\d+ +((\w+)\(.*\) += (-?\d+).*)$", trace.read_text(), re.MULTILINE)
    return [line for line, _, _ in calls], sum(int(result) for _, name, result in calls if "read" in name)


@pytest.mark.parametrize("name", ["plain.mp3", "tagged.mp3", "variable.mp3", "small-cover.mp3", "middle-cover.mp3",
                                  "large-cover.mp3", "large-cover-and-frames.mp3", "plain.aac", "plain.flac",
                                  "large-cover.flac", "plain.wav", "unrecognised", "large-cover-unrecognised"])
def test_a_file_takes_few_calls_and_little_of_it_is_read(tmp_path, items, name):
    path = tmp_path / name
    path.write_bytes(items[name])
    calls, read = calls_on(path)
    assert any("pread64" in call or "read(" in call for call in calls)
    assert len([call for call in calls if call.startswith("open")]) == 1, "it is no folder, which takes no open to see"
    assert len(calls) <= MOST_CALLS, "\n".join(calls)
    assert 0 < read <= MOST_BYTES


def test_what_takes_more_calls(tmp_path, plain_mp3):
    picture = (b"APIC", b"\x00image/jpeg\x00\x03\x00" + b"\x55" * 1_500_000)
    for name, begin, more in (("one", id3_tag(picture), 0), ("two", id3_tag(picture, picture), 2),
                              ("three", id3_tag(picture, picture, picture), 4),
                              ("little-padding", id3_tag(picture, padding=3000), 0),
                              ("padding", id3_tag(picture, padding=5000), 1)):
        path = tmp_path / name
        path.write_bytes(begin + plain_mp3 + ID3V1)
        assert len(calls_on(path)[0]) == MOST_CALLS + more, name


@pytest.mark.parametrize("name", ["plain.flac", "plain.wav", "unrecognised"])
def test_a_file_that_is_told_by_its_beginning_takes_one_read(tmp_path, items, name):
    path = tmp_path / name
    path.write_bytes(items[name])
    calls, read = calls_on(path)
    assert len([call for call in calls if "read" in call]) == 1, "\n".join(calls)
    assert read == 9216


def test_a_folder_takes_one_call_to_see_that_it_may_be_one(tmp_path):
    folder = tmp_path / "folder"
    folder.mkdir()
    calls, _ = calls_on(folder)
    assert len([call for call in calls if call.startswith("open")]) == 1
    assert len(calls) <= 4, "\n".join(calls)  # whether it may be one, and opendir and closedir


def test_a_long_file_takes_what_a_short_one_takes(tmp_path, items):
    path = tmp_path / "long.wav"
    path.write_bytes(items["plain.wav"])
    shapes = []
    for size in (5_000_000, 5_000_000_000):
        with open(path, "r+b") as file:
            file.truncate(size)
        calls, read = calls_on(path)
        shapes.append(([call.split("(")[0] for call in calls], read))
    assert shapes[0] == shapes[1]
