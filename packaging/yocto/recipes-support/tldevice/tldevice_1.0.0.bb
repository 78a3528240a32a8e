# UNTRIED: written from the Yocto Project's manuals; no build with bitbake was made.
#
# Fetches what is committed in the checkout that this layer lies in; name another place in TLDEVICE_REPOSITORY.
# The command needs cli11 and nlohmann-json, from meta-openembedded's meta-oe.
SUMMARY = "Device identity, update-manager paths and process supervision on embedded Linux"
DESCRIPTION = "Tells on-device software which device it runs on, what its properties are and where the update \
manager's files lie, and watches one child program with a time-out.  With a command that asks the same from a shell."
SECTION = "libs"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=8f8eea5cd45b89e0096f398261a2d3d3"

DEPENDS = "boost"

TLDEVICE_REPOSITORY ?= "git://${@os.path.normpath(os.path.join(d.getVar('THISDIR'), '../../../..'))};protocol=file"
SRC_URI = "${TLDEVICE_REPOSITORY};nobranch=1;name=tldevice file://run-ptest"
SRCREV_tldevice = "${AUTOREV}"

# The tests are built for the target together with GoogleTest: from its sources, not from a library.
GTEST_URI = "git://github.com/google/googletest.git;protocol=https;nobranch=1;tag=release-1.12.1;name=gtest;destsuffix=googletest"
SRC_URI += "${@bb.utils.contains('PTEST_ENABLED', '1', '${GTEST_URI}', '', d)}"
SRCREV_FORMAT = "tldevice"

S = "${WORKDIR}/git"

inherit cmake ptest

PACKAGECONFIG ??= "command"
PACKAGECONFIG[command] = "-DTLDEVICE_BUILD_TOOLS=ON,-DTLDEVICE_BUILD_TOOLS=OFF,cli11 nlohmann-json"
# The platform's own libtlshared.so in place of the bundled one.  Name the recipe that brings it in TLDEVICE_SUPPORT.
PACKAGECONFIG[platform] = "-DTLDEVICE_SUPPORT_PREFIX=${STAGING_DIR_HOST}${prefix},,${TLDEVICE_SUPPORT}"
TLDEVICE_SUPPORT ??= ""

# Test programs cannot run where they are built, so they are not asked for their tests there; and they find the programs
# that they supervise where do_install_ptest puts them.
EXTRA_OECMAKE = "\
    -DTLDEVICE_BUILD_EXAMPLES=OFF \
    ${@bb.utils.contains('PTEST_ENABLED', '1', '-DTLDEVICE_BUILD_TESTS=ON', '-DTLDEVICE_BUILD_TESTS=OFF', d)} \
    -DTLDEVICE_CHILDREN_DIRECTORY=${PTEST_PATH}/children \
    -DGTEST_SOURCE_DIR=${WORKDIR}/googletest \
    -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST \
    -DCMAKE_SKIP_RPATH=ON \
"

# Programs replace libc functions under the library, in tests above all; fortified code calls other names.
lcl_maybe_fortify = ""

do_install_ptest() {
    install -d ${D}${PTEST_PATH}/tests ${D}${PTEST_PATH}/children
    install -m 0755 ${B}/tests/*/*_test ${D}${PTEST_PATH}/tests
    find ${B}/tests/children -maxdepth 1 -type f -perm -100 -exec install -m 0755 {} ${D}${PTEST_PATH}/children \;
}

# The command is in a package of its own: what links the library need not bring it along.
PACKAGE_BEFORE_PN = "${PN}-command"
FILES:${PN}-command = "${bindir}/tldevice ${datadir}/bash-completion ${datadir}/zsh ${datadir}/fish"
RDEPENDS:${PN}-command = "${PN}"
FILES:${PN} = "${libdir}/lib*.so.*"
FILES:${PN}-dev += "${libdir}/cmake ${libdir}/pkgconfig"
