// soak CHILDREN TIMERS: starts, polls and reaps that many children, one after the other, with every
// kind of ending, and adds, kills and fires that many timers.  Prints ten samples of what must not
// grow, tab-separated; exits with 1 if anything grew.

#include <dirent.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "tl/Utilities.h"
#include "tl/WatchProcess.h"

namespace {

struct Ending {
    const char* program;
    const char* script;
    bool killIt;
    int started;
    tl::WatchProcessState_t state;
    int exitStatus;
    int signal;
};

constexpr int NO_SIGNAL = 0;

// clang-format off
constexpr Ending ENDINGS[] = {
//    program        script             kill   start  end                exit status  signal
    { "/bin/sh",     "exit 0",          false, 0,     tl::WP_FINISHED,             0, NO_SIGNAL },
    { "/bin/sh",     "echo 1; exit 3",  false, 0,     tl::WP_FINISHED,             3, NO_SIGNAL },
    { "/bin/sh",     "kill -TERM $$",   false, 0,     tl::WP_FINISHED,             0, SIGTERM   },
    { "/bin/sh",     "kill -USR1 $$",   false, 0,     tl::WP_SIGNAL,               0, SIGUSR1   },
    { "/bin/sh",     "exec sleep 1000", true,  0,     tl::WP_SIGNAL,               0, SIGKILL   },
    { "/tmp",        "",                false, 0,     tl::WP_FINISHED,           255, NO_SIGNAL },
    { "/no/such",    "",                false, 1,     tl::WP_NOT_STARTED,          0, NO_SIGNAL },
};
// clang-format on

struct Sample {
    long done;
    long descriptors;
    long residentKiB;
    long children;
    long logs;
};

long entriesOf(const char* directory, const char* prefix)
{
    long count = 0;
    DIR* const entries = ::opendir(directory);
    while (const dirent* entry = ::readdir(entries))
        count += std::strncmp(entry->d_name, prefix, std::strlen(prefix)) == 0 ? 1 : 0;
    ::closedir(entries);
    return count;
}

long residentKiB()
{
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * ::sysconf(_SC_PAGESIZE) / 1024;
}

// Counts only this program's own output files, by their names.
std::set<std::string> logsSeen;

Sample sample(long done)
{
    long logs = 0;
    for (const std::string& log : logsSeen)
        logs += ::access(log.c_str(), F_OK) == 0 ? 1 : 0;
    logsSeen.clear();
    const bool childless = ::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
    return {done, entriesOf("/proc/self/fd", ""), residentKiB(), childless ? 0 : 1, logs};
}

void fail(const std::string& what)
{
    std::fprintf(stderr, "soak: %s\n", what.c_str());
    std::exit(1);
}

void runOnce(tl::WatchProcess& job, const Ending& ending)
{
    const std::vector<std::string> args = {"sh", "-c", ending.script};
    if (job.startProcess(ending.program, args, 0) != ending.started)
        fail(std::string("wrong result of a start: ") + ending.program);
    logsSeen.insert(job.logFile());
    if (ending.killIt)
        job.kill();

    tl::WatchProcessState_t state = job.poll();
    while (state == tl::WP_EXECUTING || state == tl::WP_TIMED_OUT_SIGKILL_SENT) {
        tluSleep(200);
        state = job.poll();
    }
    if (state != ending.state || job.exitStatus() != ending.exitStatus ||
        job.signal() != ending.signal)
        fail(std::string("wrong end of: ") + ending.program + " " + ending.script);
    job.wait();
}

struct Counter final : ITimerManagerCallback {
    void OnTimerExpired(unsigned long, long) override { ++fired; }
    long fired = 0;
};

void runTimers(long count)
{
    CTimerManager& manager = SimpleSingleton<CTimerManager>::Instance();
    Counter counter;
    std::vector<unsigned long> killed;
    long expected = 0;
    for (long i = 0; i < count; ++i) {
        const bool dies = i % 3 == 0;
        const unsigned long id = manager.AddTimer(dies ? 1000 : 0, 2, &counter);
        if (dies)
            killed.push_back(id);
        else
            ++expected;
    }
    for (unsigned long& id : killed)
        manager.KillTimer(id);
    manager.Process();
    if (counter.fired != expected)
        fail("a timer did not fire, or one that was killed did");
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        fail("usage: soak CHILDREN TIMERS");
    const long children = std::atol(argv[1]);
    const long timers = std::atol(argv[2]);
    constexpr int SAMPLES = 10;
    (void)!std::freopen("/dev/null", "w",
                        stderr);  // discards the reports of intended failures

    tl::WatchProcess job;
    std::vector<Sample> samples;
    std::printf("children\tdescriptors\tresident KiB\tunreaped\tlog files\n");
    for (int part = 0; part <= SAMPLES; ++part) {
        for (long i = children * (part - 1) / SAMPLES; part > 0 && i < children * part / SAMPLES;
             ++i)
            runOnce(job, ENDINGS[static_cast<std::size_t>(i) % std::size(ENDINGS)]);
        if (part == 0)
            for (const Ending& ending : ENDINGS)
                runOnce(job,
                        ending);  // creates what is created on first use, before the first sample
        runTimers(timers / (SAMPLES + 1));
        job.deleteLog();
        samples.push_back(sample(children * part / SAMPLES));
        const Sample& now = samples.back();
        std::printf("%ld\t%ld\t%ld\t%ld\t%ld\n", now.done, now.descriptors, now.residentKiB,
                    now.children, now.logs);
        std::fflush(stdout);
    }

    // The resident size settles in the first part; then it may vary only by a few pages of
    // malloc().
    constexpr long SLACK_KIB = 256;
    const Sample& early = samples[1];
    for (const Sample& now : samples) {
        if (now.descriptors != early.descriptors || now.children != 0 || now.logs != 0)
            return 1;
        if (now.done > early.done && now.residentKiB > early.residentKiB + SLACK_KIB)
            return 1;
    }
    return 0;
}
