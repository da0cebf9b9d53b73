"""What the tests of the quorin command share: the command itself, real items, golden files.

Run by hand:  QUORIN_COMMAND=build/dev/bin/quorin QUORIN_DOCUMENTS=build/dev/documents /usr/bin/python3 -m pytest tests/system
Rewrite the golden files:  ... --update-golden
"""

import fcntl
import json
import os
import pathlib
import pty
import re
import struct
import subprocess
import termios
import time

import jsonschema
import pytest

HERE = pathlib.Path(__file__).parent
COMMAND = os.path.abspath(os.environ["QUORIN_COMMAND"])
SCHEMA = json.loads((HERE / "../../docs/record.schema.json").read_text())
VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)

# Generous: nothing here takes long, but the machine may be busy.
TIME_LIMIT = 60


def pytest_addoption(parser):
    parser.addoption("--update-golden", action="store_true", help="write the golden files instead of comparing")


def clean_environment(**changes):
    """The environment of the tests without what a user may have set; None takes a variable away."""
    mine = {"NO_COLOR", "CLICOLOR_FORCE", "COLUMNS", "OBQ_DEBUG", "LC_ALL", "LC_CTYPE", "http_proxy", "https_proxy"}
    environment = {name: value for name, value in os.environ.items() if name not in mine}
    environment.update({"LANG": "C.UTF-8", "TERM": "xterm-256color"})
    environment.update(changes)
    return {name: value for name, value in environment.items() if value is not None}


def until(happens):
    """Waits for something that another process does."""
    end = time.monotonic() + TIME_LIMIT / 4
    while not happens():
        assert time.monotonic() < end, "it does not happen"
        time.sleep(0.01)


def check_records(text):
    """Holds each record in a text, or in its bytes, against the schema."""
    text = text.decode("utf-8", "surrogateescape") if isinstance(text, bytes) else text
    for line in text.split("\n"):  # a name may hold what str.splitlines takes for a line end
        if line.startswith('{"v":'):
            VALIDATOR.validate(json.loads(line))


class Result:
    def __init__(self, code, out, err):
        self.code, self.out, self.err = code, out, err

    @property
    def complaints(self):
        """The lines on standard error."""
        return self.err.splitlines()


class Quorin:
    """The command, run in a folder. Every record that it writes is checked against the schema."""

    def __init__(self, folder):
        self.folder = folder

    def __call__(self, *arguments, environment=None, text=None, cwd=None, prefix=(), **how):
        how.setdefault("stdout", subprocess.PIPE)
        if text is None:
            how.setdefault("stdin", subprocess.DEVNULL)
        process = subprocess.run(
            [*prefix, COMMAND, *arguments],
            cwd=cwd or self.folder,
            env=clean_environment(**(environment or {})),
            input=text,
            stderr=subprocess.PIPE,
            timeout=TIME_LIMIT,
            **how,
        )
        out = (process.stdout or b"").decode("utf-8", "surrogateescape")
        err = process.stderr.decode("utf-8", "surrogateescape")
        check_records(out + err)
        return Result(process.returncode, out, err)

    def records(self, *arguments, **how):
        """The records of the items."""
        return [json.loads(line) for line in self("--json", *arguments, **how).out.split("\n") if line]

    def record(self, *arguments, **how):
        (record,) = self.records(*arguments, **how)
        return record

    def at_terminal(self, *arguments, columns=80, environment=None, stderr=subprocess.DEVNULL):
        """Standard output as it arrives at a terminal of that width; STDOUT lets standard error arrive there, too."""
        try:
            master, slave = pty.openpty()
        except OSError as error:
            pytest.skip(f"this machine hands out no pseudo terminal: {error}")
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        process = subprocess.Popen(
            [COMMAND, *arguments],
            cwd=self.folder,
            env=clean_environment(**(environment or {})),
            stdin=subprocess.DEVNULL,
            stdout=slave,
            stderr=stderr,
        )
        os.close(slave)
        chunks = []
        while True:
            try:
                chunk = os.read(master, 65536)
            except OSError:  # how Linux tells that the other end is closed
                break
            if not chunk:
                break
            chunks.append(chunk)
        os.close(master)
        process.wait(TIME_LIMIT)
        text = b"".join(chunks).decode("utf-8", "surrogateescape").replace("\r\n", "\n")
        check_records(text)
        return text


def uris(records):
    return [record.get("uri", record.get("path_b64")) for record in records]


def start_scan(*arguments, environment={}, **how):
    """A scan that goes on while the test does."""
    how.setdefault("stdin", subprocess.PIPE)
    how.setdefault("stderr", subprocess.PIPE)
    return subprocess.Popen([COMMAND, "scan", *arguments], stdout=subprocess.PIPE, env=clean_environment(**environment), **how)


@pytest.fixture
def quorin(tmp_path):
    return Quorin(tmp_path)


def lame(path, *options, seconds=3, rate=44100, channels=2):
    """An MP3 of a real encoder. Its size depends on the options only: without tags every frame is audio."""
    samples = bytes(
        byte
        for n in range(seconds * rate)
        for byte in struct.pack("<h", int(12000 * ((n * 440 * 2 / rate) % 2 - 1))) * channels
    )
    subprocess.run(
        ["lame", "--quiet", "-r", "--signed", "--bitwidth", "16", "-s", str(rate / 1000)]
        + (["-m", "m"] if channels == 1 else ["-m", "s"])
        + [*options, "-", str(path)],
        input=samples,
        check=True,
        timeout=TIME_LIMIT,
    )
    return path


def id3_tag(*frames, padding=0):
    """An ID3v2.3 tag of (name, body) frames."""
    body = b"".join(name + struct.pack(">IH", len(data), 0) + data for name, data in frames) + bytes(padding)
    size = len(body)
    digits = bytes(size >> shift & 0x7F for shift in (21, 14, 7, 0))
    return b"ID3\x03\x00\x00" + digits + body


PICTURE = b"\xff\xd8\xff\xe0" + bytes(20476)


@pytest.fixture(scope="session")
def plain_mp3(tmp_path_factory):
    """3 s at a constant 128 kbit/s without any tag."""
    path = tmp_path_factory.mktemp("media") / "plain.mp3"
    return lame(path, "--cbr", "-b", "128", "-t").read_bytes()


@pytest.fixture(scope="session")
def tagged_mp3(plain_mp3):
    """The same behind a tag with a title and a cover."""
    picture = b"\x00image/jpeg\x00\x03\x00" + PICTURE
    return id3_tag((b"TIT2", b"\x00Opening"), (b"APIC", picture)) + plain_mp3


@pytest.fixture
def album(tmp_path, plain_mp3, tagged_mp3):
    """A folder with one item of each kind."""
    (tmp_path / "01 Opening.mp3").write_bytes(tagged_mp3)
    (tmp_path / "02 日本語の歌.mp3").write_bytes(plain_mp3)
    (tmp_path / "noise.bin").write_bytes(bytes(range(256)) * 64)
    (tmp_path / "empty.mp3").write_bytes(b"")
    return tmp_path


@pytest.fixture
def golden(request):
    """Compares a text with golden/NAME. What differs from run to run is blotted out: times and the folder."""

    def compare(name, text):
        folder = str(request.getfixturevalue("tmp_path"))
        text = text.replace(folder, "/FOLDER")
        text = re.sub(r"^(  cost .*, )[\d.]+ m?s$", r"\1# ms", text, flags=re.MULTILINE)
        text = re.sub(r'"elapsed_us":\d+', '"elapsed_us":0', text)
        path = HERE / "golden" / name
        if request.config.getoption("--update-golden"):
            path.write_text(text)
        assert text == path.read_text()

    return compare


@pytest.fixture
def tree(tmp_path, plain_mp3, tagged_mp3):
    """Two albums, something else, and a list of what is an item there, in order."""
    for name in ("a/1.mp3", "a/2.mp3", "b/sub/3.mp3", "b/4.mp3"):
        path = tmp_path / "music" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(tagged_mp3 if name.startswith("a") else plain_mp3)
    (tmp_path / "music/b/readme.txt").write_text("no audio\n" * 100)
    (tmp_path / "music/.hidden.mp3").write_bytes(plain_mp3)
    return [f"{tmp_path}/music/{name}" for name in
            (".hidden.mp3", "a/1.mp3", "a/2.mp3", "b/4.mp3", "b/readme.txt", "b/sub/3.mp3")]
