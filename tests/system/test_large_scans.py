"""The recipes of docs/large-scans.md, run as they stand there."""

import json
import os
import pathlib
import re
import subprocess
import time

import pytest

from conftest import COMMAND, TIME_LIMIT, check_records, clean_environment

DOCUMENT = pathlib.Path(__file__).parent / "../../docs/large-scans.md"
RECIPES = dict(re.findall(r"```sh (\w+)\n(.*?)```", DOCUMENT.read_text(), flags=re.DOTALL))


@pytest.fixture
def music(tmp_path, plain_mp3):
    """30 songs in three folders; their paths."""
    paths = []
    for number in range(30):
        path = tmp_path / f"music/{number % 3} it's/song {number}.mp3"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(plain_mp3)
        paths.append(str(path))
    return sorted(paths)


@pytest.fixture
def recipe(tmp_path, music):
    """Runs a recipe where the music is; the records it leaves behind, when it ends well."""
    programs = tmp_path / "bin"
    programs.mkdir()
    (programs / "quorin").symlink_to(COMMAND)

    def run(name, result="music.ndjson", code=0, **environment):
        assert not (tmp_path / result).exists()
        path = f"{programs}:{os.environ['PATH']}"
        process = subprocess.run(["sh", "-ec", RECIPES[name]], cwd=tmp_path, capture_output=True, text=True,
                                 timeout=TIME_LIMIT, env=clean_environment(PATH=path, HOME=str(tmp_path), **environment))
        assert process.returncode == code, process.stderr
        if code != 0:
            return None
        text = (tmp_path / result).read_text()
        check_records(text)
        return [json.loads(line) for line in text.splitlines()]

    return run


def songs(records):
    return sorted(record["uri"] for record in records if record["kind"] == "audio")


def test_every_recipe_but_that_of_slurm_is_run():
    assert set(RECIPES) == {"resume", "list", "xargs", "parallel", "joblog", "sshlogin", "slurm"}
    assert "Slurm" in DOCUMENT.read_text() and "only one\nthat the tests do not run" in DOCUMENT.read_text()


@pytest.mark.parametrize("name", ["resume", "xargs", "parallel"])
def test_the_records_are_those_of_one_scan(recipe, music, name):
    assert songs(recipe(name)) == music


def test_a_list(recipe, music):
    assert songs(recipe("list", "recent.ndjson")) == music


def test_failed_jobs_are_done_again(recipe, music, tmp_path):
    # The first run of the second folder ends as if the disk were full.
    wrapper = tmp_path / "bin/quorin"
    wrapper.unlink()
    wrapper.write_text(f'#!/bin/sh\ncase $* in *1\\ *) [ -e failed ] || {{ : > failed; exit 4; }} ;; esac\n'
                       f'exec {COMMAND} "$@"\n')
    wrapper.chmod(0o755)
    commands = RECIPES["joblog"].splitlines()  # the list, the jobs, those that failed, the result
    assert "--resume-failed" in commands[2]
    RECIPES["joblog, first"] = "\n".join(commands[:2])
    RECIPES["joblog, second"] = "\n".join(commands[2:])
    recipe("joblog, first", code=1)
    assert (tmp_path / "failed").exists()
    log = (tmp_path / "jobs.log").read_text().splitlines()
    assert sorted(line.split("\t")[6] for line in log[1:]) == ["0", "0", "4"]
    assert songs(recipe("joblog, second")) == music
    assert len((tmp_path / "jobs.log").read_text().splitlines()) == len(log) + 1


@pytest.fixture
def hosts(tmp_path):
    """Two hosts, each a network namespace of its own, and an ssh that goes there."""
    processes = {}
    for name in ("hosta", "hostb"):
        processes[name] = subprocess.Popen(["unshare", "-n", "sleep", "600"], stdin=subprocess.DEVNULL)
    mine = os.readlink("/proc/self/ns/net")
    deadline = time.monotonic() + 10
    while any(process.poll() is None and os.readlink(f"/proc/{process.pid}/ns/net") == mine
              for process in processes.values()) and time.monotonic() < deadline:
        time.sleep(0.01)
    if any(process.poll() is not None for process in processes.values()):
        pytest.skip("this machine lets nobody make network namespaces")
    cases = "\n".join(f"    {name}) pid={process.pid} ;;" for name, process in processes.items())
    ssh = tmp_path / "ssh"
    ssh.write_text(f"""#!/bin/sh
while [ "${{1#-}}" != "$1" ]; do shift; done
case $1 in
{cases}
  *) exit 255 ;;
esac
echo "$1" >> {tmp_path}/logins
shift
[ "$1" = -- ] && shift
exec nsenter --net=/proc/$pid/ns/net env SHELL=/bin/sh sh -c "$*"
""")
    ssh.chmod(0o755)
    yield ssh
    for process in processes.values():
        process.terminate()
        process.wait(10)


def test_several_hosts(recipe, music, tmp_path, hosts):
    assert songs(recipe("sshlogin", PARALLEL_SSH=str(hosts))) == music
    assert set((tmp_path / "logins").read_text().split()) == {"hosta", "hostb"}
