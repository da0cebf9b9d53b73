"""quorin scan: whole folders, several items at once."""

import base64
import json
import os
import pty
import re
import signal
import socket
import subprocess
import threading
import time

import pytest

from conftest import COMMAND, TIME_LIMIT, check_records, clean_environment, start_scan, uris
from web_server import scripted_server

WITHOUT_PRIVILEGES = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"] if os.geteuid() == 0 else []


# What is found


def test_every_regular_file_is_told_with_its_stamp(quorin, tree):
    records = quorin.records("scan", "music")
    assert sorted(uris(records)) == sorted(tree)
    for record in records:
        status = os.stat(record["uri"])
        assert record["file"] == {"size": status.st_size, "mtime": {"seconds": status.st_mtime_ns // 10**9,
                                                                    "nanoseconds": status.st_mtime_ns % 10**9}}
        assert record["kind"] == ("unknown" if record["uri"].endswith("txt") else "audio")


@pytest.mark.parametrize("workers", ["1", "2", "16"])
def test_in_the_order_of_finding_on_request(quorin, tree, workers):
    assert uris(quorin.records("scan", "--ordered", "-j", workers, "music")) == tree


def test_links_to_files_and_folders_are_followed_once(quorin, tree, tmp_path):
    music = tmp_path / "music"
    (music / "b/sub/up").symlink_to("../..")
    (music / "c").symlink_to("c")
    (music / "d").symlink_to("a")
    (music / "e.mp3").symlink_to("a/1.mp3")
    (music / "gone.mp3").symlink_to("nowhere")
    assert uris(quorin.records("scan", "--ordered", "music", "music/b", "music/../music")) == [*tree, f"{music}/e.mp3"]


def test_what_is_no_regular_file_is_passed_over(quorin, tree, tmp_path):
    os.mkfifo(tmp_path / "music/pipe")
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(str(tmp_path / "music/socket"))
        assert uris(quorin.records("scan", "--ordered", "music")) == tree


def test_files_and_uris_are_items_themselves(quorin, tree, tmp_path):
    records = quorin.records("scan", "--ordered", "music/a/1.mp3", f"file:{tmp_path}/music/b/4.mp3", "music/b/sub/")
    assert uris(records) == [tree[1], f"file:{tree[3]}", tree[5]]
    assert ["file" in record for record in records] == [True, False, True]


def test_items_of_a_list(quorin, tree):
    assert uris(quorin.records("scan", "--ordered", "--files-from", "-", text=b"music/a\nmusic/b/4.mp3\n")) == (
        tree[1:4])
    assert uris(quorin.records("scan", "--ordered", "--files-from", "-", "-0", text=b"music/b\0music/a\0")) == (
        tree[3:] + tree[1:3])


def test_a_list_with_other_line_ends_is_told(quorin, tree):
    hint = "the name ends with a carriage return (a list with CRLF line ends?)"
    for command in ("scan", "probe"):
        complaints = quorin(command, "--files-from", "-", text=b"music/a/1.mp3\r\n\thttp://[\r\n").complaints
        assert f"quorin: music/a/1.mp3\\r: no such file or directory; {hint}" in complaints
        assert [complaint.endswith(hint) for complaint in complaints[:2]] == [True, True]


def test_names_of_every_kind(quorin, tmp_path, plain_mp3):
    folder = tmp_path / "odd"
    folder.mkdir()
    names = [b"a\nb.mp3", b'"quotes".mp3', b"\xff\xfe.mp3", "日本語.mp3".encode(), b"http:x.mp3", b"-f"]
    for name in names:
        with open(os.path.join(os.fsencode(folder), name), "wb") as file:
            file.write(plain_mp3)
    records = quorin.records("scan", "odd")
    assert {record["kind"] for record in records} == {"audio"}
    found = {record["uri"].encode() if "uri" in record else base64.b64decode(record["path_b64"]) for record in records}
    assert found == {os.path.join(os.fsencode(folder), name) for name in names}


@pytest.mark.parametrize("form", ["file://{}/music/a", "file://localhost{}/musi%63/a", "FILE:{}/music/a", "file:music/a"])
def test_a_folder_by_its_file_uri_is_walked(quorin, tree, tmp_path, form):
    records = quorin.records("scan", "--ordered", form.format(tmp_path))
    assert [record["uri"].replace(f"{tmp_path}/", "") for record in records] == ["music/a/1.mp3", "music/a/2.mp3"]
    assert all("file" in record for record in records)


def test_a_folder_of_another_machine_is_not(quorin, tree, tmp_path):
    assert quorin.record("scan", f"file://elsewhere{tmp_path}/music")["error"]["name"] == "bad_uri"


def test_an_empty_folder(quorin, tmp_path):
    (tmp_path / "empty").mkdir()
    result = quorin("scan", "empty")
    assert (result.code, result.out) == (0, "")


# What goes wrong


def test_what_is_not_recognised_is_no_failure(quorin, tree):
    result = quorin("scan", "music/b")
    assert result.code == 0
    assert not any("readme" in line for line in result.complaints)


def test_failures_are_told_and_cost_the_others_nothing(quorin, tree):
    result = quorin("scan", "--ordered", "missing", "music/a")
    assert result.code == 1
    assert result.complaints[0] == "quorin: missing: no such file or directory"
    assert [json.loads(line)["kind"] for line in result.out.splitlines()] == ["error", "audio", "audio"]
    assert quorin("scan", "missing", "gone").code == 3


def test_a_folder_that_cannot_be_looked_into(quorin, tree, tmp_path):
    (tmp_path / "music/a").chmod(0)
    try:
        result = quorin("scan", "--ordered", "music", prefix=WITHOUT_PRIVILEGES)
    finally:
        (tmp_path / "music/a").chmod(0o755)
    assert result.code == 1
    assert result.complaints[0] == "quorin: music/a: permission denied"
    records = [json.loads(line) for line in result.out.splitlines()]
    assert uris(records) == [tree[0], f"{tmp_path}/music/a", *tree[3:]]
    assert records[1]["error"]["name"] == "permission_denied"


def test_output_that_cannot_be_written(quorin, tree):
    with open("/dev/full", "w") as full:
        result = quorin("scan", "music", stdout=full)
    assert (result.code, result.complaints) == (4, ["quorin: standard output: no space left on device"])


def test_a_reader_who_goes_away_ends_a_scan_at_once(tree, tmp_path):
    process = start_scan("--files-from", "-", cwd=tmp_path)
    process.stdin.write(b"music/a/1.mp3\n")
    process.stdin.flush()
    first = process.stdout.readline()
    assert first.endswith(b"}\n")
    check_records(first)
    process.stdout.close()
    process.stdin.write(b"music/a/2.mp3\n")  # and nothing more comes, nor does the list end
    process.stdin.flush()
    assert process.wait(TIME_LIMIT) == 4
    assert process.stderr.read() == b"quorin: standard output: broken pipe\n"
    process.stdin.close()


def test_an_interrupted_scan_leaves_whole_lines(tree, tmp_path):
    process = start_scan("--files-from", "-", cwd=tmp_path)

    def feed():
        try:
            while True:
                process.stdin.write(b"music\n" + b"music/a/1.mp3\n" * 1000)
        except OSError:
            pass

    feeder = threading.Thread(target=feed)
    feeder.start()
    lines = [process.stdout.readline() for _ in range(500)]
    process.send_signal(signal.SIGINT)
    rest = process.stdout.read()
    assert process.wait(TIME_LIMIT) == 130
    feeder.join()
    assert rest == b"" or rest.endswith(b"}\n")
    assert all(line.startswith(b'{"v":') for line in [*lines, *rest.splitlines()])
    check_records(b"".join(lines) + rest)


# Going on where an earlier scan ended


@pytest.fixture
def earlier(quorin, tree, tmp_path):
    path = tmp_path / "old.ndjson"
    path.write_text(quorin("scan", "--ordered", "music", "missing").out)
    return path


def test_unchanged_files_are_left_out(quorin, tree, earlier):
    result = quorin("scan", "--resume", str(earlier), "music")
    assert (result.code, result.out) == (0, "")
    assert "  unchanged   6: left out" in result.complaints


def test_changed_files_are_not(quorin, tree, earlier):
    with open(tree[1], "ab") as file:
        file.write(b"x")
    os.utime(tree[3], ns=(0, 10**18 + 1))
    os.utime(tree[4])
    assert uris(quorin.records("scan", "--ordered", "--resume", str(earlier), "music")) == [tree[1], tree[3], tree[4]]


def test_failures_are_tried_again(quorin, tree, earlier):
    assert uris(quorin.records("scan", "--resume", str(earlier), "music", "missing")) == [
        tree[0].replace("music/.hidden.mp3", "missing")]


def test_a_last_line_that_was_cut_off_does_no_harm(quorin, tree, earlier):
    whole = earlier.read_text().splitlines(keepends=True)
    earlier.write_text("".join(whole[:5]) + whole[5][:40])
    for _ in range(2):
        with open(earlier, "a") as out:
            result = quorin("scan", "--resume", str(earlier), "music", stdout=out)
        assert result.code == 0
        assert result.complaints[0] == f"quorin: {earlier}:6: not a record of quorin, passed over"
    lines = earlier.read_text().splitlines(keepends=True)
    assert (len(lines), lines[5]) == (7, whole[5][:40] + "\n")
    assert json.loads(lines[6])["uri"] == tree[5]


def test_a_file_that_redirected_is_known_by_its_own_name(quorin, tree, earlier):
    records = [json.loads(line) for line in earlier.read_text().splitlines()]
    records[1].update(via=[tree[1], "http://host/list"], uri="http://host/song")
    records[2].update(via=["http://host/list"])
    earlier.write_text("".join(json.dumps(record) + "\n" for record in records))
    assert uris(quorin.records("scan", "--resume", str(earlier), "music")) == [tree[2]]


@pytest.mark.parametrize("line", ["no record", "{}", "[1]", '{"v":9,"kind":"audio"}',
                                  '{"v":1,"kind":"audio","file":{"size":"x"}}'])
def test_what_is_no_record_is_told_and_passed_over(quorin, tree, earlier, line):
    earlier.write_text(earlier.read_text() + line + "\n\n")
    result = quorin("scan", "--resume", str(earlier), "music")
    assert (result.code, result.out) == (0, "")
    assert result.complaints[0] == f"quorin: {earlier}:8: not a record of quorin, passed over"
    earlier.write_text(line + "\n")
    result = quorin("scan", "--resume", str(earlier), "music")
    assert (result.code, result.out) == (2, "")
    assert result.complaints[1:] == [f"quorin: {earlier}: no records of quorin"]


def test_what_broke_while_it_was_read_is_a_failure(quorin):
    answer = b"HTTP/1.1 200 OK\r\nContent-Length: 100000\r\nConnection: close\r\n\r\n" + bytes(100)
    with scripted_server(answer, close=True) as url:
        result = quorin("scan", url)
        assert quorin("probe", url).code == quorin("--json", url).code == 3  # by the same rule
    assert result.code == 3
    assert result.complaints[0] == f"quorin: {url}: the connection ended before the item did"
    assert result.complaints[2] == "  failed      1: the connection ended before the item did 1"


def test_what_cannot_be_looked_at_is_a_failure(quorin, tree, tmp_path):
    (tmp_path / "music/a").chmod(0o444)
    try:
        result = quorin("scan", "--ordered", "music/a", prefix=[*WITHOUT_PRIVILEGES])
    finally:
        (tmp_path / "music/a").chmod(0o755)
    assert result.code == 3
    assert result.complaints[:2] == [f"quorin: music/a/{n}.mp3: permission denied" for n in (1, 2)]


def test_names_that_are_no_utf8_are_known_again(quorin, tmp_path, plain_mp3):
    (tmp_path / "odd").mkdir()
    with open(os.fsencode(tmp_path) + b"/odd/\xff.mp3", "wb") as file:
        file.write(plain_mp3)
    (tmp_path / "old").write_text(quorin("scan", "odd").out)
    assert quorin("scan", "--resume", "old", "odd").out == ""


# What is said meanwhile, and at the end


def test_the_summary(quorin, tree):
    complaints = quorin("scan", "missing", "music", "gone").complaints
    assert sorted(complaints[:2]) == [f"quorin: {name}: no such file or directory" for name in ("gone", "missing")]
    assert re.fullmatch(r"quorin: 8 items in \d+\.\d s \([\d ]+/s\), [\d.]+ KiB read", complaints[2])
    assert complaints[3:] == [
        "  audio       5: MP3 5", "  unknown     1", "  failed      2: no such file or directory 2"]
    assert quorin("scan", "-q", "missing", "music").err == ""


def test_nothing_but_the_summary_goes_to_what_is_no_terminal(quorin, tree):
    assert "\r" not in quorin("scan", "music").err
    assert "\x1b" not in quorin("scan", "--progress", "always", "music").err


def slow_scan(tree_folder, *arguments, seconds, **how):
    """A scan whose list comes in two parts."""
    process = start_scan(*arguments, "--files-from", "-", cwd=tree_folder, **how)
    process.stdin.write(b"music/a\n")
    process.stdin.flush()
    time.sleep(seconds)
    process.stdin.write(b"music/b\n")
    process.stdin.close()
    check_records(process.stdout.read())
    assert process.wait(TIME_LIMIT) == 0
    return process


def at_terminal(tree_folder, *arguments, **how):
    """What a scan writes to a terminal on standard error."""
    try:
        master, slave = pty.openpty()
    except OSError as error:
        pytest.skip(f"this machine hands out no pseudo terminal: {error}")
    slow_scan(tree_folder, *arguments, seconds=0.5, stderr=slave, **how)
    os.close(slave)
    out = b""
    try:
        while chunk := os.read(master, 65536):
            out += chunk
    except OSError:  # how Linux tells that the other end is closed
        pass
    os.close(master)
    return out.decode().replace("\r\n", "\n")


def test_progress_at_a_terminal_is_a_line_that_goes_away(tree, tmp_path):
    text = at_terminal(tmp_path)
    assert re.search(r"\r\x1b\[K2 done, \d+/s  music/a/[12]\.mp3", text)
    assert text.split("\r\x1b[K")[-1].startswith("quorin: 5 items")


class ScanAtTerminal:
    """A scan that goes on, with standard error at a terminal; until a line of progress stands there."""

    def __init__(self, folder, **how):
        try:
            self.master, slave = pty.openpty()
        except OSError as error:
            pytest.skip(f"this machine hands out no pseudo terminal: {error}")
        self.process = start_scan("--files-from", "-", cwd=folder, stderr=slave, **how)
        os.close(slave)
        self.text = b""
        self.give(b"music/a\n")
        while b"2 done" not in self.text:
            self.text += os.read(self.master, 65536)

    def give(self, names):
        self.process.stdin.write(names)
        self.process.stdin.flush()

    def end(self):
        """How it ended, and what is left in the last line of the terminal, or below it."""
        code = self.process.wait(TIME_LIMIT)
        try:
            while chunk := os.read(self.master, 65536):
                self.text += chunk
        except OSError:  # how Linux tells that the other end is closed
            pass
        os.close(self.master)
        self.process.stdin.close()
        self.process.stdout.close()
        return code, self.text.decode().split("\r\x1b[K")[-1]


@pytest.mark.parametrize("number, status", [(signal.SIGINT, 130), (signal.SIGTERM, -signal.SIGTERM),
                                            (signal.SIGHUP, -signal.SIGHUP)])
def test_a_signal_takes_the_line_of_progress_away(tree, tmp_path, number, status):
    scan = ScanAtTerminal(tmp_path)
    scan.process.send_signal(number)
    assert scan.end() == (status, "")


def test_a_reader_who_goes_away_is_told_without_the_line_of_progress(tree, tmp_path):
    scan = ScanAtTerminal(tmp_path)
    scan.process.stdout.close()
    scan.give(b"music/b\n")
    assert scan.end() == (4, "quorin: standard output: broken pipe\r\n")


def test_a_log_line_takes_the_line_of_progress_away(tree, tmp_path):
    text = at_terminal(tmp_path, "--log", "verbose")
    assert "\nAnalyzer" in text
    ends = re.findall(r"\r\x1b\[K\d+ done[^\r\n]*(?=(\r\x1b\[K|\n))", text)
    assert ends and "\n" not in ends


def test_progress_can_be_switched_off(tree, tmp_path):
    assert "\r" not in at_terminal(tmp_path, "--progress", "never")
    assert at_terminal(tmp_path, "-q") == ""
    assert "\r\x1b[K2 done" in at_terminal(tmp_path, "-q", "--progress", "always")


def test_a_terminal_that_can_only_write_on_gets_no_line(tree, tmp_path):
    dumb = {"TERM": "dumb"}
    text = at_terminal(tmp_path, environment=dumb)
    assert text.startswith("quorin: 5 items") and "\x1b" not in text
    assert "\x1b" not in at_terminal(tmp_path, "--progress", "always", environment=dumb)


def test_progress_that_was_asked_for_is_plain_lines_elsewhere(tree, tmp_path):
    process = slow_scan(tmp_path, "--progress", "always", seconds=5.4, stderr=subprocess.PIPE)
    lines = process.stderr.read().decode().splitlines()
    assert re.fullmatch(r"quorin: 2 done, 0/s", lines[0])
    assert lines[1].startswith("quorin: 5 items")


def test_a_terminal_gets_a_table(quorin, tree):
    lines = quorin.at_terminal("scan", "--ordered", "music", columns=100, environment={"NO_COLOR": "1"}).splitlines()
    assert lines[0].split()[0] == "KIND"
    assert len(lines) == 7
    assert lines[1].startswith("MP3 ") and lines[1].endswith("music/.hidden.mp3")
    assert quorin.at_terminal("scan", "--json", "music/a").startswith('{"v":1,')


def test_complaints_and_rows_come_in_their_order(tree, tmp_path):
    try:
        master, slave = pty.openpty()
    except OSError as error:
        pytest.skip(f"this machine hands out no pseudo terminal: {error}")
    subprocess.run([COMMAND, "scan", "--ordered", "music/a", "missing", "music/b/4.mp3"], cwd=tmp_path, stdout=slave,
                   stderr=slave, stdin=subprocess.DEVNULL, env=clean_environment(NO_COLOR="1"), timeout=TIME_LIMIT)
    os.close(slave)
    lines = os.read(master, 65536).decode().replace("\r\n", "\n").splitlines()
    os.close(master)
    assert [line.split()[-1].split("/")[-1] for line in lines[1:6]] == [
        "1.mp3", "2.mp3", "directory", "missing", "4.mp3"]


# The options


@pytest.mark.parametrize("arguments, cause", [
    ((), "no item is given"),
    (("-j", "0", "a"), "-j: Value 0 not in range 1 to 256"),
    (("-j", "257", "a"), "-j: Value 257 not in range 1 to 256"),
    (("--progress", "x", "a"), "--progress: x not in {auto,always,never}"),
    (("--resume", "missing", "a"), "--resume: 'missing': no such file or directory"),
])
def test_wrong_usage(quorin, arguments, cause):
    result = quorin("scan", *arguments)
    assert (result.code, result.out) == (2, "")
    assert result.complaints == [f"quorin: {cause} ('quorin scan --help' tells more)"]


def test_a_number_of_workers_is_for_scans(quorin):
    assert quorin("-j", "2", "a").complaints == [
        "quorin: 'probe' takes no option -j; it is for scan ('quorin --help' tells more)"]
