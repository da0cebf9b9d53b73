################################################################################
#
# libmd-common-quorin
#
################################################################################

LIBMD_COMMON_QUORIN_VERSION = 0.1.0
# This external tree lies in the source that it builds.
LIBMD_COMMON_QUORIN_SITE = $(BR2_EXTERNAL_QUORIN_PATH)/../..
LIBMD_COMMON_QUORIN_SITE_METHOD = local
LIBMD_COMMON_QUORIN_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude /build
LIBMD_COMMON_QUORIN_LICENSE = MIT
LIBMD_COMMON_QUORIN_LICENSE_FILES = LICENSE
LIBMD_COMMON_QUORIN_INSTALL_STAGING = YES
LIBMD_COMMON_QUORIN_DEPENDENCIES = host-pkgconf boost libcurl util-linux
LIBMD_COMMON_QUORIN_SUPPORTS_IN_SOURCE_BUILD = NO
LIBMD_COMMON_QUORIN_CONF_OPTS = \
	-DQUORIN_PLATFORM=host \
	-DQUORIN_TOOLS=OFF \
	-DCMAKE_SKIP_INSTALL_RPATH=ON

$(eval $(cmake-package))
