# UNTESTED: written from the Yocto Project's manuals, never built with bitbake.
#
# Fetches HEAD of the checkout that contains this layer, or of TLDEVICE_REPOSITORY if that is set.
# The command needs nlohmann-json, from meta-openembedded's meta-oe.
SUMMARY = "Device identity, update-manager paths and process supervision on embedded Linux"
DESCRIPTION = "Identifies the device for its on-device software, knows its properties and the paths of the update \
manager's files, and supervises a child program with a time-out.  Includes a command for use from a shell."
SECTION = "libs"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=8f8eea5cd45b89e0096f398261a2d3d3"

DEPENDS = "boost"

TLDEVICE_REPOSITORY ?= "git://${@os.path.normpath(os.path.join(d.getVar('THISDIR'), '../../../..'))};protocol=file"
SRC_URI = "${TLDEVICE_REPOSITORY};nobranch=1;name=tldevice file://run-ptest"
SRCREV_tldevice = "${AUTOREV}"

# The tests are built for the target together with GoogleTest, from its sources.
GTEST_URI = "git://github.com/google/googletest.git;protocol=https;nobranch=1;tag=release-1.12.1;name=gtest;destsuffix=googletest"
SRC_URI += "${@bb.utils.contains('PTEST_ENABLED', '1', '${GTEST_URI}', '', d)}"
SRCREV_FORMAT = "tldevice"

S = "${WORKDIR}/git"

inherit cmake ptest

PACKAGECONFIG ??= "command"
PACKAGECONFIG[command] = "-DTLDEVICE_BUILD_TOOLS=ON,-DTLDEVICE_BUILD_TOOLS=OFF,nlohmann-json"
# The maker's libtlshared.so instead of the bundled one.  TLDEVICE_SUPPORT names the recipe that
# provides it.
PACKAGECONFIG[platform] = "-DTLDEVICE_SUPPORT_PREFIX=${STAGING_DIR_HOST}${prefix},,${TLDEVICE_SUPPORT}"
TLDEVICE_SUPPORT ??= ""

# Test programs cannot run on the build machine, so their tests are not listed there.  On the device
# they find the programs to supervise where do_install_ptest puts them.
EXTRA_OECMAKE = "\
    -DTLDEVICE_BUILD_EXAMPLES=OFF \
    ${@bb.utils.contains('PTEST_ENABLED', '1', '-DTLDEVICE_BUILD_TESTS=ON', '-DTLDEVICE_BUILD_TESTS=OFF', d)} \
    -DTLDEVICE_CHILDREN_DIRECTORY=${PTEST_PATH}/children \
    -DGTEST_SOURCE_DIR=${WORKDIR}/googletest \
    -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST \
    -DCMAKE_SKIP_RPATH=ON \
"

# Programs, above all tests, replace libc functions for the library; fortified code would call them
# by other names.
lcl_maybe_fortify = ""

do_install_ptest() {
    install -d ${D}${PTEST_PATH}/tests ${D}${PTEST_PATH}/children
    install -m 0755 ${B}/tests/*/*_test ${D}${PTEST_PATH}/tests
    find ${B}/tests/children -maxdepth 1 -type f -perm -100 -exec install -m 0755 {} ${D}${PTEST_PATH}/children \;
}

# The command is a package of its own: programs that link the library do not need it.
PACKAGE_BEFORE_PN = "${PN}-command"
FILES:${PN}-command = "${bindir}/tldevice ${datadir}/bash-completion ${datadir}/zsh ${datadir}/fish"
RDEPENDS:${PN}-command = "${PN}"
FILES:${PN} = "${libdir}/lib*.so.*"
FILES:${PN}-dev += "${libdir}/cmake ${libdir}/pkgconfig"
