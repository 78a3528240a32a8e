#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

#include "VirtualClock.h"
#include "hooks.h"
#include "tlshared/TimerManager.h"

constexpr unsigned int MILLISECONDS = 1;
constexpr unsigned int SECONDS = 2;

constexpr std::int64_t MS = VirtualClock::MS;
/// From here on, numbers have no id of their own.
constexpr std::uint64_t NUMBERS = std::uint64_t{1} << 32;

/// Calls the function it was constructed with.
class Callback final : public ITimerManagerCallback {
public:
    explicit Callback(std::function<void(unsigned long id, long param)> action)
        : action_(std::move(action))
    {
    }
    void OnTimerExpired(unsigned long id, long param) override { action_(id, param); }

private:
    std::function<void(unsigned long, long)> action_;
};

using Ids = std::vector<unsigned long>;

/// A manager of the test's own, a virtual clock, and a callback that records what fires.
class TimerManagerTest : public ::testing::Test {
protected:
    unsigned long add(unsigned int milliseconds) { return add(milliseconds, recorder); }
    unsigned long add(unsigned int milliseconds, ITimerManagerCallback& callback)
    {
        return manager.AddTimer(milliseconds, MILLISECONDS, &callback);
    }
    void kill(unsigned long id) { manager.KillTimer(id); }

    /// The timers that the next Process() fires.
    Ids process()
    {
        fired.clear();
        manager.Process();
        return fired;
    }
    Ids processAfter(std::int64_t nanoseconds)
    {
        clock.now += nanoseconds;
        return process();
    }

    hooks::Reset reset;
    VirtualClock clock;
    CTimerManager manager;
    Ids fired;
    Callback recorder{[this](unsigned long id, long) { fired.push_back(id); }};
};

/// Skips ahead to this number: no test could wait until four thousand million ids are used up.
void continueNumbersAt(CTimerManager& manager, std::uint64_t next);
void continueNumbersAt(TimerIds& ids, std::uint64_t next);
