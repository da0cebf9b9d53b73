"""The reference that doxygen makes of the public headers.

Run by hand:  QUORIN_DOXYFILE=build/dev/documentation/Doxyfile /usr/bin/python3 -m pytest tests/docs
"""

import os
import pathlib
import re
import shutil
import subprocess
import xml.etree.ElementTree as ElementTree

import pytest

TREE = pathlib.Path(__file__).resolve().parents[2]
DOXYFILE = pathlib.Path(os.environ["QUORIN_DOXYFILE"])
FOLDERS = [TREE / "include", TREE / "platform/include"]
HEADERS = [header for folder in FOLDERS for header in folder.rglob("*.h")]


def doxygen(output, **changes):
    """Runs doxygen as the build does, but into a folder of the test; returns the exit status and the complaints."""
    settings = {"OUTPUT_DIRECTORY": output, **changes}
    text = DOXYFILE.read_text() + "".join(f"{name} = {value}\n" for name, value in settings.items())
    result = subprocess.run(["doxygen", "-"], input=text, capture_output=True, text=True, timeout=60, cwd=output)
    return result.returncode, result.stderr


def is_described(element):
    kinds = ("briefdescription", "detaileddescription")
    return any("".join(element.find(kind).itertext()).strip() for kind in kinds)


def undescribed(folder):
    """Names without a description. doxygen complains of most by itself, but not of enumerators and destructors."""
    names = set()
    for page in folder.glob("*.xml"):
        for element in ElementTree.parse(page).iter():
            if element.tag in ("memberdef", "enumvalue") and element.get("prot") == "public":
                if "=delete" not in element.findtext("argsstring", ""):
                    names |= set() if is_described(element) else {element.findtext("name")}
    return names


def test_every_public_name_is_documented(tmp_path):
    assert doxygen(tmp_path, GENERATE_XML="YES") == (0, "")
    assert undescribed(tmp_path / "xml") == set()


def test_the_guide_and_every_header_have_their_page(tmp_path):
    doxygen(tmp_path)
    assert "<title>libmd-common-quorin: Using the library</title>" in (tmp_path / "html/index.html").read_text()
    pages = [header.name.replace("_", "__").replace(".", "_8") + ".html" for header in HEADERS]
    assert len(pages) >= 14
    assert [page for page in pages if not (tmp_path / "html" / page).exists()] == []


@pytest.mark.parametrize("header, documented, name", [
    ("include/quorin/audio_info.h", r"  /// Whether a player may pause\.\n  /// @return as `canSeek`\n", "canPause"),
    ("include/quorin/audio_info.h", r"  /// @param hertz .*\n", "getSamplingFrequency"),
    ("include/quorin/info.h", r" +///< raw 16-bit PCM.*", "MEDIA_TYPE_LPCM"),
    ("include/quorin/mime_types.h", r" +///< \"image/gif\".*", "ImageGif"),
    ("platform/include/md/url.h", r"/// @return the repaired URL\n", "urlPatch"),
    ("platform/include/md/url.h", r"  /// Closes the source\.\n", "~MdchUrlBase"),
])
def test_what_is_not_documented_is_found(tmp_path, header, documented, name):
    for folder in FOLDERS:
        shutil.copytree(folder, tmp_path / folder.relative_to(TREE))
    text, count = re.subn(documented, "", (TREE / header).read_text())
    assert count == 1
    (tmp_path / header).write_text(text)
    status, complaints = doxygen(tmp_path, INPUT=f"{tmp_path}/include {tmp_path}/platform/include",
                                 GENERATE_HTML="NO", GENERATE_XML="YES")
    assert status != 0 and name in complaints or undescribed(tmp_path / "xml") == {name}
