// What does it cost to start a program and notice its end?
//
// BENCH_PARENT_MB=N gives the starting program N megabytes, because a fork copies its page tables.

#include <sys/mman.h>
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <cstring>

#include "columns.h"
#include "launchPeers.h"
#include "tl/Utilities.h"
#include "tlshared/System.h"

namespace {

const std::string CHILD = BENCH_CHILD;

double seconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

// CPU time of this process and its reaped children, so that a launch includes the end of its child.
double cpuSeconds()
{
    double sum = 0;
    for (const int whose : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        ::getrusage(static_cast<__rusage_who>(whose), &usage);
        sum += seconds(usage.ru_utime) + seconds(usage.ru_stime);
    }
    return sum;
}

double ownCpu()
{
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double wallSeconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// The tenth percentile of the wall times: launches that nothing else delayed.
bench::Sample sampleOf(int launches, const std::function<void()>& launch)
{
    std::vector<double> walls;
    const double cpu = cpuSeconds();
    for (int i = 0; i < launches; ++i) {
        const double began = wallSeconds();
        launch();
        walls.push_back(wallSeconds() - began);
    }
    const double used = (cpuSeconds() - cpu) / launches;
    std::sort(walls.begin(), walls.end());
    return {used, {{"wall_p10", walls[walls.size() / 10] * 1e9}}};
}

void add(const std::string& question, const std::string& name, int launches,
         const std::function<int()>& launch)
{
    if (launch() != 0)
        bench::fail(question + ": " + name + " could not start the program");
    bench::columns().push_back(
        {question, name, {}, [=] { return sampleOf(launches, [&] { (void)launch(); }); }});
}

int parentMegabytes()
{
    const char* text = std::getenv("BENCH_PARENT_MB");
    return text != nullptr ? stringToInt(text) : 10;
}

// In pages of the usual size, all written to.
void use(int megabytes)
{
    const auto length = static_cast<std::size_t>(megabytes) << 20;
    void* memory =
        ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        bench::fail("no memory for the parent");
    ::madvise(memory, length, MADV_NOHUGEPAGE);
    std::memset(memory, 1, length);
}

void askForLaunches(const std::string& size, int launches)
{
    const std::string question = "launch/" + size;
    const auto column = [&](const char* name, int (*launch)(const std::string&)) {
        add(question, name, launches, [launch] { return launch(CHILD); });
    };
    column("tldevice", launchOwn);
    column("bare-fork", launchBare);
    column("posix_spawn", launchSpawn);
#ifdef BENCH_BOOST_PROCESS
    column("Boost.Process", launchBoost);
#endif
#ifdef BENCH_GLIB
    column("GSubprocess", launchGlib);
#endif
#ifdef BENCH_QT
    column("QProcess", launchQt);
#endif
#ifdef BENCH_POCO
    column("Poco", launchPoco);
#endif
#ifdef BENCH_UV
    column("libuv", launchUv);  // last: from here on a signal handler runs at each child's end
#endif
}

void askForSystem(const std::string& size, int launches)
{
    static const std::string COMMAND = "exec " + CHILD + " >/dev/null";
    add("system/" + size, "tldevice", launches, [] { return tl::system(COMMAND.c_str()); });
    add("system/" + size, "system(3)", launches, [] { return std::system(COMMAND.c_str()); });
}

// Waits for a child that lives for 200 ms and measures only the waiting process.  A first look
// before the clock starts takes the page faults that follow a fork.
bench::Sample ownWait()
{
    tl::WatchProcess process;
    const std::vector<std::string> arguments = {"sleep", "0.2"};
    if (process.startProcess("/bin/sleep", arguments, 60) != 0)
        bench::fail("wait: no sleep(1)");
    process.poll();
    const double cpu = ownCpu();
    process.wait();
    return {ownCpu() - cpu};
}

bench::Sample plainWait()
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::execl("/bin/sleep", "sleep", "0.2", nullptr);
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(pid, &status, WNOHANG);
    const double cpu = ownCpu();
    while (::waitpid(pid, &status, WNOHANG) == 0)
        ::usleep(10000);
    return {ownCpu() - cpu};
}

const bool ASKED = [] {
    const int megabytes = parentMegabytes();
    use(megabytes);
    const int launches = megabytes > 1000 ? 2 : megabytes > 100 ? 4 : 10;  // in a sample
    const std::string size = std::to_string(megabytes) + "MB";
    askForSystem(size, launches);
    if (megabytes <= 10) {
        bench::columns().push_back({"wait", "tldevice", {}, ownWait});
        bench::columns().push_back({"wait", "poll-and-usleep", {}, plainWait});
    }
    askForLaunches(size, launches);
    return true;
}();

}  // namespace
