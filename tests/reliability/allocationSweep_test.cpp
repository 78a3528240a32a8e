// Lets each allocation of every operation fail in turn, either once or with all that follow.  Only
// std::bad_alloc may be thrown, nothing may leak, and the objects involved must stay usable.
//
// Each case is a process of its own.  A first run without failures counts the allocations and how
// many blocks it leaves behind (caches, function-local statics): a run with failures must leave as
// many.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <sstream>

#include "TemporaryDirectory.h"
#include "deviceTypes.h"
#include "hooks.h"
#include "results.h"
#include "tl/DeviceProperties.h"
#include "tl/DeviceType.h"
#include "tl/Facade.h"
#include "tl/Utilities.h"
#include "tl/WatchProcess.h"
#include "tlshared/AssertWrite.h"

namespace {

const std::string EXITS_AT_ONCE = SWEEP_CHILDREN_DIR "/sweepTrue";

std::string theProblems;

void expect(bool holds, const std::string& what)
{
    if (!holds)
        theProblems += "  " + what + "\n";
}

/// An operation.  `prepare` creates its objects, outside of the sweep; `use` checks them
/// afterwards.
struct Case {
    virtual ~Case() = default;
    virtual void operate() = 0;
    virtual void use() { operate(); }
};

// ---- identification and properties

struct CatalogueIsBuilt : Case {
    void operate() override { tl::DeviceType fresh; }
};

void expectWholeCatalogue()
{
    for (const DeviceTypeRow& row : deviceTypes())
        expect(tl::DeviceType::toString(row.type) == row.id &&
                   tl::DeviceType::toEnum(row.id) == row.type,
               row.name + " is missing");
}

struct CatalogueIsFilledAgain : Case {
    void operate() override { tl::DeviceType::instance().initializeDeviceTypes(); }
    void use() override { expectWholeCatalogue(); }
};

struct LookUps : Case {
    void operate() override
    {
        (void)tl::DeviceType::find(
            "Linux controller-kr20v2 and a longer text than a short string holds");
        (void)tl::DeviceType::toEnum("partner-avr and a longer text than a short string holds");
        (void)tl::DeviceType::get();
        (void)getKernelVersion();
    }
};

struct IdentifierFile : Case {
    void operate() override { (void)tl::DeviceType::readUuidFromFile(path_); }
    void use() override
    {
        expect(tl::DeviceType::readUuidFromFile(path_) == std::string(100, 'x') + "-",
               "the file is not read");
    }

    TemporaryDirectory directory_;
    const std::string path_ = directory_.file("searchtype", std::string(100, 'x') + "\n");
};

struct PropertiesMapIsBuilt : Case {
    void operate() override { (void)tl::DevicePropertiesMap::instance(); }
    void use() override
    {
        for (const DeviceTypeRow& row : deviceTypes())
            if (hasRecord(row.type))
                expect(tl::DevicePropertiesMap::instance().get(row.type) != nullptr,
                       "the map lacks " + row.name);
    }
};

struct PropertiesMiss : Case {
    void operate() override { (void)tl::DevicePropertiesMap::instance().get(DT_IRX); }
};

struct PropertiesRecord : Case {
    void operate() override
    {
        tl::DeviceProperties record;
        record = *tl::DevicePropertiesMap::instance().get(DT_KR20);
        (void)record.hostname();
    }
};

// ---- paths and guarded operations

struct Paths : Case {
    void operate() override
    {
        (void)tl::Facade::dirName(directory_.path() + "a/path/that/is/longer/than/a/short/string");
        (void)tl::Facade::makeFullPath(directory_.path() +
                                       "a/path/that/is/longer/than/a/short/string");
    }
    TemporaryDirectory directory_;
};

struct GuardedFailures : Case {
    void operate() override
    {
        const tl::Facade& facade = tl::Facade::instance();
        (void)facade.unlink("/nowhere/a/path/that/is/longer/than/a/short/string", "upman");
        (void)facade.chmodX("/nowhere/a/path/that/is/longer/than/a/short/string", "upman");
    }
};

struct CommandFailure : Case {
    void operate() override { (void)tl::Facade::instance().rawSystem("exit 3", "upman"); }
};

struct SandboxCommands : Case {
    SandboxCommands() { tl::Facade::instance().debug(true); }
    ~SandboxCommands() override { tl::Facade::instance().debug(false); }
    void operate() override
    {
        (void)tl::Facade::instance().system("a command that is longer than a short string holds",
                                            "upman");
        (void)tl::Facade::instance().rawSystem("true", "upman");
    }
};

// ---- supervision

struct Supervision : Case {
    void operate() override
    {
        (void)job_.startProcess(EXITS_AT_ONCE, {EXITS_AT_ONCE, "argument"}, 1000);
    }

    void use() override
    {
        job_.kill();
        job_.wait();
        job_.clearState();
        expect(::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD, "a child was lost");
        expect(job_.startProcess(EXITS_AT_ONCE, 1000) == 0, "the next start fails");
        siginfo_t end{};
        ::waitid(P_ALL, 0, &end, WEXITED | WNOWAIT);
        expect(job_.poll() == tl::WP_FINISHED && job_.exitStatus() == 0,
               "the next child does not end well");
        job_.clearState();
    }

    tl::WatchProcess job_;
};

struct StartOfNothing : Supervision {
    void operate() override
    {
        (void)job_.startProcess("", 5);
        (void)job_.startProcess("/nowhere/a/path/that/is/longer/than/a/short/string", 5);
    }
};

/// The child cannot execute a directory, and must report that.
struct StartOfADirectory : Supervision {
    void operate() override
    {
        (void)job_.startProcess("/tmp", {"/tmp", "a longer argument than a short string holds"},
                                1000);
        siginfo_t end{};
        ::waitid(P_ALL, 0, &end, WEXITED | WNOWAIT);
        if (job_.poll() == tl::WP_FINISHED)
            expect(job_.exitStatus() == 255, "the child did not end with 255");
        else
            expect(false, "the child did not end through exit()");
    }
};

struct RefusedStart : Supervision {
    RefusedStart() { (void)job_.startProcess(EXITS_AT_ONCE, {EXITS_AT_ONCE}, 1000); }
    void operate() override
    {
        (void)job_.startProcess("/nowhere/a/path/that/is/longer/than/a/short/string", 5);
    }
};

struct PollAndWait : Supervision {
    PollAndWait() { (void)job_.startProcess(EXITS_AT_ONCE, {EXITS_AT_ONCE}, 1000); }
    void operate() override
    {
        (void)job_.poll();
        job_.wait();
    }
};

struct Splitting : Case {
    void operate() override
    {
        std::vector<std::string> words;
        (void)tl::WatchProcess::getArgsFromCommandString(
            "one two three a-word-that-is-longer-than-a-short-string 5 6 7", words);
    }
};

// ---- timers

struct Nobody final : ITimerManagerCallback {
    void OnTimerExpired(unsigned long, long) override { ++calls; }
    int calls = 0;
};

struct ManagerGrowsAndShrinks : Case {
    void operate() override
    {
        for (int i = 0; i < 600; ++i)
            ids_.push_back(manager_.AddTimer(1000, 2, &nobody_));
        killAll();
    }
    void use() override
    {
        killAll();
        const int before = nobody_.calls;
        unsigned long kept = manager_.AddTimer(0, 1, &nobody_);
        expect(kept != 0, "a timer is refused");
        manager_.Process();
        expect(nobody_.calls == before + 1, "a timer does not fire");
    }
    void killAll()
    {
        for (unsigned long& id : ids_)
            manager_.KillTimer(id);
        ids_.clear();
    }

    Nobody nobody_;
    CTimerManager manager_;
    std::vector<unsigned long> ids_;
};

struct TimerStarts : Case {
    void operate() override { timer_.startTimerSec(1000); }
    void use() override
    {
        timer_.startTimerSec(1000);
        expect(timer_.isTimerSet() && !timer_.isExpired(), "the timer does not start");
        timer_.clearTimer();
    }
    TlTimer timer_;
};

struct TimerStartsAgain : TimerStarts {
    TimerStartsAgain() { timer_.startTimerSec(0); }
    void use() override
    {
        expect(timer_.isTimerSet(), "a timer that had run out has forgotten that it was started");
        TimerStarts::use();
    }
};

struct Assertion : Case {
    void operate() override { tl::AssertWrite("file.cpp", 1, tl::StackTrace()); }
};

// ---- utilities

struct Conversions : Case {
    void operate() override
    {
        const std::string text =
            "a text, that, is, longer, than, a, short, string, holds, 0123456789abcdef0123";
        std::vector<std::string> pieces;
        std::string id = text;
        (void)stringToInt(text);
        (void)intToString(-2147483647);
        (void)wtoax(0xBEEF);
        (void)getStringField(text, 3);
        (void)getHexField(text, 3);
        (void)StringUtils::SplitString(text, ", ", pieces);
        (void)getNextPacketNumber();
        createGUIDString(id);
    }
};

struct Printing : Case {
    void operate() override
    {
        std::ostringstream stream;
        stream << tl::WP_TIMED_OUT_SIGKILL_SENT;
    }
};

// ---- the driver

struct Operation {
    const char* name;
    std::function<std::unique_ptr<Case>()> make;
};

template <class C>
Operation operation(const char* name)
{
    return {name, [] { return std::unique_ptr<Case>(new C); }};
}

const Operation OPERATIONS[] = {
    operation<CatalogueIsBuilt>("DeviceType"),
    operation<CatalogueIsFilledAgain>("initializeDeviceTypes"),
    operation<LookUps>("look_ups"),
    operation<IdentifierFile>("readUuidFromFile"),
    operation<PropertiesMapIsBuilt>("DevicePropertiesMap"),
    operation<PropertiesMiss>("properties_miss"),
    operation<PropertiesRecord>("DeviceProperties"),
    operation<Paths>("makeFullPath"),
    operation<GuardedFailures>("unlink_chmodX"),
    operation<CommandFailure>("rawSystem"),
    operation<SandboxCommands>("sandbox_commands"),
    operation<Supervision>("startProcess"),
    operation<StartOfNothing>("startProcess_missing"),
    operation<StartOfADirectory>("startProcess_not_a_program"),
    operation<RefusedStart>("startProcess_refused"),
    operation<PollAndWait>("poll_wait"),
    operation<Splitting>("getArgsFromCommandString"),
    operation<ManagerGrowsAndShrinks>("CTimerManager"),
    operation<TimerStarts>("TlTimer"),
    operation<TimerStartsAgain>("TlTimer_ran_out"),
    operation<Assertion>("AssertWrite"),
    operation<Conversions>("conversions"),
    operation<Printing>("printer"),
};

struct Report {
    long allocations;
    long blocksLeft;
    char problems[2000];
};

/// `failing`: number of the allocation to refuse, from 1; 0: none.
Report runCase(const Operation& operation, long failing, bool andAllAfter)
{
    Report report{};
    const long blocksBefore = hooks::blocksInUse;
    {
        const std::unique_ptr<Case> subject = operation.make();
        const long allocationsBefore = hooks::allocations;
        hooks::onlyOneFails = !andAllAfter;
        hooks::allocationsLeft = failing - 1;
        try {
            subject->operate();
        } catch (const std::bad_alloc&) {
        } catch (...) {
            hooks::allocationsLeft = hooks::UNLIMITED;
            expect(false, "something else than std::bad_alloc was thrown");
        }
        hooks::allocationsLeft = hooks::UNLIMITED;
        report.allocations = hooks::allocations - allocationsBefore;
        subject->use();
    }
    theProblems.shrink_to_fit();
    report.blocksLeft = hooks::blocksInUse - blocksBefore - (theProblems.capacity() > 15 ? 1 : 0);
    theProblems.copy(report.problems, sizeof report.problems - 1);
    return report;
}

Report reportOf(const Operation& operation, long failing, bool andAllAfter)
{
    int pipe[2];
    (void)!::pipe(pipe);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(pipe[0]);
        const Report report = runCase(operation, failing, andAllAfter);
        (void)!::write(pipe[1], &report, sizeof report);
        ::_exit(0);
    }
    ::close(pipe[1]);
    Report report{};
    if (::read(pipe[0], &report, sizeof report) != static_cast<ssize_t>(sizeof report))
        std::strcpy(report.problems, "  the process did not survive\n");
    ::close(pipe[0]);
    ::waitpid(pid, nullptr, 0);
    return report;
}

class AllocationSweep : public ::testing::TestWithParam<Operation> {};

TEST_P(AllocationSweep, LetsOnlyBadAllocOutAndLosesNothing)
{
    const Operation& operation = GetParam();
    const Report undisturbed = reportOf(operation, 0, false);
    ASSERT_STREQ("", undisturbed.problems);

    unsigned long tried = 0;
    for (long failing = 1; failing <= undisturbed.allocations; ++failing) {
        for (const bool andAllAfter : {false, true}) {
            const Report report = reportOf(operation, failing, andAllAfter);
            EXPECT_STREQ("", report.problems)
                << "allocation " << failing << (andAllAfter ? " and all after it" : "");
            EXPECT_EQ(undisturbed.blocksLeft, report.blocksLeft)
                << "allocation " << failing << (andAllAfter ? " and all after it" : "");
            ++tried;
        }
    }
    results::add("allocation sweep", operation.name,
                 {{"points", undisturbed.allocations}, {"failures injected", tried}});
}

INSTANTIATE_TEST_SUITE_P(, AllocationSweep, ::testing::ValuesIn(OPERATIONS),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
