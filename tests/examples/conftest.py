"""What the tests of the examples share: running one, and real items.

Run by hand:  QUORIN_EXAMPLES=build/dev/bin tests/support/with_private_net.sh /usr/bin/python3 -m pytest tests/examples
For 32-bit ARM also:  QUORIN_EMULATOR="qemu-arm-static -L build/armhf-sysroot"
"""

import os
import pathlib
import subprocess
import sys

import pytest

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "system"))  # for web_server

PROGRAMS = pathlib.Path(os.environ["QUORIN_EXAMPLES"]).resolve()
EMULATOR = os.environ.get("QUORIN_EMULATOR", "").split()

# Generous: nothing here takes long, but the machine may be busy.
TIME_LIMIT = 60


@pytest.fixture
def example(tmp_path):
    """Runs an example in the folder of the test; returns its exit status, standard output and standard error."""
    def run(name, *arguments, **environment):
        mine = {key: value for key, value in os.environ.items() if key != "OBQ_DEBUG" and not key.endswith("_proxy")}
        process = subprocess.run([*EMULATOR, PROGRAMS / name, *arguments], cwd=tmp_path, env={**mine, **environment},
                                 capture_output=True, stdin=subprocess.DEVNULL, timeout=TIME_LIMIT)
        return process.returncode, process.stdout, process.stderr.decode()
    return run


def tool(*command, cwd):
    subprocess.run(command, cwd=cwd, check=True, capture_output=True, timeout=TIME_LIMIT)


@pytest.fixture(scope="session")
def media(tmp_path_factory):
    """A folder with tone.wav, of two seconds, and song.mp3, the same at 128 kbit/s behind a tag with a cover."""
    folder = tmp_path_factory.mktemp("media")
    tool("sox", "-D", "-n", "-b", "16", "-r", "44100", "-c", "2", "tone.wav", "synth", "2", "sine", "440", cwd=folder)
    tool("ffmpeg", "-v", "error", "-f", "lavfi", "-i", "color=red:s=64x64", "-frames:v", "1", "cover.jpg", cwd=folder)
    tool("lame", "--quiet", "--cbr", "-b", "128", "-t", "--ti", "cover.jpg", "--tt", "Tone", "tone.wav", "song.mp3",
         cwd=folder)
    return folder
