"""docs/guide.md shows code that exists: what it quotes stands, line by line, in the example that the chapter names."""

import pathlib
import re
import textwrap

import pytest

TREE = pathlib.Path(__file__).resolve().parents[2]
GUIDE = (TREE / "docs/guide.md").read_text()
EXAMPLE = re.compile(r"\[examples/([\w.]+)\]\(\.\./examples/\1\)")
CODE = re.compile(r"^```cpp\n(.*?)^```$", re.DOTALL | re.MULTILINE)
CHAPTERS = [chapter for chapter in re.split(r"^## ", GUIDE, flags=re.MULTILINE)[1:]]


def occurs(code, text):
    """Whether the lines of the code stand in the text one after the other, however deep they are indented there."""
    lines, count = text.splitlines(), len(code.splitlines())
    pieces = ("\n".join(lines[at:at + count]) + "\n" for at in range(len(lines) - count + 1))
    return any(textwrap.dedent(piece) == code for piece in pieces)


@pytest.mark.parametrize("chapter", CHAPTERS, ids=lambda chapter: chapter.splitlines()[0])
def test_the_code_of_a_chapter_is_that_of_its_examples(chapter):
    sources = [(TREE / "examples" / name).read_text() for name in EXAMPLE.findall(chapter)]
    blocks = CODE.findall(chapter)
    assert sources and blocks
    assert [code for code in blocks if not any(occurs(code, source) for source in sources)] == []


def test_every_example_is_explained():
    named = set(EXAMPLE.findall(GUIDE))
    assert named == {path.name for path in (TREE / "examples").glob("*.cpp")}


def test_what_the_guide_names_exists():
    words = set(re.findall(r"\b(?:docs|examples|include)/[\w./]+\w", GUIDE))
    assert [word for word in words if not (TREE / word).exists()] == []
