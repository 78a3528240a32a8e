// Functions that, according to the headers, any thread may call: results are the same as on a
// single thread, and ThreadSanitizer reports nothing.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <tl/DeviceProperties.h>
#include <tl/DeviceType.h>
#include <tl/Facade.h>
#include <tl/Utilities.h>
#include <tl/WatchProcess.h>
#include <tlshared/AssertWrite.h>
#include <tlshared/LogX.h>
#include <tlshared/System.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "AtOnce.h"
#include "TemporaryDirectory.h"
#include "deviceTypes.h"

namespace {

constexpr unsigned THREADS = 4;
constexpr int ROUNDS = 200;

/// Counts on any thread; GoogleTest's own checks are only for the test's thread.
class Wrong {
public:
    void unless(bool held) { count_ += held ? 0 : 1; }
    int count() const { return count_; }

private:
    std::atomic<int> count_{0};
};

}  // namespace

TEST(LookUps, OfTheCatalogueMayRunOnAnyThread)
{
    Wrong wrong;

    atOnce(THREADS, [&](unsigned) {
        for (int round = 0; round < ROUNDS / 10; ++round) {
            for (const DeviceTypeRow& row : deviceTypes()) {
                wrong.unless(tl::DeviceType::toString(row.type) == row.id);
                wrong.unless(tl::DeviceType::toEnum(row.id) == row.type);
                wrong.unless(tl::DeviceType::find(row.id) == row.type);
                wrong.unless(tl::DeviceType::toServerName(row.type) == row.serverName);
            }
            wrong.unless(tl::DeviceType::toString(DT_KR20) == "kr20");
        }
    });

    EXPECT_EQ(0, wrong.count());
}

TEST(LookUps, OfAPrefixInTheTableMayRunOnAnyThread)
{
    Wrong wrong;

    atOnce(THREADS, [&](unsigned) {
        for (int round = 0; round < ROUNDS; ++round)
            wrong.unless(tl::DeviceType::toUuid(DT_DSX) == "tl:tollan_dsx_doorstation-");
    });

    EXPECT_EQ(0, wrong.count());
}

TEST(LookUps, OfPropertiesMayRunOnAnyThread)
{
    Wrong wrong;

    atOnce(THREADS, [&](unsigned) {
        for (int round = 0; round < ROUNDS; ++round) {
            const tl::DeviceProperties* quill = tl::DevicePropertiesMap::instance().get(DT_KR20);
            wrong.unless(quill->isPlatformMatch("quill"));
            wrong.unless(quill->isUpdateManagerMatch("kr20"));
        }
        wrong.unless(tl::DevicePropertiesMap::instance().get(DT_IRX) == nullptr);  // logs
    });

    EXPECT_EQ(0, wrong.count());
}

TEST(LookUps, OfPathsMayRunOnAnyThread)
{
    Wrong wrong;

    atOnce(THREADS, [&](unsigned) {
        const tl::Facade& facade = tl::Facade::instance();
        for (int round = 0; round < ROUNDS; ++round) {
            wrong.unless(facade.packagesDir() == "/packages/");
            wrong.unless(tl::Facade::dirName(facade.umStateFile()) == "/etc");
        }
    });

    EXPECT_EQ(0, wrong.count());
}

TEST(LookUps, OfTheKernelsClassMayRunOnAnyThread)
{
    const int kernel = getKernelVersion();
    Wrong wrong;

    atOnce(THREADS, [&](unsigned) {
        for (int round = 0; round < ROUNDS; ++round)
            wrong.unless(getKernelVersion() == kernel);
    });

    EXPECT_EQ(0, wrong.count());
}

TEST(Conversions, MayRunOnAnyThread)
{
    Wrong wrong;

    atOnce(THREADS, [&](unsigned) {
        for (int round = 0; round < ROUNDS; ++round) {
            std::string digits;
            itoax(0xBEEF, digits);
            std::string id = "abc";
            createGUIDString(id);
            std::vector<std::string> pieces;

            wrong.unless(digits == "beef" && wtoax(10) == "000a");
            wrong.unless(axtoi("1f", 2) == 31 && stringToInt("42") == 42);
            wrong.unless(intToString(-round) == std::to_string(-round));
            wrong.unless(getStringField("  ab   cd ", 1) == "cd");
            wrong.unless(getHexField("n=0x1f-9", 1) == "1f");
            wrong.unless(id == "0000000000000abc");
            wrong.unless(StringUtils::SplitString("a,b,c", ",", pieces) == 2);
        }
    });

    EXPECT_EQ(0, wrong.count());
}

TEST(Operations, OnFilesAndCommandsMayRunOnAnyThread)
{
    const TemporaryDirectory directory;
    Wrong wrong;

    atOnce(THREADS, [&](unsigned thread) {
        const tl::Facade& facade = tl::Facade::instance();
        const std::string below = directory.path() + "shared/" + std::to_string(thread) + "/";
        const std::string file = below + "file";

        // If another thread creates the common part in between, that counts as a failure.
        while (tl::Facade::makeFullPath(below) != 0)
            wrong.unless(errno == EEXIST);
        wrong.unless(facade.rawSystem("echo " + std::to_string(thread) + " >" + file, "t") == 0);
        wrong.unless(contentOf(file) == std::to_string(thread) + "\n");
        wrong.unless(facade.chmodX(file, "t") == 0);
        wrong.unless(facade.unlink(file, "t") == 0);
        wrong.unless(facade.unlink(file, "t") == -1);  // logs
        wrong.unless(WEXITSTATUS(tl::system("exit 3")) == 3);
    });

    EXPECT_EQ(0, wrong.count());
}

TEST(Logging, MayRunOnAnyThread)
{
    Wrong wrong;

    atOnce(THREADS, [&](unsigned thread) {
        for (int round = 0; round < 20; ++round) {
            errno = static_cast<int>(thread) + 1;
            LogXMessage(7, "thread %u", thread);
            LogXMessage(7, std::string("thread"));
            tl::AssertWrite("file.cpp", 1, tl::StackTrace());
            wrong.unless(errno == static_cast<int>(thread) + 1);
        }
    });

    EXPECT_EQ(0, wrong.count());
}

// Objects of different threads share only the timer manager, which has no lock: hence no time-outs
// and no wait().
TEST(WatchProcesses, WithoutTimeOutsMayRunOnAThreadEach)
{
    Wrong wrong;

    atOnce(THREADS, [&](unsigned thread) {
        tl::WatchProcess job;
        const std::string word = std::to_string(thread);
        wrong.unless(job.startProcess("/bin/echo " + word, 0) == 0);

        tl::WatchProcessState_t state = tl::WP_EXECUTING;
        while (state == tl::WP_EXECUTING) {
            tluSleep(1000);
            state = job.poll();
        }

        wrong.unless(state == tl::WP_FINISHED && job.exitStatus() == 0);
        wrong.unless(contentOf(job.logFile()) == word + "\n");
    });

    EXPECT_EQ(0, wrong.count());
}
