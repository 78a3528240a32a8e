################################################################################
#
# tldevice
#
# UNTESTED: written from Buildroot's manual, never built with it.
#
################################################################################

TLDEVICE_VERSION = 1.0.0
# The checkout that contains this external tree.
TLDEVICE_SITE = $(BR2_EXTERNAL_TLDEVICE_PATH)/../..
TLDEVICE_SITE_METHOD = local
TLDEVICE_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude build
TLDEVICE_LICENSE = MIT
TLDEVICE_LICENSE_FILES = LICENSE
TLDEVICE_INSTALL_STAGING = YES
TLDEVICE_DEPENDENCIES = boost

# -U: programs, above all tests, replace libc functions for the library; fortified code would call
# them by other names.
TLDEVICE_CONF_OPTS = \
	-DTLDEVICE_BUILD_TESTS=OFF \
	-DTLDEVICE_BUILD_EXAMPLES=OFF \
	-DCMAKE_CXX_FLAGS="$(TARGET_CXXFLAGS) -U_FORTIFY_SOURCE"

ifeq ($(BR2_PACKAGE_TLDEVICE_COMMAND),y)
TLDEVICE_DEPENDENCIES += json-for-modern-cpp
TLDEVICE_CONF_OPTS += -DTLDEVICE_BUILD_TOOLS=ON
else
TLDEVICE_CONF_OPTS += -DTLDEVICE_BUILD_TOOLS=OFF
endif

$(eval $(cmake-package))
