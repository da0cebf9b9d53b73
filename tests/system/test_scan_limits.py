"""quorin scan under load: many items, slow hosts, long names, deep folders, few threads, interruptions."""

import http.server
import json
import os
import pathlib
import resource
import signal
import socket
import subprocess
import threading
import time

import pytest

from conftest import COMMAND, TIME_LIMIT, check_records, start_scan, uris

# Under AddressSanitizer freed memory is kept for a while, and would count.
SMALL_QUARANTINE = {"ASAN_OPTIONS": "quarantine_size_mb=1:detect_leaks=0"}


# Hosts


class CountingServer(http.server.ThreadingHTTPServer):
    """Answers slowly, and counts how many are waiting at the same time. /to/ADDRESS/... redirects there."""

    daemon_threads = True
    request_queue_size = 64  # a full queue would make clients wait for a second

    def __init__(self):
        super().__init__(("0.0.0.0", 0), Answer)
        self.lock, self.now, self.most = threading.Lock(), {}, {}
        threading.Thread(target=self.serve_forever, daemon=True).start()


class Answer(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        host, port = self.headers["Host"].split(":")
        with self.server.lock:
            self.server.now[host] = self.server.now.get(host, 0) + 1
            self.server.most[host] = max(self.server.most.get(host, 0), self.server.now[host])
        time.sleep(0.05)
        with self.server.lock:
            self.server.now[host] -= 1
        path = self.path.split("/")
        if path[1] == "to":
            self.send_response(302)
            self.send_header("Location", f"http://{path[2]}:{port}/{'/'.join(path[3:])}")
        else:
            self.send_response(404)
        self.end_headers()

    def log_message(self, *_):
        pass


@pytest.fixture
def server():
    made = CountingServer()
    yield made
    made.shutdown()
    made.server_close()


def test_no_host_is_asked_by_more_than_four_at_once(quorin, tree, server):
    urls = [f"http://127.0.0.{1 + n // 20}:{server.server_port}/{n}" for n in range(40)]
    records = quorin.records("scan", "-j", "32", "--ordered", *urls, "music")
    assert uris(records) == urls + tree
    assert max(server.most.values()) == 4


def test_nor_are_hosts_that_redirects_lead_to(quorin, tree, server):
    port = server.server_port
    urls = [f"http://127.0.0.{1 + n % 5}:{port}/to/127.0.0.9/to/127.0.0.{1 + n % 5}/{n}" for n in range(40)]
    records = quorin.records("scan", "-j", "32", "--ordered", "--follow", "2", *urls, "music")
    assert [record.get("via", [record["uri"]])[0] for record in records] == urls + tree
    assert records[7]["uri"] == f"http://127.0.0.3:{port}/7"
    assert max(server.most.values()) == 4


def test_a_slow_host_keeps_nothing_local_waiting(tree, tmp_path):
    with socket.create_server(("127.0.0.1", 0), backlog=64) as listener:
        urls = [f"http://127.0.0.1:{listener.getsockname()[1]}/{n}" for n in range(1000)]
        process = start_scan("-j", "2", "--stall-timeout", "50", "--files-from", "-", cwd=tmp_path)
        process.stdin.write("\n".join([*urls, "music"]).encode())
        process.stdin.close()
        watchdog = threading.Timer(30, process.kill)
        watchdog.start()
        found = [process.stdout.readline() for _ in tree]
        watchdog.cancel()
        process.kill()
        process.wait(TIME_LIMIT)
    check_records(b"".join(found))
    assert sorted(json.loads(line)["uri"] for line in found if line) == tree


# Memory


def test_memory_does_not_grow_with_the_number_of_items(tree, tmp_path):
    def peak(lines):
        (tmp_path / "list").write_text("music/a/1.mp3\n" * lines)
        process = start_scan("-j", "4", "--files-from", "list", cwd=tmp_path, stdin=subprocess.DEVNULL,
                             environment=SMALL_QUARANTINE)
        time.sleep(0.2)  # a reader who is late
        first = process.stdout.readline()
        check_records(first)  # the others are the same
        count = 1 + sum(1 for _ in process.stdout)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = 0
        assert (status, count) == (0, lines)
        return usage.ru_maxrss

    assert peak(40000) < peak(8000) + 6000  # KiB


# Names


@pytest.mark.parametrize("separator, arguments", [(b"\n", []), (b"\0", ["-0"])])
@pytest.mark.parametrize("command", [["scan", "--ordered"], ["probe"]])
def test_a_name_that_is_too_long_is_told_shortened(quorin, tree, command, separator, arguments):
    names = separator.join([b"music/a/1.mp3", "\u00e9".encode() * 40000, b"x" * 65536, b"music/a/2.mp3"])
    result = quorin(*command, "--json", "--files-from", "-", *arguments, text=names)
    assert result.code == 1
    records = [json.loads(line) for line in result.out.splitlines()]
    assert [record["kind"] for record in records] == ["audio", "error", "error", "audio"]
    assert records[1]["uri"] == "\u00e9" * 100 + "..."
    assert records[1]["error"] == {"name": "bad_uri", "message": "the name has more than 65536 bytes"}
    assert f"quorin: {'é' * 100}...: the name has more than 65536 bytes" in result.complaints
    assert records[2]["uri"].endswith("x" * 65536)


def test_a_list_without_line_ends_takes_no_memory(tmp_path):
    process = start_scan("--files-from", "-", cwd=tmp_path, environment=SMALL_QUARANTINE)
    for _ in range(300):
        process.stdin.write(bytes(10**6))
    process.stdin.write(b"\n")
    process.stdin.flush()
    line = process.stdout.readline()
    check_records(line)
    record = json.loads(line)
    with open(f"/proc/{process.pid}/status") as status:
        (peak,) = [int(line.split()[1]) for line in status if line.startswith("VmHWM:")]
    process.stdin.close()
    assert (process.wait(TIME_LIMIT), record["error"]["name"]) == (3, "bad_uri")
    assert peak < 200000  # KiB


# Deep folders


@pytest.fixture
def nested(tmp_path, plain_mp3):
    """Makes folders in folders with a song in each; the path of the outermost."""
    def make(depth, name):
        folder = os.open(tmp_path, os.O_RDONLY)
        for _ in range(depth):
            os.mkdir(name, dir_fd=folder)
            inner = os.open(name, os.O_RDONLY, dir_fd=folder)
            os.close(folder)
            folder = inner
            song = os.open("song", os.O_CREAT | os.O_WRONLY, dir_fd=folder)
            os.write(song, plain_mp3)
            os.close(song)
        os.close(folder)
        return str(tmp_path / name)

    yield make
    subprocess.run(["rm", "-rf", *tmp_path.iterdir()], check=True, timeout=TIME_LIMIT)


@pytest.mark.parametrize("order", [[], ["--ordered"]])
def test_more_folders_deep_than_can_be_open(quorin, nested, order):
    def limit():
        resource.setrlimit(resource.RLIMIT_NOFILE, (100, 100))

    assert len(quorin.records("scan", *order, nested(300, "d"), preexec_fn=limit)) == 300


@pytest.mark.parametrize("order", [[], ["--ordered"]])
def test_what_lies_too_deep_for_a_path_is_told(quorin, nested, tmp_path, order):
    result = quorin("scan", "-j", "2", *order, nested(60, "d" * 100), "d" * 100)
    assert result.code == 1
    records = [json.loads(line) for line in result.out.splitlines()]
    longest = 4095  # PATH_MAX without its NUL
    songs = [record for record in records if record["kind"] == "audio"]
    assert len(songs) == (longest - len(f"{tmp_path}/song")) // 101
    failed = [record for record in records if record["kind"] != "audio"]
    assert {(record["error"]["name"], record["error"]["message"]) for record in failed} == {
        ("io_error", "file name too long")}
    assert 1 <= len(failed) <= 2  # the folder, and the song beside it if its path is too long as well


@pytest.mark.parametrize("order", [[], ["--ordered"]])
def test_a_path_of_one_byte_too_many_is_told(quorin, nested, tmp_path, order):
    longest = 4095  # PATH_MAX without its NUL
    folder = pathlib.Path(nested((longest - len(str(tmp_path)) - 120) // 101, "d" * 100))
    while (folder / ("d" * 100)).exists():
        folder /= "d" * 100
    name = "f" * (longest - len(str(folder)) - 1)
    beside = os.open(folder, os.O_RDONLY)
    for each in (name, name + "f"):
        os.close(os.open(each, os.O_CREAT | os.O_WRONLY, dir_fd=beside))
    os.close(beside)
    records = [json.loads(line) for line in quorin("scan", *order, str(folder)).out.splitlines()]
    errors = {len(record["uri"]): record["error"]["message"] for record in records if record["kind"] != "audio"}
    assert errors == {longest: "empty", longest + 1: "file name too long"}


# What has no end


def test_a_pipe_or_a_device_is_no_item(quorin, tree, tmp_path):
    os.mkfifo(tmp_path / "pipe")
    result = quorin("scan", "--ordered", "pipe", f"file:{tmp_path}/pipe", "/dev/zero", "music/a/1.mp3")
    assert result.code == 1
    records = [json.loads(line) for line in result.out.splitlines()]
    assert [record.get("error", {}).get("name") for record in records] == ["not_a_file"] * 3 + [None]
    assert result.complaints[0] == "quorin: pipe: a pipe, a socket or a device, not a file"


# Threads and interruptions


@pytest.mark.skipif(os.geteuid() != 0, reason="takes another user, for whom a limit of threads can be set")
def test_without_threads_there_is_a_clear_message(quorin):
    def as_another_user(threads, *arguments):
        prefix = ["setpriv", "--reuid=65533", "--clear-groups", "prlimit", f"--nproc={threads}"]
        return quorin(*(arguments or ["scan", "-j", "9", "/etc/hostname"]), cwd="/", prefix=prefix,
                      environment=SMALL_QUARANTINE)

    if as_another_user(9, "--version").code != 0:
        pytest.skip("another user cannot run the command from where it is")
    result = as_another_user(1)
    assert (result.code, result.out) == (4, "")
    assert result.complaints == [
        "quorin: internal error: no thread can be started: resource temporarily unavailable"]
    assert as_another_user(4).code == 0


def is_blocked(status, number):
    (line,) = [line for line in status.splitlines() if line.startswith("SigBlk:")]
    return bool(int(line.split()[1], 16) >> (number - 1) & 1)


def test_only_the_main_thread_is_interrupted(tree, tmp_path):
    process = start_scan("-j", "3", "--progress", "always", "--files-from", "-", cwd=tmp_path)
    process.stdin.write(b"music\n")
    process.stdin.flush()
    check_records(process.stdout.readline())
    deadline = time.monotonic() + TIME_LIMIT
    while len(os.listdir(f"/proc/{process.pid}/task")) < 6:  # four workers, who finds the items, and the main thread
        assert time.monotonic() < deadline
        time.sleep(0.01)
    blocked = {}
    for thread in os.listdir(f"/proc/{process.pid}/task"):
        with open(f"/proc/{process.pid}/task/{thread}/status") as status:
            text = status.read()
        blocked[int(thread)] = {is_blocked(text, number) for number in (signal.SIGINT, signal.SIGTERM)}
    process.send_signal(signal.SIGINT)
    assert process.wait(TIME_LIMIT) == 130
    process.stdin.close()
    assert blocked.pop(process.pid) == {False}
    assert all(each == {True} for each in blocked.values())


def test_interrupted_at_any_time_a_scan_leaves_whole_lines(tmp_path):
    (tmp_path / "many").mkdir()
    for n in range(2000):
        (tmp_path / "many" / str(n)).touch()
    for n in range(25):
        with open(tmp_path / "out", "wb") as out:
            process = subprocess.Popen([COMMAND, "scan", "-q", "-j", "4", *["many"], *["many/1"] * 20000], cwd=tmp_path,
                                       stdout=out, stderr=subprocess.DEVNULL)
            while not os.path.getsize(tmp_path / "out") and process.poll() is None:
                time.sleep(0.001)
            time.sleep(0.002 * n)
            process.send_signal(signal.SIGINT)
            assert process.wait(TIME_LIMIT) in (0, 130)
        lines = (tmp_path / "out").read_bytes()
        assert lines.endswith(b"}\n")
        for line in lines.splitlines():
            json.loads(line)
        check_records(b"".join(lines.splitlines(keepends=True)[-20:]))  # all of them would take minutes
