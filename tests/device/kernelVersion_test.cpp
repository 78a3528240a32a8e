#include <gtest/gtest.h>

#include "KernelStrings.h"
#include "tl/DeviceType.h"

namespace {

struct Release {
    const char* text;
    int kernelClass;
};

// clang-format off
constexpr Release RELEASES[] = {
    { "2.6",           1 }, { "2.6.18",   1 }, { "2.6.32.9-rt", 1 }, { "2.60",     1 },
    { "3.",            1 }, { "3.0",      1 }, { "3.18.140+",   1 }, { "3.2.4.26", 1 },
    { "2.4",           2 }, { "2.4.37",   2 }, { "2.4x",        2 },
    { "",              0 }, { "2",        0 }, { "2.",          0 }, { "3",        0 },
    { "2.5.75",        0 }, { "2.2.26",   0 }, { "4.19.0",      0 }, { "6.1.0",    0 },
    { "4.2.6",         0 }, { "12.6",     0 }, { "33.1",        0 }, { "30",       0 },
    { " 2.6",          0 }, { "v3.0",     0 }, { "-2.4",        0 }, { "2,6",      0 },
};
// clang-format on

}  // namespace

const std::string* kernelVersionNamesOfAnotherFile()
{
    return kernelVersionNames;
}

TEST(GetKernelVersion, GoesByTheBeginningOfTheRelease)
{
    KernelStrings kernel;

    for (const Release& release : RELEASES) {
        kernel.release = release.text;
        EXPECT_EQ(release.kernelClass, getKernelVersion()) << '"' << release.text << '"';
    }
}

TEST(GetKernelVersion, LooksAtTheReleaseAlone)
{
    KernelStrings kernel;
    kernel.version = kernel.nodename = "2.4";
    kernel.release = "2.6";

    EXPECT_EQ(1, getKernelVersion());
}

TEST(GetKernelVersion, IsUnknownWhereTheKernelDoesNotAnswer)
{
    KernelStrings kernel;
    kernel.release = "2.6.32";
    kernel.error = EFAULT;

    EXPECT_EQ(0, getKernelVersion());
}

TEST(GetKernelVersion, AsksAtEveryCall)
{
    KernelStrings kernel;
    kernel.release = "2.6";
    EXPECT_EQ(1, getKernelVersion());

    kernel.release = "2.4";
    EXPECT_EQ(2, getKernelVersion());
}
