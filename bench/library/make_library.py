#!/usr/bin/python3
"""make_library.py FOLDER: the music library that everything here is measured on.

Encoders of this machine make a few files of each variant; the rest are copies of those under titles of their own, so
that 2,000 files take seconds. FOLDER/list.txt names them all, a line each: variant, "library" or "large", path. The
library proper stands in FOLDER/files; FOLDER/large holds what shows that a file's length costs nothing.

A library that this very script made stays; another is made anew.
"""

import hashlib
import pathlib
import random
import shutil
import struct
import subprocess
import sys
import tempfile

# Of each variant, how many files. Big covers are rare in a music library, and make most of its bytes.
COUNTS = {
    "mp3-plain": 300,
    "mp3-tagged": 300,
    "mp3-vbr": 250,
    "mp3-vbr-tagged": 50,
    "mp3-cover-20k": 250,
    "mp3-cover-1.5m": 40,
    "adts": 200,
    "flac": 210,
    "flac-cover-20k": 40,
    "flac-cover-1.5m": 40,
    "wav": 220,
    "unrecognised-txt": 40,
    "unrecognised-jpg": 50,
    "unrecognised-tiny": 10,
}
ENCODED = 6  # of each variant; the rest are copies
LARGE_COUNT = 20
TITLE = b"Song 0000"  # in the tags of what is encoded


def run(*command, **how):
    subprocess.run([str(word) for word in command], check=True, stdin=subprocess.DEVNULL, timeout=120, **how)


def wave(path, seconds, seed):
    """Chords over noise: enough for a variable bitrate to vary."""
    run("sox", "-R", "-n", "-r", 44100, "-c", 2, "-b", 16, path, "synth", seconds, "sine", 200 + 40 * seed, "sine",
        f"{300 + 30 * seed}-{2000 + 100 * seed}", "vol", "0.5")


def noisy_picture(path, side):
    """A picture that does not compress: about three bytes per pixel."""
    noise = random.Random(side).randbytes(3 * side * side)
    subprocess.run(["ffmpeg", "-loglevel", "error", "-y", "-f", "rawvideo", "-pix_fmt", "rgb24", "-s", f"{side}x{side}",
                    "-i", "-", path], input=noise, check=True, timeout=120)


def lame(*options):
    return lambda wav, out: run("lame", "--quiet", *options, wav, out)


def flac(*options):
    title = f"TITLE={TITLE.decode()}"
    return lambda wav, out: run("flac", "--silent", "--force", "-T", title, *options, "-o", out, wav)


def adts(wav, out):
    run("ffmpeg", "-loglevel", "error", "-y", "-i", wav, "-c:a", "aac", "-b:a", "128k", out)


def text(wav, out):
    """Text of sound: every byte below 0x80."""
    out.write_bytes(bytes(byte & 0x7F for byte in wav.read_bytes()[44:44 + 100000]))


def note(wav, out):
    """Shorter than whatever an analysis reads first."""
    out.write_text(f"Bought in {wav.stem} shops: milk, bread.\n")


def jpeg(picture):
    """What lies beside the music in a folder, and holds 0xff here and there as MPEG audio does."""
    return lambda wav, out: run("ffmpeg", "-loglevel", "error", "-y", "-i", picture, "-q:v", 2, out)


def encoders(scratch):
    small, large = scratch / "small.png", scratch / "large.png"
    noisy_picture(small, 82)
    noisy_picture(large, 720)
    assert 15000 < small.stat().st_size < 30000 and large.stat().st_size > 1500000, (small.stat(), large.stat())
    tags = ("--tt", TITLE.decode(), "--ta", "Somebody", "--tl", "An album")
    constant = ("--cbr", "-b", 128)
    return {
        "mp3-plain": (lame(*constant, "-t"), "mp3"),
        "mp3-tagged": (lame(*constant, *tags, "--add-id3v2"), "mp3"),
        "mp3-vbr": (lame("-V", 4), "mp3"),
        "mp3-vbr-tagged": (lame("-V", 4, *tags, "--add-id3v2"), "mp3"),
        "mp3-cover-20k": (lame(*constant, *tags, "--ti", small), "mp3"),
        "mp3-cover-1.5m": (lame(*constant, *tags, "--ti", large), "mp3"),
        "adts": (adts, "aac"),
        "flac": (flac(), "flac"),
        "flac-cover-20k": (flac(f"--picture={small}"), "flac"),
        "flac-cover-1.5m": (flac(f"--picture={large}"), "flac"),
        "wav": (lambda wav, out: out.write_bytes(wav.read_bytes()), "wav"),
        "unrecognised-txt": (text, "txt"),
        "unrecognised-jpg": (jpeg(large), "jpg"),
        "unrecognised-tiny": (note, "txt"),
    }


def sparse(path, head, size):
    with open(path, "wb") as file:
        file.write(head)
        file.truncate(size)


def make_large(folder, scratch):
    """The same WAV at 5 MB and at 5 GB, and an unrecognised file of 1 GB; all but their heads are holes."""
    folder.mkdir()
    header = bytearray((scratch / "0.wav").read_bytes()[:44])
    for name, size in (("wav-5m", 5_000_000), ("wav-5g", 5_000_000_000)):
        struct.pack_into("<I", header, 4, min(size - 8, 0xFFFFFFFF))
        struct.pack_into("<I", header, 40, min(size - 44, 0xFFFFFFFF))
        for number in range(LARGE_COUNT):
            path = folder / f"{name}-{number:02}.wav"
            sparse(path, header, size)
            yield name, "large", path
    head = (scratch / "unrecognised-txt-0.txt").read_bytes()
    for number in range(LARGE_COUNT):
        path = folder / f"unrecognised-1g-{number:02}.txt"
        sparse(path, head, 1 << 30)
        yield "unrecognised-1g", "large", path


def make_library(folder, scratch):
    for seed in range(ENCODED):
        wave(scratch / f"{seed}.wav", 2 + seed * 0.7, seed)
    for variant, (encode, ending) in encoders(scratch).items():
        originals = []
        for seed in range(ENCODED):
            out = scratch / f"{variant}-{seed}.{ending}"
            encode(scratch / f"{seed}.wav", out)
            originals.append(out.read_bytes())
        (folder / variant).mkdir(parents=True)
        for number in range(COUNTS[variant]):
            path = folder / variant / f"{number:04}.{ending}"
            path.write_bytes(originals[number % ENCODED].replace(TITLE, b"Song %04d" % number))
            yield variant, "library", path


def main():
    folder = pathlib.Path(sys.argv[1]).resolve()
    maker = hashlib.sha256(pathlib.Path(__file__).read_bytes()).hexdigest()
    made_by = folder / "made_by.txt"
    if made_by.exists() and made_by.read_text() == maker:
        return
    made_by.unlink(missing_ok=True)
    for name in ("files", "large"):  # of another library, or of a run that was broken off
        shutil.rmtree(folder / name, ignore_errors=True)
    with tempfile.TemporaryDirectory() as scratch:
        items = [*make_library(folder / "files", pathlib.Path(scratch)),
                 *make_large(folder / "large", pathlib.Path(scratch))]
    (folder / "list.txt").write_text("".join(f"{variant}\t{part}\t{path}\n" for variant, part, path in items))
    made_by.write_text(maker)


if __name__ == "__main__":
    main()
