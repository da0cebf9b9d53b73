"""quorin report: what it says about scans, and the page itself in a real browser."""

import collections
import json
import os

import pytest
from selenium import webdriver
from selenium.common.exceptions import NoAlertPresentException, WebDriverException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select

import scans
from conftest import HERE, TIME_LIMIT, VALIDATOR, Quorin
from test_options import assert_usage_error

NAMES_IN_WORDS = {"mp3": "MP3", "flac": "FLAC", "wav": "WAV", "aac_mpeg4": "AAC (MPEG-4)"}


# The command


@pytest.fixture
def scan(tmp_path):
    """Writes a scan of those records, or lines."""

    def write(*records, name="scan.ndjson"):
        text = "".join(made + "\n" if isinstance(made, str) else scans.lines([made]) for made in records)
        (tmp_path / name).write_text(text)
        return name

    return write


def test_wrong_usage(quorin):
    assert_usage_error(quorin("report", "-o", "r.html"), "no scan is given", "report")
    assert_usage_error(quorin("report", "scan"), "'report' needs -o", "report")
    assert_usage_error(quorin("report", "scan", "other", "-o", "r.html"), "'report' takes one scan", "report")
    assert_usage_error(quorin("report", "scan", "-o"), "-o needs a value", "report")
    assert_usage_error(quorin("report", "scan", "--json"),
                       "'report' takes no option --json; it is for probe, scan, cover, map, play", "report")
    assert_usage_error(quorin("report", "scan", "-d", "folder"), "'report' takes no option -d; it is for cover", "report")


def test_the_help_tells_nothing_of_items(quorin):
    text = quorin("report", "--help").out
    assert text.startswith("Usage: quorin report [OPTIONS] -o FILE SCAN\n")
    assert "A URI is" not in text


def test_a_page_is_written(quorin, scan, tmp_path):
    result = quorin("report", scan(*scans.collection(20)), "-o", "r.html")
    assert (result.code, result.out, result.err) == (0, "", "")
    assert (tmp_path / "r.html").read_text().startswith("<!DOCTYPE html>\n")
    assert sorted(path.name for path in tmp_path.iterdir()) == ["r.html", "scan.ndjson"]


def test_what_the_command_writes_is_read(quorin, album):
    records = quorin("--json", "--follow", "1", "01 Opening.mp3", "noise.bin", "empty.mp3", "missing", ".",
                     "http://127.0.0.1:9/x", "vdr2://A/b").out
    result = quorin("report", "-", "-o", "-", text=records.encode())
    assert (result.code, result.err) == (0, "")
    assert 'id="total-items">7<' in result.out
    golden = (HERE / "golden" / "records.ndjson").read_bytes()
    result = quorin("report", "-", "-o", "-", text=golden)
    assert (result.code, result.err) == (0, "")
    assert f'id="total-items">{len(golden.splitlines())}<' in result.out


def test_failed_items_are_no_failure_of_the_report(quorin, scan):
    assert quorin("report", scan(scans.record("/a", "error", **scans.error("not_found", "no such file"))), "-o",
                  "r.html").code == 0


def test_standard_input_and_output(quorin, scan, tmp_path):
    name = scan(*scans.collection(20), name="standard input")
    assert quorin("report", name, "-o", "r.html").code == 0
    result = quorin("report", "-", "-o", "-", text=(tmp_path / name).read_bytes())
    assert (result.code, result.err) == (0, "")
    assert result.out == (tmp_path / "r.html").read_text()


def test_a_page_that_is_there_stays_unless_forced(quorin, scan, tmp_path):
    (tmp_path / "r.html").write_text("mine")
    name = scan(scans.record("/a"))
    result = quorin("report", name, "-o", "r.html")
    assert (result.code, result.complaints) == (4, ["quorin: r.html is there already (--force replaces it)"])
    assert (tmp_path / "r.html").read_text() == "mine"
    assert quorin("report", name, "-o", "r.html", "--force").code == 0
    assert (tmp_path / "r.html").read_text() != "mine"


@pytest.mark.parametrize("force", [[], ["--force"]])
def test_a_page_replaces_no_device_or_folder(quorin, scan, tmp_path, force):
    (tmp_path / "folder").mkdir()
    os.mkfifo(tmp_path / "fifo")
    for page in ("/dev/full", "/dev/stdout", "folder", "fifo"):
        result = quorin("report", scan(scans.record("/a")), "-o", page, *force)
        assert (result.code, result.out, result.complaints) == (
            4, "", [f"quorin: {page} is not a regular file ('-' is standard output)"])


def test_the_scan_itself_is_never_replaced(quorin, scan, tmp_path):
    name = scan(*scans.collection(20))
    before = (tmp_path / name).read_bytes()
    (tmp_path / "link").symlink_to(name)
    for page in (name, f"./{name}", "link"):
        result = quorin("report", name, "-o", page, "--force")
        assert (result.code, result.complaints) == (
            4, [f"quorin: {page} is what is being read, and stays as it is"])
        with open(tmp_path / name, "rb") as scan_file:
            assert quorin("report", "-", "-o", page, "--force", stdin=scan_file).code == 4
    assert (tmp_path / name).read_bytes() == before


def test_a_page_replaces_nothing_that_takes_other_output(quorin, scan, tmp_path):
    name = scan(scans.record("/a"))
    (tmp_path / "stdout").symlink_to("/dev/stdout")  # where it leads is a regular file behind a redirection
    for page in ("redirected", "stdout"):
        with open(tmp_path / "redirected", "wb") as redirected:
            result = quorin("report", name, "-o", page, "--force", stdout=redirected)
        assert (result.code, result.complaints) == (
            4, [f"quorin: {page} takes other output, and stays as it is ('-' is standard output)"])
    assert (tmp_path / "stdout").is_symlink()
    assert (tmp_path / "redirected").read_bytes() == b""


def test_a_page_that_cannot_be_written(quorin, scan):
    result = quorin("report", scan(scans.record("/a")), "-o", "missing/r.html")
    assert (result.code, result.complaints) == (4, ["quorin: missing/r.html: no such file or directory"])
    with open("/dev/full", "w", encoding="ascii") as full:
        result = quorin("report", "scan.ndjson", "-o", "-", stdout=full)
    assert (result.code, result.complaints) == (4, ["quorin: standard output: no space left on device"])


def test_a_scan_that_cannot_be_read(quorin, tmp_path):
    result = quorin("report", "nothing", "-o", "r.html")
    assert (result.code, result.complaints) == (2, ["quorin: nothing: no such file or directory"])
    result = quorin("report", ".", "-o", "r.html")
    assert (result.code, result.complaints) == (2, ["quorin: .: is a directory"])
    assert list(tmp_path.iterdir()) == []


@pytest.mark.parametrize("text", ["", "\n\n", "noise\n"])
def test_a_file_without_records(quorin, scan, tmp_path, text):
    result = quorin("report", scan(text), "-o", "r.html")
    assert result.code == 3
    assert result.complaints[-1] == "quorin: scan.ndjson: no record of quorin is in it"
    assert not (tmp_path / "r.html").exists()


def altered(**members):
    return json.dumps({**scans.record("/a", **scans.audio()), **members})


@pytest.mark.parametrize("line, reason", [
    ("noise", "not a record of quorin"),
    ("[]", "not a record of quorin"),
    ("{}", "not a record of quorin"),
    ('"v"', "not a record of quorin"),
    ('{"v":1}', "not a record of quorin"),
    ('{"v":1,"kind":"audio"}', "not a record of quorin"),
    ('{"v":1,"kind":"audio","uri":"a', "not a record of quorin"),
    ('{"v":1,"kind":"audio","uri":"\udcff"}', "not a record of quorin"),
    ("[" * 100000, "not a record of quorin"),
    (altered(kind="noise"), "not a record of quorin"),
    (altered(error={"name": "x"}), "not a record of quorin"),
    (altered(v=2), "a record of version 2; this program reads version 1"),
    (altered(v="1"), "v is not a number that can be"),
    (altered(uri=5), "uri is not a text"),
    (altered(path_b64="a"), "path_b64 is not base64"),
    (altered(path_b64="!!!!"), "path_b64 is not base64"),
    (altered(path_b64="===="), "path_b64 is not base64"),
    (altered(audio=[]), "audio has the wrong type"),
    (altered(audio={"pictures": {}}), "pictures has the wrong type"),
    (altered(audio={"bit_rate": "fast"}), "bit_rate is not a number that can be"),
    (altered(audio={"bit_rate": 1.5}), "bit_rate is not a number that can be"),
    (altered(audio={"bit_rate": 2**53 + 1}), "bit_rate is not a number that can be"),
    (altered(audio={"bit_rate": 2**64 - 1}), "bit_rate is not a number that can be"),
    (altered(audio={"bit_rate": -2**53 - 1}), "bit_rate is not a number that can be"),
    (altered(file={"size": "large"}), "size is not a number that can be"),
    (altered(redirect={"urls": [5]}), "urls is not a text"),
])
def test_a_line_that_is_no_record_costs_the_others_nothing(quorin, tmp_path, line, reason):
    good = scans.lines([scans.record("/good", "folder")])
    (tmp_path / "s").write_text(f"{good}\n{line}\n{good}", errors="surrogateescape")
    result = quorin("report", "s", "-o", "r.html")
    assert (result.code, result.complaints) == (1, [f"quorin: s:3: {reason}"])
    assert 'id="total-items">2<' in (tmp_path / "r.html").read_text()


def test_of_many_wrong_lines_the_first_are_told(quorin, scan):
    result = quorin("report", scan(scans.record("/a"), *["noise"] * 1234), "-o", "r.html")
    assert result.code == 1
    assert result.complaints == [f"quorin: scan.ndjson:{n}: not a record of quorin" for n in range(2, 12)] + [
        "quorin: scan.ndjson: 1 234 lines in all are not records of quorin"]


def test_how_much_is_said(quorin, scan):
    name = scan(*scans.collection(20), scans.record("/a", "error", **scans.error("empty", "empty")), *["noise"] * 20)
    result = quorin("report", "-q", name, "-o", "r.html")
    assert (result.code, result.err) == (1, "")
    result = quorin("report", "-v", name, "-o", "s.html")
    assert (result.code, result.complaints[-1]) == (
        1, "quorin: scan.ndjson: 21 items, of which 1 failed and 0 were not recognised")
    assert len(result.complaints) == 12


def test_a_line_longer_than_any_record_is_not_kept(quorin, scan):
    record = scans.lines([scans.record("/a")]).rstrip("\n")
    long_lines = [record.replace("{", "{" + " " * length, 1) for length in (1 << 19, 1 << 20)]
    result = quorin("report", scan(*long_lines, record), "-o", "r.html")
    assert (result.code, result.complaints) == (1, ["quorin: scan.ndjson:2: not a record of quorin"])


def test_records_at_the_limits(quorin, scan, tmp_path):
    most = 2**53
    record = scans.record("/a", **scans.audio(seconds=most, bit_rate=-most, pictures=[most, most]),
                          file={"size": most, "mtime": {"seconds": 0, "nanoseconds": 0}})
    assert quorin("report", scan(*[record] * 2000), "-o", "r.html").code == 0
    assert 'id="total-size">8.0 PiB<' in (tmp_path / "r.html").read_text()


def test_the_records_of_these_tests_are_sound():
    for made in scans.collection(300):
        VALIDATOR.validate(made)


# The page


@pytest.fixture(scope="module")
def browser():
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"):
        options.add_argument(argument)
    options.ignore_local_proxy_environment_variables()
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    try:
        driver = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
    except WebDriverException as error:
        pytest.skip(f"Chromium does not start here: {error.msg}")
    driver.set_page_load_timeout(TIME_LIMIT)
    driver.set_script_timeout(TIME_LIMIT)
    yield driver
    driver.quit()


class Page:
    """A report in the browser, wide and light."""

    def __init__(self, browser, path):
        self.browser = browser
        self.resize(1600)
        self.use_theme("light")
        for log in ("browser", "performance"):
            browser.get_log(log)
        browser.get(path.as_uri())

    def resize(self, width):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                     {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False})

    def use_theme(self, theme):
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                     {"features": [{"name": "prefers-color-scheme", "value": theme}]})

    def run(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def all(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def choose(self, field, value):
        Select(self.find(f"#{field}")).select_by_value(value)

    def clear(self):
        self.find("#filters [type=reset]").click()
        self.run("return new Promise((done) => setTimeout(done))")

    @property
    def status(self):
        return self.find("#status").text

    def total(self, name):
        """The number, and what stands below it."""
        return tuple(self.find(f"#total-{name}").text.split("\n"))

    def rows(self, column=None):
        """The paths in the list, or what stands in another column."""
        if column is not None:
            return self.run("return [...document.querySelectorAll('#items tbody tr')].map("
                            "(row) => row.cells[arguments[0]].textContent)", column)
        return self.run(
            "const text = (found) => found ? found.textContent : '';"
            "const folder = (cell) => [...cell.children].find((made) => made.matches('small:not(.note, .remark)'));"
            "return [...document.querySelectorAll('#items .name')].map("
            "(cell) => text(folder(cell)) + text(cell.querySelector('bdi')))")

    def heads(self):
        return self.run("return [...document.querySelectorAll('#items thead th')].map((head) => head.textContent)")

    def sort_by(self, head):
        self.all("#items thead th button")[self.heads().index(head)].click()

    def sorting(self):
        return dict(self.run("return [...document.querySelectorAll('th[aria-sort]')].map("
                             "(head) => [head.textContent, head.getAttribute('aria-sort')])"))

    def errors(self):
        return [entry["message"] for entry in self.browser.get_log("browser")]

    def numbers_of(self, plot):
        """What stands in the table of a plot."""
        return self.run("return [...document.querySelectorAll(arguments[0] + ' tbody tr')].map("
                        "(row) => [row.cells[0].textContent, row.cells[1].textContent])", plot)

    def requests(self):
        messages = [json.loads(entry["message"])["message"] for entry in self.browser.get_log("performance")]
        return [message["params"]["request"]["url"] for message in messages
                if message["method"] == "Network.requestWillBeSent"]


@pytest.fixture
def open_report(browser, quorin, scan, tmp_path):
    """Opens the report of a scan of those records."""

    def open_it(*records, name="scan.ndjson"):
        result = quorin("report", scan(*records, name=name), "-o", "r.html", "--force")
        assert (result.code, result.err) == (0, "")
        return Page(browser, tmp_path / "r.html")

    return open_it


LIBRARY = scans.collection(5000)


@pytest.fixture(scope="module")
def library_page(browser, tmp_path_factory):
    folder = tmp_path_factory.mktemp("library")
    (folder / "library.ndjson").write_text(scans.lines(LIBRARY))
    assert Quorin(folder)("report", "library.ndjson", "-o", "r.html").code == 0
    return folder / "r.html"


@pytest.fixture
def library(browser, library_page):
    return Page(browser, library_page)


def path_of(record):
    return record["uri"].removeprefix("/srv/music/")


def grouped(number):
    return f"{number:,}".replace(",", " ")


def test_the_page_opens_quietly_and_alone(library, library_page):
    assert library.errors() == []
    assert library.requests() == [library_page.as_uri()]
    assert library.browser.title == "library.ndjson – quorin report"
    assert library.find("h1 + p").text == "All below /srv/music/"
    assert library.status == "5 000 items; shown: 1 to 100"
    assert library.rows() == [path_of(record) for record in LIBRARY[:100]]


def test_totals(library):
    kinds = collections.Counter(record["kind"] for record in LIBRARY)
    lengths = [record["audio"]["duration"] for record in LIBRARY if "duration" in record.get("audio", {})]
    minutes = sum(length["seconds"] * 1000 + length["microseconds"] // 1000 for length in lengths) // 60000
    pictures = [picture["length"] for record in LIBRARY for picture in record.get("audio", {}).get("pictures", [])]
    sizes = [record["file"]["size"] for record in LIBRARY if "file" in record]
    read = sum(record["cost"]["bytes"] for record in LIBRARY)
    elapsed = sum(record["cost"]["elapsed_us"] for record in LIBRARY)
    assert library.total("items") == ("5 000", f"{grouped(5000 - kinds['unknown'] - kinds['error'])} recognised")
    assert library.total("time") == (f"{minutes // 60} h {minutes % 60:02} min",
                                     f"{grouped(len(lengths))} items tell their length")
    assert library.total("size") == (f"{sum(sizes) / 2**30:.1f} GiB", f"{grouped(len(sizes))} files")
    assert library.total("covers") == (grouped(len(pictures)), f"{sum(pictures) / 2**20:.0f} MiB")
    assert library.total("read") == (f"{read / 2**20:.0f} MiB", f"in {elapsed / 1e6:.1f} s")
    assert library.total("failed") == (str(kinds["error"]), f"{kinds['unknown']} more not recognised")


def test_what_broke_while_it_was_read_counts_as_failed(open_report):
    page = open_report(scans.record("/a", "unknown", **scans.error("io_error", "reading failed (code -5)")),
                       scans.record("/b", "unknown", **scans.error("not_recognised", "not recognised")),
                       scans.record("/c", "unknown", **scans.error("empty", "empty")))
    assert page.total("failed") == ("1", "2 more not recognised")
    assert page.all("#total-failed")[0].find_element(By.XPATH, "..").get_attribute("class") == "bad"


def test_totals_of_what_is_not_known(open_report):
    page = open_report(scans.record("/a", **scans.audio()), scans.record("/b", **scans.audio(seconds=-5)),
                       scans.record("/c", **scans.audio(seconds=65)))
    assert page.total("time") == ("1:05", "1 item tells its length")
    assert page.total("size") == ("–", "not told by this scan")
    assert page.total("covers") == ("0", "–")
    assert "Size" not in page.heads() and "Covers" not in page.heads()
    assert page.find("#plot-bit-rates p").text == "No item tells it."


def test_plots_tell_their_numbers(library):
    formats = collections.Counter(
        NAMES_IN_WORDS[record["audio"]["media_type"]] if record["kind"] == "audio" else record["kind"]
        for record in LIBRARY)
    assert library.numbers_of("#plot-formats") == [[label, grouped(count)] for label, count in formats.most_common()]
    lengths = [record["audio"]["duration"]["seconds"] for record in LIBRARY if "duration" in record.get("audio", {})]
    four_to_five = sum(240 <= length < 300 for length in lengths)
    rows = dict(library.numbers_of("#plot-lengths"))
    assert rows["4 to 5 min"] == grouped(four_to_five)
    assert sum(int(count.replace(" ", "")) for count in rows.values()) == len(lengths)
    rates = [record["audio"]["bit_rate"] for record in LIBRARY if "bit_rate" in record.get("audio", {})]
    rows = dict(library.numbers_of("#plot-bit-rates"))
    assert rows["128 to 160 kbit/s"] == grouped(sum(128000 <= rate < 160000 for rate in rates))
    for plot in library.all("figure svg"):
        assert plot.get_attribute("role") == "img"
        assert ": " in plot.get_attribute("aria-label")
    bars = library.run("return [...document.querySelectorAll('#plot-formats rect')].map((bar) => bar.getBBox().width)")
    assert bars == sorted(bars, reverse=True) and len(bars) == len(formats)


def test_the_slowest_and_the_costliest(library):
    for place, of in (("slowest", "elapsed_us"), ("costliest", "bytes")):
        expected = sorted(range(5000), key=lambda n, of=of: (-LIBRARY[n]["cost"][of], n))[:10]
        names = [name.text for name in library.all(f"#{place} tbody th > bdi")]
        assert names == [path_of(LIBRARY[n]).rpartition("/")[2] for n in expected]


def test_times_have_units_that_tell_something(open_report):
    cost = {"bytes": 1, "reads": 1, "requests": 0}
    times = (3, 999, 1000, 999999, 2500000)
    page = open_report(*[scans.record(f"/{us}", cost={**cost, "elapsed_us": us}) for us in times])
    assert [cell.text for cell in page.all("#slowest tbody td")] == ["2.5 s", "1000 ms", "1.0 ms", "999 µs", "3 µs"]


NUMBERS = {
    "Length": lambda record: (lambda length: length and (length["seconds"], length["microseconds"] // 1000))(
        record.get("audio", {}).get("duration")),
    "Bit rate": lambda record: record.get("audio", {}).get("bit_rate"),
    "Rate": lambda record: record.get("audio", {}).get("sample_rate"),
    "Channels": lambda record: record.get("audio", {}).get("channels"),
    "Covers": lambda record: sum(p["length"] for p in record.get("audio", {}).get("pictures", [])) or None,
    "Size": lambda record: record.get("file", {}).get("size"),
    "Read": lambda record: record["cost"]["bytes"],
    "Time": lambda record: record["cost"]["elapsed_us"],
}


@pytest.mark.parametrize("head", NUMBERS)
def test_sorting_by_numbers(library, head):
    known = [record for record in LIBRARY if NUMBERS[head](record) is not None]
    for order in ("descending", "ascending"):
        library.sort_by(head)
        expected = sorted(known, key=NUMBERS[head])
        if order == "descending":  # items of the same number stay in the order of the scan
            expected = sorted(known[::-1], key=NUMBERS[head])[::-1]
        assert library.rows() == [path_of(record) for record in expected[:100]]
        assert library.sorting() == {head: order}
    unknown = [record for record in LIBRARY if NUMBERS[head](record) is None]
    if unknown:
        library.find("#pager button:last-child").click()
        assert library.rows()[-1] == path_of(unknown[-1])


def test_sorting_by_names_and_formats(open_report):
    names = ["/m/a 10.mp3", "/m/B.mp3", "/m/a 2.mp3", "/m/é.mp3", "/a/z.mp3", "/m/f.mp3"]
    media_types = ["wav", "flac", "mp3", "mp3", "flac", "wav"]
    page = open_report(*[scans.record(name, **scans.audio(kind)) for name, kind in zip(names, media_types)])
    in_order = ["/a/z.mp3", "/m/a 2.mp3", "/m/a 10.mp3", "/m/B.mp3", "/m/é.mp3", "/m/f.mp3"]
    page.sort_by("Name")
    assert (page.rows(), page.sorting()) == (in_order, {"Name": "ascending"})
    assert page.status == "6 items, by name, ascending"
    page.sort_by("Name")
    assert (page.rows(), page.sorting()) == (in_order[::-1], {"Name": "descending"})
    page.sort_by("Format")
    assert (page.rows(1), page.sorting()) == (["FLAC"] * 2 + ["MP3"] * 2 + ["WAV"] * 2, {"Format": "ascending"})
    page.sort_by("Format")
    assert page.rows(1) == ["WAV"] * 2 + ["MP3"] * 2 + ["FLAC"] * 2


def test_filters(library):
    def shows(wanted):
        expected = [path_of(record) for record in LIBRARY if wanted(record)]
        assert library.rows() == expected[:100]
        assert library.status.startswith(f"{grouped(len(expected))} of 5 000 items")

    library.find("#search").send_keys("RIVER .flac")
    shows(lambda record: "river" in path_of(record).lower() and ".flac" in record["uri"])
    library.find("#search").clear()
    library.find("#search").send_keys("étude")
    shows(lambda record: "Étude" in record["uri"])
    library.choose("format", "MP3")
    shows(lambda record: "Étude" in record["uri"] and record.get("audio", {}).get("media_type") == "mp3")
    library.clear()
    assert library.status == "5 000 items; shown: 1 to 100"
    for kind in ("audio", "redirect", "unknown", "error"):
        library.choose("kind", kind)
        shows(lambda record, kind=kind: record["kind"] == kind)
    library.choose("cause", "io_error")
    shows(lambda record: record.get("error", {}).get("name") == "io_error")
    library.choose("format", "WAV")
    assert (library.rows(), library.status) == ([], "0 of 5 000 items")


def test_search_finds_messages_and_either_form_of_a_letter(open_report):
    page = open_report(scans.record("/e\u0301tude"), scans.record("/b", "error", **scans.error("busy", "try later")))
    page.find("#search").send_keys("étude")
    assert page.rows() == ["/e\u0301tude"]
    page.find("#search").clear()
    page.find("#search").send_keys("LATER")
    assert page.rows() == ["/b"]


def test_failures_by_cause_lead_to_the_list(library):
    causes = collections.Counter(record["error"]["name"] for record in LIBRARY if "error" in record)
    rows = library.run("return [...document.querySelectorAll('#failures tbody tr')].map("
                       "(row) => [row.cells[0].firstChild.textContent, row.cells[1].textContent])")
    assert rows == [[name.replace("_", " "), str(count)] for name, count in causes.most_common()]
    library.find("#search").send_keys("nothing like that")
    library.find("#failures button[aria-label='Show in the list: permission_denied']").click()
    library.run("return new Promise((done) => setTimeout(done))")
    assert library.status.startswith(f"{causes['permission_denied']} of 5 000 items")
    assert library.run("return document.activeElement.id") == "list"


def test_a_scan_without_failures(open_report):
    page = open_report(scans.record("/a", "folder"))
    assert page.find("#failures").text == "Nothing. Every item was recognised."
    assert not page.find("#cause").is_displayed()
    assert not page.find("#format").is_displayed()
    assert not page.find("#pager").is_displayed()


def test_pages_of_the_list(library):
    def off():
        return [button.text for button in library.all("#pager button[aria-disabled=true]")]

    _, previous, following, last = library.all("#pager button")
    assert off() == ["First", "Previous"]
    previous.click()
    assert library.find("#page").text == "1 of 50"
    following.click()
    assert library.rows() == [path_of(record) for record in LIBRARY[100:200]]
    assert library.find("#page").text == "2 of 50"
    assert off() == []
    last.click()
    assert library.rows() == [path_of(record) for record in LIBRARY[4900:]]
    assert library.status == "5 000 items; shown: 4 901 to 5 000"
    assert off() == ["Next", "Last"]
    assert library.run("return document.activeElement.textContent") == "Last"
    library.sort_by("Size")
    assert library.find("#page").text == "1 of 50"


@pytest.mark.parametrize("names, root", [
    (["/a/b/c.mp3", "/a/b/d/e.mp3", "/a/bb/f.mp3"], "/a/"),
    (["/a/b.mp3", "/a/c.mp3"], "/a/"),
    (["/a/b.mp3", "/c/d.mp3"], ""),
    (["/a/b.mp3", "http://host/c.mp3", "d.mp3"], ""),
    (["http://host/a.mp3", "http://host/b/c.mp3"], "http://host/"),
    (["http://host/a.mp3", "http://other/a.mp3"], ""),
    (["http://host/a.mp3", "/a.mp3"], ""),
    (["a.mp3", "/"], ""),
])
def test_what_all_paths_begin_with_is_told_once(open_report, names, root):
    page = open_report(*[scans.record(name) for name in names])
    assert [element.text for element in page.all("h1 + p")] == ([f"All below {root}"] if root else [])
    assert page.rows() == [name.removeprefix(root) for name in names]


def test_redirects_are_told(open_report):
    page = open_report(
        scans.record("http://h/a.m3u", "redirect", redirect={"urls": ["b.mp3", "c.mp3"]}),
        scans.record("http://h/b.mp3", **scans.audio(), via=["http://h/a.m3u", "http://h/x.asx"]))
    assert [note.text for note in page.all("#items small bdi")] == [
        "to b.mp3", "redirected from http://h/a.m3u"]


HOSTILE = [
    b"</script><script>window.harm=1</script>.mp3",
    b"<!--<script>.mp3",
    b"\"><img src=x onerror=window.harm=1>.mp3",
    b"' onmouseover='window.harm=1.mp3",
    b"&lt;b&gt;&amp;.mp3",
    "\u202eevil\u2066.mp3".encode(),
    "\ufeff\u200b\u2028.mp3".encode(),
    b"\xff\xfe<b>.mp3",
    b"tab\tline\nreturn\r\x1b[2J.mp3",
    b"{{data}}{{script}}.mp3",
    b"\\u003c\\.mp3",
    "עברית.mp3".encode(),
]


def test_names_of_strangers_do_no_harm(quorin, browser, tmp_path):
    folder = tmp_path / "x{{data}}<i>"
    folder.mkdir()
    for name in HOSTILE:
        with open(bytes(folder) + b"/" + name.replace(b"/", b"%"), "wb"):
            pass
    paths = [bytes(folder) + b"/" + name.replace(b"/", b"%") for name in HOSTILE]
    scan = tmp_path / "<script>window.harm=1<!--&amp;.ndjson"
    scan.write_text(quorin("--json", *paths).out)
    assert quorin("report", scan.name, "-o", "r.html").code == 0
    page = Page(browser, tmp_path / "r.html")
    assert page.find("h1").text == scan.name
    # What the page shows is what the command shows.
    shown = [quorin("--color", "never", path).out.split("\n")[0] for path in paths]
    root = page.find("h1 + p").text.removeprefix("All below ")
    assert [root + path for path in page.rows()] == shown
    assert page.total("items") == ("12", "0 recognised")
    assert_no_harm(page)


def test_texts_of_strangers_do_no_harm(open_report):
    evil = "</script><img src=x onerror=window.harm=1>\u202e<!--"
    shown = evil.replace("\u202e", "\\u{202e}")
    page = open_report(scans.record("http://h/" + evil, "error", **scans.error(evil, evil)),
                       scans.record("/b", "redirect", redirect={"urls": [evil]}),
                       scans.record("/c", **scans.audio(evil), via=[evil]), scans.record(evil.encode() + b"\xff"))
    texts = page.find("#items").get_property("textContent")
    for text in (shown, f"to {shown}", f"redirected from {shown}", shown.rpartition("/")[2] + "\\xff"):
        assert text in texts
    assert Select(page.find("#cause")).options[1].get_property("value") == shown
    assert_no_harm(page)


def assert_no_harm(page):
    assert page.run("return window.harm") is None
    assert page.run("return document.scripts.length") == 2
    assert page.all("img, b, i, title ~ title") == []
    with pytest.raises(NoAlertPresentException):
        page.browser.switch_to.alert  # pylint: disable=pointless-statement
    assert page.errors() == []


def test_nothing_else_could_run_or_load(library):
    library.run("const script = document.createElement('script'); script.textContent = 'window.harm = 1';"
                "document.body.append(script);"
                "const image = new Image(); image.src = 'http://127.0.0.1:9/x.png'; document.body.append(image);")
    assert library.run("return window.harm") is None
    assert len(library.errors()) == 2  # both refused by the policy of the page


def luminance(colour):
    parts = [int(part) / 255 for part in colour[colour.index("(") + 1 : -1].split(",")[:3]]
    linear = [part / 12.92 if part <= .04045 else ((part + .055) / 1.055) ** 2.4 for part in parts]
    return sum(weight * part for weight, part in zip((.2126, .7152, .0722), linear))


def contrast(one, other):
    low, high = sorted((luminance(one), luminance(other)))
    return (high + .05) / (low + .05)


@pytest.mark.parametrize("theme", ["light", "dark"])
def test_both_themes_are_legible(library, theme):
    library.use_theme(theme)
    library.sort_by("Format")
    library.choose("kind", "error")
    colours = library.run("""
        const backdrop = (element) => {
          for (let at = element; at; at = at.parentElement) {
            const colour = getComputedStyle(at).backgroundColor;
            if (!colour.startsWith('rgba(')) return colour;
          }
        };
        const told = (element) => {
          const style = getComputedStyle(element);
          const colour = element instanceof SVGElement ? style.fill : style.color;
          return [element.outerHTML.slice(0, 60), colour, backdrop(element), element.tagName];
        };
        return [...document.querySelectorAll('body *')].filter((element) => element.checkVisibility()).map(told);""")
    assert len(colours) > 500
    for element, colour, behind, tag in colours:
        if tag not in ("svg", "line", "title"):
            assert contrast(colour, behind) >= (3 if tag == "rect" else 4.5), (element, colour, behind)
    is_dark = luminance(library.run("return getComputedStyle(document.body).backgroundColor")) < .1
    assert is_dark == (theme == "dark")


@pytest.mark.parametrize("width", [320, 360, 700, 1000, 1200, 1600])
def test_nothing_is_wider_than_the_window(open_report, width):
    page = open_report(*LIBRARY[:150],
                       scans.record("/srv/music/" + "m" * 250 + "/" + "n" * 250, **scans.audio("m" * 99)),
                       scans.record("/srv/music/x", "error", **scans.error("e" * 200, "f" * 300)))
    page.resize(width)
    for details in page.all("details > summary"):
        details.click()
    page.find("#pager button:last-child").click()
    root = "return document.documentElement."
    assert page.run("return window.innerWidth") == width
    assert page.run(root + "scrollWidth") == page.run(root + "clientWidth")


def test_the_keyboard_suffices(library):
    keyboard = webdriver.ActionChains(library.browser)
    for _ in range(60):
        keyboard.send_keys(Keys.TAB).perform()
        if library.run("return document.activeElement.textContent") == "Size":
            break
    style = "return getComputedStyle(document.activeElement)."
    assert library.run(style + "outlineStyle") == "solid" and library.run(style + "outlineWidth") == "2px"
    keyboard.send_keys(Keys.ENTER).perform()
    assert library.sorting() == {"Size": "descending"}
    keyboard.send_keys(Keys.SPACE).perform()
    assert library.sorting() == {"Size": "ascending"}
    assert library.run("return document.activeElement.textContent") == "Size"


def test_the_skip_link_leads_to_the_list(library):
    webdriver.ActionChains(library.browser).send_keys(Keys.TAB).perform()
    assert library.run("return document.activeElement.className") == "skip"
    assert library.find(".skip").rect["x"] >= 0
    webdriver.ActionChains(library.browser).send_keys(Keys.ENTER).perform()
    assert library.run("return document.activeElement.id") == "list"


@pytest.mark.parametrize("width", [390, 1600])
def test_what_a_screen_reader_is_told(library, width):
    library.resize(width)
    tree = library.browser.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
    nodes = [(node["role"]["value"], node.get("name", {}).get("value", "")) for node in tree if not node["ignored"]]
    roles = collections.Counter(role for role, _ in nodes)
    assert ("table", "All items") in nodes
    assert {name for role, name in nodes if role == "columnheader"} >= {*library.heads(), "Cause", "Items"}
    assert roles["columnheader"] >= 10 and roles["row"] >= 100 and roles["rowheader"] >= 20
    assert sorted(name for role, name in nodes if role == "heading") == [
        "All items", "At a glance", "Costliest", "Slowest", "What went wrong", "library.ndjson"]
    for landmark in ("banner", "main", "search", "navigation", "contentinfo", "status"):
        assert roles[landmark] == 1, landmark
    for role, name in nodes:
        if role in ("button", "searchbox", "combobox", "image", "link", "table"):
            assert name != "", role
    assert library.all("thead th:not([scope=col]), tbody th:not([scope=row])") == []
    assert library.find("html").get_attribute("lang") == "en"


def test_without_scripts_the_totals_are_there(library):
    library.browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
    try:
        library.browser.refresh()
        assert library.total("items")[0] == "5 000"
        assert "scripts are switched off here" in library.find(".notice").text
        assert not library.find("main").is_displayed()
    finally:
        library.browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": False})


def test_a_long_scan_stays_quick(open_report):
    """100 000 items; the limits are far above what it takes, and far below what a list without pages would."""
    lines = scans.lines(LIBRARY).rstrip("\n")
    page = open_report(*[lines.replace('"uri":"', f'"uri":"/{n}') for n in range(20)])
    assert page.total("items")[0] == "100 000"
    for action in ("document.querySelector('#items thead button').click()",
                   "document.querySelectorAll('#items thead button')[7].click()",
                   "document.getElementById('search').value = 'river';"
                   "document.getElementById('search').dispatchEvent(new Event('input'))"):
        elapsed = page.run(f"const begin = performance.now(); {action}; return performance.now() - begin")
        assert elapsed < 10000
    assert page.run("return document.querySelectorAll('*').length") < 5000
