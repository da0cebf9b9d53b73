"""What the command says about items, for people: cards, tables, complaints."""

import os
import socket
import subprocess

import pytest

from conftest import lame

# Root may read everything, unless it gives that up.
WITHOUT_PRIVILEGES = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"] if os.geteuid() == 0 else []


def test_one_item_gives_a_card(quorin, album, golden):
    result = quorin("01 Opening.mp3")
    golden("card.txt", result.out)
    assert (result.code, result.err) == (0, "")


def test_several_items_give_a_table(quorin, album, golden):
    result = quorin("01 Opening.mp3", "02 日本語の歌.mp3", "noise.bin", "missing.mp3")
    golden("table.txt", result.out)
    assert result.code == 1


def test_the_word_probe_may_be_said(quorin, album):
    assert quorin("probe", "02 日本語の歌.mp3").out.startswith("02 日本語の歌.mp3\n  audio     MP3, 44.1 kHz,")


def test_only_the_first_word_is_a_command(quorin, album):
    result = quorin("empty.mp3", "probe")
    assert result.complaints == ["quorin: empty.mp3: empty", "quorin: probe: no such file or directory"]


def test_a_file_called_like_the_command_is_reached_by_its_path(quorin, album, plain_mp3):
    (album / "probe").write_bytes(plain_mp3)
    assert quorin("./probe").code == 0
    assert quorin("probe", "probe").code == 0
    assert quorin("--", "probe").code == 0


@pytest.mark.parametrize("word, meant", [("prob", "quorin probe"), ("porbe", "quorin probe"),
                                         ("help", "quorin --help"), ("verison", "quorin --version")])
def test_a_misspelt_command_is_suggested(quorin, word, meant):
    result = quorin(word, "a.mp3")
    assert result.code == 2
    assert result.complaints == [
        f"quorin: '{word}' is neither a command nor a file; did you mean '{meant}'? ('quorin --help' tells more)"
    ]


def test_a_file_is_not_taken_for_a_misspelt_command(quorin, album, plain_mp3):
    (album / "prob").write_bytes(plain_mp3)
    assert quorin("prob").code == 0


@pytest.mark.parametrize("word", ["prob.mp3", "./prob", "elephant"])
def test_other_words_are_items(quorin, word):
    result = quorin(word)
    assert result.code == 3
    assert result.complaints == [f"quorin: {word}: no such file or directory"]


def test_a_folder(quorin, album, golden):
    (album / "folder").mkdir()
    result = quorin("folder")
    golden("card_folder.txt", result.out)
    assert (result.code, result.err) == (0, "")
    assert quorin("folder/", "noise.bin").out.splitlines()[1].split() == ["folder", "folder/"]
    assert quorin(f"file://{album}/folder").code == 0


# Each trouble gives one line that names the item and the cause, and the items after it are analysed all the same.


def assert_one_line(quorin, item, cause, code=1):
    result = quorin(item, "02 日本語の歌.mp3")
    assert result.complaints == [f"quorin: {item}: {cause}"]
    assert result.out.splitlines()[-1].startswith("MP3 ")
    assert result.code == code


def test_a_missing_file(quorin, album):
    assert_one_line(quorin, "missing.mp3", "no such file or directory")
    assert_one_line(quorin, "empty.mp3/x", "no such file or directory")


def test_an_empty_file(quorin, album):
    assert_one_line(quorin, "empty.mp3", "empty")


def test_a_file_of_no_known_format(quorin, album):
    assert_one_line(quorin, "noise.bin", "not recognised")


def test_an_unreadable_file(quorin, album):
    secret = album / "secret.mp3"
    secret.write_bytes(b"x")
    secret.chmod(0)
    result = quorin("secret.mp3", prefix=WITHOUT_PRIVILEGES)
    assert (result.code, result.complaints) == (3, ["quorin: secret.mp3: permission denied"])


def test_a_link_that_leads_nowhere_and_one_that_leads_in_circles(quorin, album):
    (album / "nowhere").symlink_to("gone")
    (album / "circle").symlink_to("circle")
    assert_one_line(quorin, "nowhere", "no such file or directory")
    assert_one_line(quorin, "circle", "not something that can be opened")


def test_a_socket(quorin, album):
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(str(album / "socket"))
        assert_one_line(quorin, "socket", "not something that can be opened")


def test_a_folder_that_may_not_be_looked_into(quorin, album):
    (album / "secret").mkdir(mode=0)
    result = quorin("secret", prefix=WITHOUT_PRIVILEGES)
    assert (result.code, result.complaints) == (3, ["quorin: secret: permission denied"])


def test_a_name_that_is_too_long(quorin, album):
    assert_one_line(quorin, "n" * 5000, "not something that can be opened")


def test_a_scheme_that_nothing_opens(quorin, album):
    assert_one_line(quorin, "gopher://host/x", 'nothing here opens "gopher:"')


def test_an_empty_name(quorin, album):
    result = quorin("", "02 日本語の歌.mp3")
    assert result.complaints == ["quorin: '': an empty name"]
    assert result.code == 1


def test_a_file_uri(quorin, album):
    assert quorin(f"file://{album}/01%20Opening.mp3").code == 0
    assert quorin("file:///no/such").complaints == ["quorin: file:///no/such: no such file or directory"]


def test_a_bare_scheme_is_no_reason_to_fall_over(quorin, album):
    for item in ("file:", "file://other", "http:", "http://", "vdr2:", "vdr2://"):
        result = quorin(item)
        assert result.code == 3, item
        assert len(result.complaints) == 1 and result.err.startswith(f"quorin: {item}: "), result.err


def test_a_file_whose_name_begins_like_a_uri(quorin, album, plain_mp3):
    (album / "Live: 1999.mp3").write_bytes(plain_mp3)
    assert quorin("Live: 1999.mp3").code == 0


def test_a_file_called_minus_is_a_file(quorin, album, plain_mp3):
    (album / "-").write_bytes(plain_mp3)
    assert quorin("-").out.startswith("-\n  audio ")


@pytest.mark.parametrize("name", ["[a,b]", "{}", "%%", "'q\"", "a b", "--x", "*", "[]"])
def test_odd_names_are_names(quorin, album, plain_mp3, name):
    (album / name).write_bytes(plain_mp3)
    assert quorin("--", name).out.startswith(f"{name}\n  audio ")


def test_a_fifo_is_read_as_a_stream(quorin, album, plain_mp3):
    os.mkfifo(album / "fifo")
    (album / "plain.mp3").write_bytes(plain_mp3)
    writer = subprocess.Popen(["sh", "-c", "cat plain.mp3 > fifo"], cwd=album, stderr=subprocess.DEVNULL)
    try:
        result = quorin("fifo")
    finally:
        writer.kill()
        writer.wait()
    assert "  audio     MP3, 44.1 kHz," in result.out
    assert "can only play straight on" in result.out
    assert result.code == 0


def test_mp3s_of_a_real_encoder_are_told(quorin, tmp_path):
    lame(tmp_path / "mono.mp3", "--cbr", "-b", "32", rate=16000, channels=1)
    lame(tmp_path / "vbr.mp3", "-V", "2")
    assert "MP3, 16 kHz," in quorin("mono.mp3").out
    assert "MP3, 44.1 kHz," in quorin("vbr.mp3").out
