################################################################################
#
# tldevice
#
# UNTRIED: written from Buildroot's manual; no build with Buildroot was made.
#
################################################################################

TLDEVICE_VERSION = 1.0.0
# The checkout that this external tree lies in.
TLDEVICE_SITE = $(BR2_EXTERNAL_TLDEVICE_PATH)/../..
TLDEVICE_SITE_METHOD = local
TLDEVICE_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude build
TLDEVICE_LICENSE = MIT
TLDEVICE_LICENSE_FILES = LICENSE
TLDEVICE_INSTALL_STAGING = YES
TLDEVICE_DEPENDENCIES = boost

# -U: programs replace libc functions under the library, in tests above all; fortified code calls other names.
TLDEVICE_CONF_OPTS = \
	-DTLDEVICE_BUILD_TESTS=OFF \
	-DTLDEVICE_BUILD_EXAMPLES=OFF \
	-DCMAKE_CXX_FLAGS="$(TARGET_CXXFLAGS) -U_FORTIFY_SOURCE"

ifeq ($(BR2_PACKAGE_TLDEVICE_COMMAND),y)
TLDEVICE_DEPENDENCIES += cli11 json-for-modern-cpp
TLDEVICE_CONF_OPTS += -DTLDEVICE_BUILD_TOOLS=ON
else
TLDEVICE_CONF_OPTS += -DTLDEVICE_BUILD_TOOLS=OFF
endif

$(eval $(cmake-package))
