"""Every test that docs/reliability.md names exists."""

import pathlib
import re

import pytest

TREE = pathlib.Path(__file__).resolve().parents[2]
PAGE = (TREE / "docs/reliability.md").read_text()
PROMISES = re.findall(r"^\| (?!promise|---)(.+) \| (.+) \|$", PAGE, flags=re.MULTILINE)
SOURCES = "\n".join(path.read_text() for path in (TREE / "tests").rglob("*_test.cpp")) + "\n".join(
    path.read_text() for path in (TREE / "tests/contract").glob("*.cpp"))


def exists(name):
    if "::" in name:
        path, function = name.split("::")
        return f"def {function}(" in (TREE / path).read_text()
    if name.startswith("tests/"):
        return (TREE / name).exists()
    suite, test = name.split(".")
    return re.search(rf"\bTEST(_F|_P)?\({suite}, {test}\)", SOURCES) is not None


@pytest.mark.parametrize("promise, holders", PROMISES, ids=[promise[:40] for promise, _ in PROMISES])
def test_a_promise_is_held_by_tests_that_exist(promise, holders):
    names = re.findall(r"`([^`]+)`", holders)
    assert names
    assert [name for name in names if not exists(name)] == []
