"""The look at a terminal: width, colour, names that are out to do harm."""

import re
import subprocess
import unicodedata

import pytest

COLOR = "\033["
LONG_NAME = "A name that goes on and on and on, " * 4 + "and ends in 07.mp3"
WIDE_NAME = "とても長い名前のファイル" * 5 + "07.mp3"


def columns_of(line):
    return sum(2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in line)


@pytest.fixture
def long_names(album, plain_mp3):
    for name in (LONG_NAME, WIDE_NAME):
        (album / name).write_bytes(plain_mp3)
    return album


@pytest.mark.parametrize("columns", [60, 80, 200])
def test_nothing_is_wider_than_the_terminal(quorin, long_names, golden, columns):
    items = ("01 Opening.mp3", LONG_NAME, WIDE_NAME, "noise.bin", "missing.mp3")
    table = quorin.at_terminal("--color=never", *items, columns=columns)
    golden(f"table_{columns}.txt", table)
    card = quorin.at_terminal("--color=never", WIDE_NAME, columns=columns)
    golden(f"card_{columns}.txt", card)
    assert max(columns_of(line) for line in (table + card).splitlines()) <= columns


def test_a_terminal_of_one_column_is_survived(quorin, long_names):
    assert quorin.at_terminal(LONG_NAME, "noise.bin", columns=1).count("\n") == 3
    assert "MP3" in quorin.at_terminal(LONG_NAME, columns=1)


def test_without_a_terminal_names_are_whole(quorin, long_names):
    out = quorin(LONG_NAME, WIDE_NAME).out
    assert LONG_NAME in out and WIDE_NAME in out


def test_a_terminal_without_utf8_gets_none(quorin, long_names):
    out = quorin.at_terminal(LONG_NAME, "02 日本語の歌.mp3", columns=70, environment={"LANG": "C"})
    assert out.isascii()
    assert "..." in out
    assert "02 \\u{65e5}" in out or "02 \\u" in out


@pytest.mark.parametrize("arguments, what, command", [(("play",), "sound", "play"),
                                                      (("cover", "-o", "-"), "a picture", "cover")])
def test_a_terminal_gets_no_bytes_that_it_cannot_show(quorin, album, arguments, what, command):
    assert quorin.at_terminal(*arguments, "01 Opening.mp3", stderr=subprocess.STDOUT) == (
        f"quorin: a terminal cannot show {what}; send standard output to a file or a program "
        f"('quorin {command} --help' tells more)\n")


@pytest.mark.parametrize("arguments, environment, terminal, colored", [
    ((), {}, True, True),
    ((), {}, False, False),
    ((), {"TERM": "dumb"}, True, False),
    ((), {"NO_COLOR": "1"}, True, False),
    ((), {"NO_COLOR": ""}, True, True),
    ((), {"CLICOLOR_FORCE": "1"}, False, True),
    ((), {"CLICOLOR_FORCE": "0"}, False, False),
    ((), {"NO_COLOR": "1", "CLICOLOR_FORCE": "1"}, True, False),
    (("--color=always",), {"NO_COLOR": "1"}, False, True),
    (("--color=never",), {"CLICOLOR_FORCE": "1"}, True, False),
    (("--color=auto",), {}, True, True),
])
def test_colour(quorin, album, arguments, environment, terminal, colored):
    if terminal:
        out = quorin.at_terminal(*arguments, "01 Opening.mp3", environment=environment)
    else:
        out = quorin(*arguments, "01 Opening.mp3", environment=environment).out
    assert (COLOR in out) == colored


def test_json_is_never_coloured(quorin, album):
    assert COLOR not in quorin("--json", "--color=always", "01 Opening.mp3").out


@pytest.mark.parametrize("name, shown", [
    ("\033]0;owned\007.mp3", "\\x1b]0;owned\\x07.mp3"),
    ("\033[2J\033[H.mp3", "\\x1b[2J\\x1b[H.mp3"),
    ("a\nquorin: b: fine.mp3", "a\\nquorin: b: fine.mp3"),
    ("\u202e3pm.exe", "\\u{202e}3pm.exe"),
    ("\u009b31m.mp3", "\\u{9b}31m.mp3"),
    ("caf\udce9.mp3", "caf\\xe9.mp3"),
])
def test_a_name_can_do_no_harm(quorin, album, plain_mp3, name, shown):
    missing = quorin(name)
    assert missing.complaints == [f"quorin: {shown}: no such file or directory"]
    (album / name).write_bytes(plain_mp3)
    assert quorin(name).out.splitlines()[0] == shown
    assert quorin(name, name).out.splitlines()[1].endswith("  " + shown)


def test_rows_come_as_they_are_known(quorin, album):
    # The head and the first row are there while the second item still keeps the command waiting.
    import os
    import subprocess

    from conftest import COMMAND, clean_environment

    os.mkfifo(album / "fifo")
    process = subprocess.Popen([COMMAND, "01 Opening.mp3", "fifo"], cwd=album, env=clean_environment(),
                               stdout=subprocess.PIPE)
    assert process.stdout.readline().startswith(b"KIND ")
    assert process.stdout.readline().startswith(b"MP3 ")
    assert process.poll() is None
    with open(album / "fifo", "wb"):
        pass
    process.wait(60)
    process.stdout.close()
    assert process.returncode == 1


def test_the_escape_sequences_are_closed(quorin, album):
    out = quorin("--color=always", "01 Opening.mp3", "noise.bin", "missing.mp3").out
    for line in out.splitlines():
        starts = re.findall(r"\033\[[1-9][0-9]*m", line)
        assert len(starts) == line.count("\033[0m")
