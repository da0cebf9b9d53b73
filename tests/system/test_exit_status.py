"""The exit status, and what happens when the output cannot be written."""

import contextlib
import json
import os
import signal
import subprocess
import time

import pytest

from conftest import COMMAND, TIME_LIMIT, check_records, clean_environment, until


@pytest.mark.parametrize("items, status", [
    (["01 Opening.mp3"], 0),
    (["01 Opening.mp3", "02 日本語の歌.mp3"], 0),
    (["01 Opening.mp3", "missing.mp3"], 1),
    (["01 Opening.mp3", "noise.bin"], 1),
    (["noise.bin"], 1),
    (["missing.mp3", "noise.bin"], 1),
    (["missing.mp3"], 3),
    (["missing.mp3", "also missing.mp3"], 3),
])
@pytest.mark.parametrize("form", [[], ["--json"]])
def test_status(quorin, album, items, status, form):
    assert quorin(*form, *items).code == status


@pytest.mark.parametrize("arguments", [["01 Opening.mp3"], ["01 Opening.mp3", "noise.bin"],
                                       ["--json", "01 Opening.mp3"], ["--help"], ["--version"]])
def test_a_full_disk(quorin, album, arguments):
    with open("/dev/full", "wb") as full:
        result = quorin(*arguments, stdout=full)
    assert (result.code, result.complaints) == (4, ["quorin: standard output: no space left on device"])


@pytest.mark.parametrize("arguments", [["01 Opening.mp3"], ["--json", "01 Opening.mp3"], ["--help"]])
def test_a_closed_standard_output(quorin, album, arguments):
    result = quorin(*arguments, stdout=None, preexec_fn=lambda: os.close(1))
    assert (result.code, result.complaints) == (4, ["quorin: standard output: bad file descriptor"])


def test_a_reader_who_goes_away(quorin, album):
    read_end, write_end = os.pipe()
    os.close(read_end)
    result = quorin("--json", "01 Opening.mp3", "noise.bin", stdout=write_end)
    os.close(write_end)
    assert (result.code, result.complaints) == (4, ["quorin: standard output: broken pipe"])


def test_a_closed_standard_error_is_no_trouble(quorin, album):
    process = subprocess.run([COMMAND, "--json", "missing.mp3"], cwd=album, env=clean_environment(),
                             stdout=subprocess.PIPE, preexec_fn=lambda: os.close(2), timeout=TIME_LIMIT)
    assert process.returncode == 3
    assert json.loads(process.stdout)["kind"] == "error"


def test_memory_that_runs_out_is_an_internal_error(quorin, album):
    with open(COMMAND, "rb") as command:
        if b"__asan_init" in command.read():
            pytest.skip("AddressSanitizer ends a program that is out of memory in its own way")
    line = json.dumps(quorin.record("01 Opening.mp3")).replace("01 Opening", "01 Opening" + "x" * 1000) + "\n"
    (album / "huge.ndjson").write_text(line * 40_000)
    result = quorin("report", "huge.ndjson", "-o", "page.html", prefix=("prlimit", "--data=30000000"))
    assert (result.code, result.out, result.complaints) == (4, "", ["quorin: internal error: std::bad_alloc"])


def start(album, *arguments, **how):
    return subprocess.Popen([COMMAND, *arguments], cwd=album, env=clean_environment(), stderr=subprocess.PIPE, **how)


def test_an_interrupt_ends_a_waiting_command(quorin, album):
    os.mkfifo(album / "fifo")
    process = start(album, "--json", "01 Opening.mp3", "fifo", stdout=subprocess.PIPE)
    first = process.stdout.readline()
    process.send_signal(signal.SIGINT)
    rest, _ = process.communicate(timeout=TIME_LIMIT)
    assert process.returncode == 130
    assert json.loads(first)["kind"] == "audio"
    check_records(first.decode())
    assert rest == b""


def catches(process, signal_number):
    """Whether the process has a handler for a signal by now."""
    with open(f"/proc/{process.pid}/status") as status:
        caught = next(line.split()[1] for line in status if line.startswith("SigCgt:"))
    return int(caught, 16) >> (signal_number - 1) & 1


@pytest.mark.parametrize("written", [b"", b"ID3"])
@pytest.mark.parametrize("command", [["probe"], ["cover", "-d", "."], ["map"], ["map", "--svg", "m.svg"],
                                     ["play"]])
def test_an_interrupt_ends_every_command_that_waits_for_a_pipe(tmp_path, command, written):
    os.mkfifo(tmp_path / "fifo")
    process = start(tmp_path, *command, "fifo", stdout=subprocess.PIPE)
    until(lambda: catches(process, signal.SIGINT))
    with open(tmp_path / "fifo", "wb", buffering=0) if written else contextlib.nullcontext() as fifo:
        if written:
            fifo.write(written)
        time.sleep(0.1)  # it waits: for a writer, or for the rest
        assert process.poll() is None
        process.send_signal(signal.SIGINT)
        out, complaints = process.communicate(timeout=TIME_LIMIT)
    assert (process.returncode, out, complaints) == (130, b"", b"")
    assert os.listdir(tmp_path) == ["fifo"]


def test_an_interrupt_leaves_only_whole_lines(quorin, album):
    names = b"".join(b"%d-%s\n" % (n, b"x" * 200) for n in range(2000))
    (album / "list").write_bytes(names)
    process = start(album, "-q", "--json", "--files-from", "list", stdout=subprocess.PIPE, bufsize=0)
    process.stdout.read(1)  # now the pipe runs full, and the command is stuck in the middle of a line
    time.sleep(0.3)
    process.send_signal(signal.SIGINT)
    out, _ = process.communicate(timeout=TIME_LIMIT)
    assert process.returncode == 130
    assert out.endswith(b"}\n")
    check_records((b"{" + out).decode())


def test_a_second_interrupt_does_not_wait_for_the_reader(quorin, album):
    (album / "list").write_bytes(b"".join(b"%d-%s\n" % (n, b"x" * 200) for n in range(2000)))
    process = start(album, "-q", "--json", "--files-from", "list", stdout=subprocess.PIPE, bufsize=0)
    process.stdout.read(1)
    time.sleep(0.3)
    process.send_signal(signal.SIGINT)
    time.sleep(0.1)
    process.send_signal(signal.SIGINT)
    assert process.wait(TIME_LIMIT) == 130
    process.stdout.close()
    process.stderr.close()


def test_a_command_in_the_background_ignores_interrupts_as_its_shell_wants(quorin, album):
    os.mkfifo(album / "fifo")
    process = start(album, "fifo", stdout=subprocess.DEVNULL,
                    preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_IGN))
    with open(album / "fifo", "wb"):  # opens when the command has opened its end
        process.send_signal(signal.SIGINT)
        time.sleep(0.1)
        assert process.poll() is None
    process.communicate(timeout=TIME_LIMIT)
    assert process.returncode == 1
