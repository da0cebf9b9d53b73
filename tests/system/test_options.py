"""Every option: what it does, and what is said when it is used wrongly."""

import re

import pytest


def assert_usage_error(result, cause, command=None):
    told = f"quorin {command} --help" if command else "quorin --help"
    assert result.complaints == [f"quorin: {cause} ('{told}' tells more)"]
    assert result.out == ""
    assert result.code == 2


def test_no_item(quorin):
    assert_usage_error(quorin(), "no item is given")
    assert_usage_error(quorin("probe"), "no item is given")
    assert_usage_error(quorin("--json"), "no item is given")
    assert_usage_error(quorin("--"), "no item is given")


def test_help_tells_every_option(quorin):
    result = quorin("--help")
    assert (result.code, result.err) == (0, "")
    options = {"--files-from", "-0", "--medium", "--mode", "-f", "--follow", "--allow-local", "--timeout",
               "--connect-timeout", "--stall-timeout", "--user-agent", "--cacert", "--proxy", "--header", "--json",
               "--color", "--log", "-q", "-v", "-h", "--help", "--version"}
    assert set(re.findall(r"(?<![\w-])--?[a-z0][a-z-]*(?=[ ,])", result.out.split("Items:")[1])) == options
    assert result.out.endswith("130 SIGINT.\n")
    assert quorin("-h").out == quorin("probe", "--help").out == result.out


@pytest.mark.parametrize("command", ["probe", "scan", "cover", "map", "play", "report"])
def test_help_fits_any_terminal(quorin, command):
    assert max(len(line) for line in quorin(command, "--help").out.splitlines()) <= 80


def test_version(quorin):
    result = quorin("--version")
    assert re.fullmatch(r"quorin \d+\.\d+\.\d+\n", result.out)
    assert (result.code, result.err) == (0, "")


@pytest.mark.parametrize("option", ["--no-such", "--no-such=1", "-x", "-5", "-qx"])
def test_an_unknown_option(quorin, option):
    result = quorin(option, "a.mp3")
    assert result.code == 2
    assert result.err.startswith("quorin: there is no option -")


def test_a_misspelt_option_is_suggested(quorin):
    assert_usage_error(quorin("--jsno", "a"), "there is no option --jsno; did you mean --json?")
    assert_usage_error(quorin("--timeuot=5", "a"), "there is no option --timeuot; did you mean --timeout?")


@pytest.mark.parametrize("option", ["--files-from", "--medium", "--mode", "--follow", "--timeout", "--connect-timeout",
                                    "--stall-timeout", "--user-agent", "--cacert", "--proxy", "--header", "--color",
                                    "--log"])
def test_a_missing_value(quorin, option):
    assert_usage_error(quorin("a.mp3", option), f"{option} needs a value")
    assert_usage_error(quorin(f"{option}=", "a.mp3"), f"{option} needs a value")


@pytest.mark.parametrize("option", ["--json", "--allow-local", "--version"])
def test_a_value_too_many(quorin, option):
    assert_usage_error(quorin(f"{option}=1", "a.mp3"), f"{option} takes no value")


@pytest.mark.parametrize("option", ["--timeout", "--connect-timeout", "--stall-timeout"])
def test_time_limits(quorin, album, option):
    for good in ("5", "0.5", ".25", "1000000"):
        assert quorin(option, good, "01 Opening.mp3").code == 0
    for bad in ("0", "0.0", "-1", "1e3", "nan", "inf", "x", "1.2.3", "1000001", " 1", ""):
        assert_usage_error(quorin(option, bad, "01 Opening.mp3"),
                           f"{option}: '{bad}' is not a number of seconds above 0 (and up to 1000000)")


@pytest.mark.parametrize("option, good, choices", [("--mode", "audio", "audio,pcm"),
                                                   ("--color", "always", "auto,always,never"),
                                                   ("--log", "error", "error,info,verbose")])
def test_choices(quorin, album, option, good, choices):
    assert quorin(option, good, "01 Opening.mp3").code == 0
    assert quorin(f"{option}={good}", "01 Opening.mp3").code == 0
    for bad in ("x", "1", "AUDIO", "4000"):
        assert_usage_error(quorin(option, bad, "01 Opening.mp3"), f"{option}: {bad} not in {{{choices}}}")


def test_the_last_of_two_values_counts(quorin, album):
    assert quorin("--mode", "pcm", "--mode", "audio", "01 Opening.mp3").code == 0


def test_mode_pcm_looks_for_raw_pcm_alone(quorin, album):
    assert quorin("--mode", "pcm", "01 Opening.mp3").complaints == ["quorin: 01 Opening.mp3: not recognised"]


def test_log_shows_the_librarys_lines_up_to_a_level(quorin, album):
    name = f"{album}/01 Opening.mp3"
    by_level = {level: quorin("--log", level, "01 Opening.mp3").err for level in ("error", "info", "verbose")}
    assert f"Analyzer::Impl::analyze() analyze '{name}'.\n" not in by_level["error"]
    assert f"Analyzer::Impl::analyze() analyze '{name}'.\n" in by_level["info"]
    assert len(by_level["error"]) < len(by_level["info"]) < len(by_level["verbose"])
    assert quorin("01 Opening.mp3").err == ""


def test_log_lines_cannot_harm_a_terminal(quorin, album):
    result = quorin("--log", "info", "\033[2J")
    assert "\033" not in result.err
    assert "\\x1b[2J'.\n" in result.err


def test_quiet_says_nothing_about_items(quorin, album):
    result = quorin("-q", "missing.mp3", "noise.bin")
    assert (result.code, result.err) == (1, "")
    assert quorin("-q", "--json", "missing.mp3").out.count("\n") == 1


def test_quiet_does_not_hide_wrong_usage(quorin):
    assert quorin("-q", "--mode", "x", "a").err != ""


def test_options_may_stand_anywhere(quorin, album):
    for arguments in (("--json", "probe", "-q", "noise.bin"), ("probe", "noise.bin", "-q", "--json"),
                      ("noise.bin", "--json", "-q")):
        assert quorin(*arguments).out.startswith('{"v":1,')


def test_a_value_may_look_like_an_option_or_a_word(quorin, album):
    assert quorin("--user-agent", "--json", "01 Opening.mp3").out.startswith("01 Opening.mp3\n")
    assert quorin("--user-agent", "probe", "01 Opening.mp3").out.startswith("01 Opening.mp3\n")


def test_an_option_of_another_command_says_whose_it_is(quorin):
    assert_usage_error(quorin("-j", "2", "a"), "'probe' takes no option -j; it is for scan")
    assert_usage_error(quorin("play", "--progress=never", "a"), "'play' takes no option --progress; it is for scan", "play")
    assert_usage_error(quorin("scan", "--force", "a"), "'scan' takes no option --force; it is for cover, map, report",
                       "scan")
    assert_usage_error(quorin("report", "-f2", "a"), "'report' takes no option -f; it is for probe, scan, cover, map, play",
                       "report")


# -v


def details(result):
    """What -v says, without times."""
    return [re.sub(r", [\d.]+ m?s$", "", line) for line in result.complaints]


def test_more_is_said_of_each_item(quorin, album):
    result = quorin("-v", "02 日本語の歌.mp3", "noise.bin", "missing")
    assert details(result) == [
        "quorin: 02 日本語の歌.mp3: audio: 9.1 KiB in 2 reads",
        "quorin: noise.bin: unknown (status -287): 9.0 KiB in 1 read",
        "quorin: noise.bin: not recognised",
        "quorin: missing: error (status -296): 0 bytes in 0 reads",
        "quorin: missing: no such file or directory",
    ]
    assert len(result.out.splitlines()) == 4


def test_more_and_less_do_not_go_together(quorin):
    for command in ("probe", "scan", "cover", "map", "play", "report"):
        output = {"cover": ["-d", "."], "report": ["-o", "x"]}.get(command, [])
        assert_usage_error(quorin(command, "-qv", *output, "a"), "-q and -v do not go together",
                           command if command != "probe" else None)


# --files-from


def test_a_list_of_items(quorin, album):
    (album / "list").write_text("01 Opening.mp3\n\nnoise.bin\n02 日本語の歌.mp3")
    kinds = [record["kind"] for record in quorin.records("--files-from", "list")]
    assert kinds == ["audio", "unknown", "audio"]


def test_a_list_from_standard_input(quorin, album):
    assert len(quorin.records("--files-from", "-", text=b"01 Opening.mp3\nnoise.bin\n")) == 2


def test_a_nul_separated_list(quorin, album, plain_mp3):
    (album / "a\nb.mp3").write_bytes(plain_mp3)
    kinds = [record["kind"] for record in quorin.records("-0", "--files-from=-", text=b"a\nb.mp3\0noise.bin\0")]
    assert kinds == ["audio", "unknown"]


def test_items_of_the_command_line_come_before_the_list(quorin, album):
    records = quorin.records("--files-from", "-", "noise.bin", text=b"01 Opening.mp3\n")
    assert [record["kind"] for record in records] == ["unknown", "audio"]


def test_a_list_gives_a_table_however_short_it_is(quorin, album):
    assert quorin("--files-from", "-", text=b"01 Opening.mp3\n").out.startswith("KIND ")


def test_an_empty_list_is_no_mistake(quorin):
    result = quorin("--files-from", "-", text=b"")
    assert (result.code, result.out, result.err) == (0, "", "")


def test_the_words_of_a_list_are_never_commands(quorin, album):
    result = quorin("--files-from", "-", text=b"prob\nprobe\n--json\n")
    assert result.complaints == [f"quorin: {word}: no such file or directory" for word in ("prob", "probe", "--json")]


def test_a_nul_separated_list_read_by_lines_is_not_cut(quorin, album):
    record = quorin.record("--files-from", "-", text=b"01 Opening.mp3\0noise.bin\0")
    assert (record["kind"], record["error"]["name"]) == ("error", "bad_uri")
    assert "code" not in record
    result = quorin("--files-from", "-", text=b"01 Opening.mp3\0noise.bin\0")
    assert result.complaints == [
        "quorin: 01 Opening.mp3\\x00noise.bin\\x00: the name holds a NUL byte (a NUL-separated list takes -0)"
    ]


def test_a_missing_list(quorin):
    result = quorin("--files-from", "nothing", "noise.bin")
    assert_usage_error(result, "--files-from: 'nothing': no such file or directory")


def test_a_list_that_cannot_be_read(quorin, album):
    result = quorin("--files-from", ".", "01 Opening.mp3")
    assert (result.code, result.complaints) == (2, ["quorin: .: is a directory"])


def test_nul_separation_needs_a_list(quorin):
    assert_usage_error(quorin("-0", "a.mp3"), "-0 needs --files-from")


# --medium


def test_a_medium(quorin, album):
    items = ("vdr2://STICK/01 Opening.mp3", "vdr2://OTHER/01 Opening.mp3", "vdr2://NONE/01 Opening.mp3")
    records = quorin.records("--medium", f"STICK={album}", f"--medium=OTHER={album}", *items)
    assert [record["kind"] for record in records] == ["audio", "audio", "error"]


def test_a_medium_is_never_left(quorin, album):
    (album / "medium").mkdir()
    record = quorin.record("--medium", f"U={album}/medium", "vdr2://U/../01 Opening.mp3")
    assert record["kind"] == "error"


def test_a_medium_that_is_none(quorin, album):
    for bad in ("x", "=x", "x="):
        assert_usage_error(quorin("--medium", bad, "a"), f"--medium: '{bad}' is not of the form UUID=DIR")
    for bad in ("missing", "noise.bin"):
        result = quorin("--medium", f"U={bad}", "a")
        assert (result.code, result.complaints) == (
            2, [f"quorin: --medium: '{bad}' is not a directory that can be a medium"])


# What travels to servers; test_http.py shows that it does.


def test_header_lines_that_are_none(quorin):
    for bad in ("x", ": x", "a b: c", "ä: c"):
        assert_usage_error(quorin("--header", bad, "a"), "--header: not of the form 'NAME: VALUE'")


def test_no_line_end_gets_into_a_request(quorin):
    for option, value in (("--header", "a: b\r\nc: d"), ("--user-agent", "a\nb"), ("--proxy", "http://h\n")):
        assert_usage_error(quorin(option, value, "a"), f"{option}: a control character does not belong there")


def test_certificates_that_are_not_there(quorin):
    assert_usage_error(quorin("--cacert", "missing.pem", "a"), "--cacert: 'missing.pem': no such file or directory")
