// What does a timer cost when many others wait?

#include <malloc.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <map>

#include "columns.h"
#include "timerPeers.h"

namespace {

constexpr unsigned int HOUR = 3600 * 1000;

double cpuSeconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

class Random {
public:
    std::uint32_t below(std::size_t limit)
    {
        state_ = state_ * 1664525U + 1013904223U;
        return static_cast<std::uint32_t>((std::uint64_t{state_} * limit) >> 32);
    }

private:
    std::uint32_t state_ = 12345;
};

// `count` timers wait for one to two hours; timer `count` is the one that comes and goes.
template <class Timers>
struct Waiting {
    explicit Waiting(std::size_t number) : count(number), timers(number + 1)
    {
        for (std::size_t i = 0; i < count; ++i)
            timers.start(i, HOUR + random.below(HOUR));
    }

    std::size_t count;
    Timers timers;
    Random random;
};

template <class Timers, class Step>
bench::Run runOf(std::size_t count, Step step)
{
    const auto waiting = std::make_shared<Waiting<Timers>>(count);
    return [waiting, step](std::uint64_t times) {
        for (; times > 0; --times)
            step(*waiting);
    };
}

// Its time-out is that of a random other timer.
template <class Timers>
bench::Run addAndCancel(std::size_t count)
{
    return runOf<Timers>(count, [](auto& waiting) {
        waiting.timers.start(waiting.count, HOUR + waiting.random.below(HOUR));
        waiting.timers.stop(waiting.count);
    });
}

// Its time-out is shorter than all others', like a guard around a short operation.
template <class Timers>
bench::Run addAndCancelEarliest(std::size_t count)
{
    return runOf<Timers>(count, [](auto& waiting) {
        waiting.timers.start(waiting.count, HOUR / 2 + waiting.random.below(HOUR / 4));
        waiting.timers.stop(waiting.count);
    });
}

template <class Timers>
bench::Run replace(std::size_t count)
{
    return runOf<Timers>(count, [](auto& waiting) {
        const std::size_t i = waiting.random.below(waiting.count);
        waiting.timers.stop(i);
        waiting.timers.start(i, HOUR + waiting.random.below(HOUR));
    });
}

bench::Run idle(std::size_t count)
{
    return runOf<OwnTimers>(count, [](auto& waiting) { waiting.timers.fire(); });
}

// All timers are added and, once all are due, fire in one go.  The wait in between is not counted.
// If there are few timers, many loops are measured.
template <class Timers>
bench::Sample addAndFire(std::size_t count)
{
    const std::size_t loops = count < 1000 ? 100 : 1;
    std::vector<std::unique_ptr<Timers>> all;
    for (std::size_t i = 0; i < loops; ++i)
        all.push_back(std::make_unique<Timers>(count));
    Random random;

    double seconds = -cpuSeconds();
    for (const auto& timers : all)
        for (std::size_t i = 0; i < count; ++i)
            timers->start(i, 1 + random.below(20));
    seconds += cpuSeconds();
    ::usleep(30000);
    seconds -= cpuSeconds();
    for (const auto& timers : all)
        timers->fire();
    seconds += cpuSeconds();

    for (const auto& timers : all)
        if (timers->fired != count)
            bench::fail("not all timers have fired");
    return {seconds / static_cast<double>(loops * count)};
}

std::size_t heapInUse()
{
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Bytes, not seconds.
template <class Timers>
bench::Sample memory(std::size_t count)
{
    const std::size_t before = heapInUse();
    const Waiting<Timers> waiting(count);
    const auto bytes = static_cast<double>(heapInUse() - before);
    return {1, {{"bytes", bytes / static_cast<double>(count)}}};
}

struct Peer {
    const char* name;
    std::map<std::string, bench::Run (*)(std::size_t)> runs;
    std::map<std::string, bench::Sample (*)(std::size_t)> samples;
};

template <class Timers>
Peer peer(const char* name)
{
    return {name,
            {{"timer-add-cancel", addAndCancel<Timers>},
             {"timer-add-cancel-earliest", addAndCancelEarliest<Timers>},
             {"timer-replace", replace<Timers>}},
            {{"timer-add-fire", addAndFire<Timers>}, {"timer-memory", memory<Timers>}}};
}

std::vector<Peer> peers()
{
    std::vector<Peer> all{peer<OwnTimers>("tldevice")};
#ifdef BENCH_UV
    all.push_back(peer<UvTimers>("libuv"));
    all.push_back(peer<UvTimersOfCachedTime>("libuv-cached-time"));
#endif
#ifdef BENCH_EVENT
    all.push_back(peer<EventTimers>("libevent"));
    all.push_back(peer<EventTimersOfCoarseClock>("libevent-coarse-clock"));
#endif
#ifdef BENCH_ASIO
    all.push_back(peer<AsioTimers>("Boost.Asio"));
#endif
#ifdef BENCH_GLIB
    all.push_back(peer<GlibTimers>("GLib"));
#endif
    return all;
}

// Checks that every column fires the same timers in the same order: three timers, the middle one
// stopped.
template <class Timers>
void check(const char* name)
{
    Timers timers(3);
    timers.start(0, 1);
    timers.start(1, 2);
    timers.start(2, HOUR);
    timers.stop(1);
    timers.fire();
    const std::size_t early = timers.fired;
    ::usleep(10000);
    timers.fire();
    if (early > 1 || timers.fired != 1)
        bench::fail(std::string(name) + " fires otherwise");
}

bench::Run readClock(std::size_t)
{
    return [](std::uint64_t times) {
        for (; times > 0; --times) {
            timespec now{};
            ::clock_gettime(CLOCK_MONOTONIC, &now);
            bench::keep(now);
        }
    };
}

const bool ASKED = [] {
    check<OwnTimers>("tldevice");
#ifdef BENCH_UV
    check<UvTimers>("libuv");
    check<UvTimersOfCachedTime>("libuv-cached-time");
#endif
#ifdef BENCH_EVENT
    check<EventTimers>("libevent");
#endif
#ifdef BENCH_ASIO
    check<AsioTimers>("Boost.Asio");
#endif
#ifdef BENCH_GLIB
    check<GlibTimers>("GLib");
#endif

    for (const std::size_t count : {10U, 1000U, 100000U, 1000000U}) {
        const std::string size = "/" + std::to_string(count);
        for (const Peer& peer : peers()) {
            for (const auto& [question, run] : peer.runs)
                bench::columns().push_back(
                    {question + size, peer.name, [run = run, count] { return run(count); }, {}});
            for (const auto& [question, sample] : peer.samples)
                bench::columns().push_back(
                    {question + size, peer.name, {}, [sample = sample, count] {
                         return sample(count);
                     }});
        }
        bench::columns().push_back(
            {"timer-idle" + size, "tldevice", [count] { return idle(count); }, {}});
        bench::columns().push_back(
            {"timer-idle" + size, "clock_gettime", [count] { return readClock(count); }, {}});
    }
    bench::columns().push_back({"timer-idle/0", "tldevice", [] { return idle(0); }, {}});
    bench::columns().push_back({"timer-idle/0", "clock_gettime", [] { return readClock(0); }, {}});
    return true;
}();

}  // namespace
