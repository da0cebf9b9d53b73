"""The Buildroot package and the Yocto layer, as far as they can be held without Buildroot and Yocto."""

import hashlib
import re

import kconfiglib
import pytest

from conftest import BUILD, TREE, run

BUILDROOT = TREE / "packaging/buildroot"
YOCTO = TREE / "packaging/yocto"
VERSION = re.search(r"project\(\S+ VERSION ([\d.]+)", (TREE / "CMakeLists.txt").read_text()).group(1)

# What Buildroot itself would define.
SURROUNDINGS = """
config BR2_INSTALL_LIBSTDCPP
	bool "C++"
config BR2_TOOLCHAIN_GCC_AT_LEAST_8
	bool "gcc 8"
config BR2_TOOLCHAIN_HAS_THREADS
	bool "threads"
config BR2_USE_MMU
	bool "MMU"
config BR2_PACKAGE_BOOST
	bool
config BR2_PACKAGE_LIBCURL
	bool
config BR2_PACKAGE_UTIL_LINUX
	bool
config BR2_PACKAGE_UTIL_LINUX_LIBMOUNT
	bool
"""


@pytest.fixture
def configuration(tmp_path, monkeypatch):
    monkeypatch.setenv("BR2_EXTERNAL_QUORIN_PATH", str(BUILDROOT))
    monkeypatch.setenv("KCONFIG_WARN_UNDEF", "y")
    top = tmp_path / "Config.in"
    top.write_text(SURROUNDINGS + (BUILDROOT / "Config.in").read_text())
    parsed = kconfiglib.Kconfig(str(top), warn_to_stderr=False)
    assert parsed.warnings == []
    return parsed


NEEDS = ["INSTALL_LIBSTDCPP", "TOOLCHAIN_GCC_AT_LEAST_8", "TOOLCHAIN_HAS_THREADS", "USE_MMU"]


@pytest.mark.parametrize("missing", [None, *NEEDS])
def test_buildroot_offers_the_package_only_where_it_can_be_built(configuration, missing):
    for need in NEEDS:
        configuration.syms["BR2_" + need].set_value(0 if need == missing else 2)
    package = configuration.syms["BR2_PACKAGE_LIBMD_COMMON_QUORIN"]
    package.set_value(2)
    assert package.tri_value == (2 if missing is None else 0)
    for selected in ("BOOST", "LIBCURL", "UTIL_LINUX_LIBMOUNT"):
        assert configuration.syms["BR2_PACKAGE_" + selected].tri_value == package.tri_value


@pytest.fixture(scope="module")
def makefile(tmp_path_factory):
    """The variables of the package's makefile."""
    text = (f"BR2_EXTERNAL_QUORIN_PATH = {BUILDROOT}\n"
            f"include {BUILDROOT}/external.mk\n"
            "$(foreach v,$(filter LIBMD_%,$(.VARIABLES)),$(info $(v)=$($(v))))\n"
            "all:\n")
    file = tmp_path_factory.mktemp("make") / "Makefile"
    file.write_text(text)
    lines = run("make", "--warn-undefined-variables", "-f", file).splitlines()
    values = dict(line.split("=", 1) for line in lines if line.startswith("LIBMD_"))
    return {name.removeprefix("LIBMD_COMMON_QUORIN_"): value for name, value in values.items()}


def test_buildroot_builds_the_tree_it_lies_in(makefile):
    assert makefile["VERSION"] == VERSION
    assert makefile["SITE"] == f"{BUILDROOT}/../.."
    assert (TREE / makefile["LICENSE_FILES"]).is_file()


def configures(target, folder, *options):
    """Configures the tree with the options of a recipe; each has to be one that the tree knows."""
    words = ["cmake", "-G", "Ninja", "-S", TREE, "-B", folder, "-DCMAKE_BUILD_TYPE=Release", *options]
    if target.is_armhf:
        words += [f"-DCMAKE_TOOLCHAIN_FILE={target.toolchain}", f"-DQUORIN_ARMHF_SYSROOT={target.sysroot}"]
    assert "Manually-specified variables were not used" not in run(*words)


def test_the_tree_configures_with_the_options_of_buildroot(makefile, target, tmp_path):
    configures(target, tmp_path, *makefile["CONF_OPTS"].split())
    assert not list(tmp_path.glob("tools/quorin"))


@pytest.fixture(scope="module")
def recipe():
    """The variables of the Yocto recipe."""
    file = YOCTO / f"recipes-multimedia/md-common-quorin/md-common-quorin_{VERSION}.bb"
    text = file.read_text().replace("\\\n", "")
    found = {}
    for line in text.splitlines():
        if line and not line.startswith(("#", "inherit ")):
            name, value = re.fullmatch(r'([\w:\[\]]+) (?:\?\?=|=\+|=) "(.*)"', line).groups()
            found[name] = value
    return found


def test_the_license_of_the_yocto_recipe_is_the_one_in_the_tree(recipe):
    checksum = hashlib.md5((TREE / "LICENSE").read_bytes()).hexdigest()
    assert recipe["LIC_FILES_CHKSUM"] == f"file://LICENSE;md5={checksum}"


@pytest.mark.parametrize("command", ["with", "without"])
def test_the_tree_configures_with_the_options_of_yocto(recipe, target, tmp_path, command):
    switched_on, switched_off = recipe["PACKAGECONFIG[command]"].split(",")[:2]
    configures(target, tmp_path, *recipe["EXTRA_OECMAKE"].split(), switched_on if command == "with" else switched_off)
    assert bool(list(tmp_path.glob("tools/quorin"))) == (command == "with")


# What the build looks for, and what the packages of Yocto are called.
PACKAGES = {"Boost": "boost", "CURL": "curl", "MOUNT": "util-linux", "CLI11": "cli11", "fmt": "fmt",
            "nlohmann_json": "nlohmann-json", "rapidjson/writer.h": "rapidjson", "utf8cpp": "utfcpp"}
OF_THE_SYSTEM = {"PkgConfig", "Threads"}


@pytest.mark.parametrize("folder, command", [("platform", False), ("tools", True)])
def test_yocto_builds_what_the_build_looks_for(recipe, folder, command):
    text = "".join(file.read_text() for file in (TREE / folder).rglob("CMakeLists.txt"))
    wanted = set(re.findall(r"(?:find_package|pkg_check_modules)\((\w+)", text))
    wanted |= set(re.findall(r"find_path\(\w+ (\S+)", text))
    listed = recipe["DEPENDS"].split() + (recipe["PACKAGECONFIG[command]"].split(",")[2].split() if command else [])
    assert wanted
    assert {PACKAGES[name] for name in wanted - OF_THE_SYSTEM} <= set(listed)


def test_all_files_of_the_command_are_in_its_yocto_package(recipe, tmp_path):
    run("cmake", "--install", BUILD, "--prefix", tmp_path, "--component", "command")
    patterns = recipe["FILES:quorin"].replace("${bindir}", "bin").replace("${datadir}", "share").split()
    for path in tmp_path.rglob("*"):
        inside = str(path.relative_to(tmp_path))
        if path.is_file() and not inside.startswith(("share/man/", "share/doc/")):  # go into a package of their own
            assert any(inside == pattern or inside.startswith(pattern + "/") for pattern in patterns), inside
