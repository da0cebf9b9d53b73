SUMMARY = "Media analysis: what is behind this URI?"
DESCRIPTION = "Finds out what is behind a URI: a redirect, a playlist, a folder, or an audio stream, described exact to \
the byte, from a few kilobytes of it."
SECTION = "multimedia"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=5cd941f8d55d13a1ca98e8004bdf5fb2"

DEPENDS = "boost curl util-linux"

inherit cmake pkgconfig externalsrc

# This layer lies in the source that it builds.
EXTERNALSRC = "${@os.path.normpath(d.getVar('THISDIR') + '/../../../..')}"
EXTERNALSRC_BUILD = "${WORKDIR}/build"

PACKAGECONFIG ??= ""
# Needs the layer meta-oe.
PACKAGECONFIG[command] = "-DQUORIN_TOOLS=ON,-DQUORIN_TOOLS=OFF,cli11 fmt nlohmann-json rapidjson utfcpp"

EXTRA_OECMAKE = "-DQUORIN_PLATFORM=host -DCMAKE_SKIP_INSTALL_RPATH=ON"

# The command with what belongs to it is a package of its own.
PACKAGES =+ "quorin"
FILES:quorin = "${bindir}/quorin ${datadir}/bash-completion ${datadir}/zsh ${datadir}/fish"
