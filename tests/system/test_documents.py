"""The manual page and the completions: made from the option definitions, whole, and understood by their readers."""

import os
import pathlib
import re
import subprocess

import pytest

DOCUMENTS = pathlib.Path(os.environ["QUORIN_DOCUMENTS"]).absolute()
COMMANDS = ["probe", "scan", "cover", "map", "play", "report"]


def run(*command, text=None):
    return subprocess.run(command, input=text, capture_output=True, text=True, timeout=60, check=True)


def options_of(quorin, command):
    """The options that the help of a command tells."""
    options = re.split(r"(?m)^(?:Items|Output):$", quorin(command, "--help").out, maxsplit=1)[1]
    return set(re.findall(r"(?m)(?<![\w-])--?[a-z0][a-z-]*(?=[ ,])", options))


def test_the_manual_page_is_sound_and_tells_everything(quorin):
    page = run("groff", "-man", "-Tascii", "-P-cbou", "-ww", DOCUMENTS / "quorin.1")
    assert page.stderr == ""
    for command in COMMANDS:
        assert f"   quorin {command} " in page.stdout
        for option in options_of(quorin, command):
            assert re.search(rf"(?m)^ +(-., )?{option}( |$|,)", page.stdout), option
    for heading in ("NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS", "OPTIONS", "EXIT STATUS", "ENVIRONMENT"):
        assert f"\n{heading}\n" in page.stdout
    assert "       130    SIGINT\n" in page.stdout


def bash_completions(*words):
    script = f"""
source {DOCUMENTS}/quorin.bash
compopt() {{ echo "COMPOPT $2"; }}
COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
_quorin
printf '%s\\n' "${{COMPREPLY[@]}}"
"""
    return set(run("bash", "-c", script, "bash", "quorin", *words).stdout.split("\n")) - {""}


@pytest.mark.parametrize("command", COMMANDS)
def test_bash_completes_the_options_of_each_command(quorin, command):
    assert bash_completions(command, "-") == options_of(quorin, command)


def test_bash_completes_commands_choices_and_files(quorin):
    assert bash_completions("") == {*COMMANDS, "COMPOPT default"}
    assert bash_completions("co") == {"cover", "COMPOPT default"}
    assert bash_completions("--mode", "") == bash_completions("cover", "--mode", "") == {"audio", "pcm"}
    assert bash_completions("--mode", "=", "p") == {"pcm"}
    assert bash_completions("--mode", "=") == {"audio", "pcm"}
    assert bash_completions("--color", "a") == {"auto", "always"}
    assert bash_completions("cover", "-d", "x") == {"COMPOPT dirnames"}
    assert bash_completions("--files-from", "x") == {"COMPOPT default"}
    assert bash_completions("--timeout", "5") == set()
    assert bash_completions("song", "cover", "x") == {"COMPOPT default"}
    assert bash_completions("-") == options_of(quorin, "probe")


def fish_completions(line):
    out = run("fish", "--no-config", "-c", f"source {DOCUMENTS}/quorin.fish; complete -C '{line}'").stdout
    return {candidate.split("\t")[0] for candidate in out.splitlines()}


@pytest.mark.parametrize("command", COMMANDS)
def test_fish_completes_the_options_of_each_command(quorin, command):
    candidates = fish_completions(f"quorin {command} -") | fish_completions(f"quorin {command} --")
    assert options_of(quorin, command) <= candidates
    assert all(candidate.startswith("-") for candidate in candidates)


def test_fish_completes_commands_and_choices():
    assert set(COMMANDS) <= fish_completions("quorin ")
    assert fish_completions("quorin --mode ") == {"audio", "pcm"}
    assert fish_completions("quorin cover --for") == {"--force"}


def test_zsh_understands_its_completions(quorin):
    run("zsh", "-n", DOCUMENTS / "_quorin")
    text = (DOCUMENTS / "_quorin").read_text()
    for command in COMMANDS:
        part = text.split(f"    {command})\n")[1].split(";;")[0]
        for option in options_of(quorin, command):
            assert f"'*{option}" in part


def test_zsh_completes_the_options_of_a_command():
    script = f"""
fpath=({DOCUMENTS} $fpath)
autoload -Uz compinit && compinit -u -D
_arguments() {{ print -l -- "$@"; }}
_describe() {{ print -l -- $commands; }}
_files() {{ print files; }}
words=(quorin cover --f); CURRENT=3; PREFIX=--f
source {DOCUMENTS}/_quorin
"""
    out = run("zsh", "-f", "-c", script).stdout
    assert "*--force[replace files that are there already]" in out
    assert "*-j[" not in out
