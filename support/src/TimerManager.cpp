#include "tlshared/TimerManager.h"

#include <time.h>

#include <algorithm>
#include <new>
#include <utility>

namespace {

constexpr unsigned int MILLISECONDS = 1;
constexpr unsigned int SECONDS = 2;
constexpr std::int64_t NS_PER_MS = 1000000;
constexpr std::int64_t NS_PER_S = 1000000000;

constexpr std::size_t MIN_CAPACITY = 16;  // shrinking smaller tables is not worth it
constexpr std::size_t MAX_TIMERS = 1U << 22;

std::int64_t monotonicNow()
{
    timespec now{};
    (void)::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * NS_PER_S + now.tv_nsec;
}

// These keep the two tables in step: ids_ knows each timer's place in the queue, and queue_ each
// id's cell.
auto tell(TimerIds& ids)
{
    return [&ids](std::uint32_t cell, std::uint32_t place) { ids.setPlace(cell, place); };
}

auto tell(TimerQueue& queue)
{
    return [&queue](std::uint32_t place, std::uint32_t cell) { queue.setCell(place, cell); };
}

}  // namespace

CTimerManager::CTimerManager() = default;

CTimerManager::~CTimerManager() = default;

unsigned long CTimerManager::AddTimer(unsigned int duration, unsigned int unit,
                                      ITimerManagerCallback* callback)
{
    if ((unit != MILLISECONDS && unit != SECONDS) || callback == nullptr)
        return 0;
    if (!queue_.hasGap())
        makeRoom();
    // There is room: nothing can fail from here on.

    const std::int64_t length = duration * (unit == SECONDS ? NS_PER_S : NS_PER_MS);
    const std::uint64_t registration = ids_.takeRegistration();
    const std::uint32_t id = TimerIds::idOf(registration);
    queue_.fillGap({monotonicNow() + length, registration, callback, ids_.enter(id)}, tell(ids_));
    return id;
}

void CTimerManager::KillTimer(unsigned long& idTimer)
{
    const auto id = static_cast<std::uint32_t>(idTimer);
    if (id != idTimer)
        return;
    const std::uint32_t cell = ids_.find(id);
    if (cell != TimerIds::NO_CELL)
        forget(cell);
}

void CTimerManager::Process()
{
    queue_.closeGap(tell(ids_));
    if (queue_.size() == 0)
        return;

    // Timers added by callbacks have later numbers and wait for the next call.  They cannot hide a
    // timer that is due now: their deadlines are no earlier, and they sort after equal ones.
    const std::int64_t now = monotonicNow();
    const std::uint64_t firstOfNextPass = ids_.nextRegistration();

    while (queue_.size() > 0 && queue_.front().deadline <= now &&
           queue_.front().registration < firstOfNextPass) {
        const TimerQueue::Timer due = queue_.front();
        forget(due.cell);
        due.callback->OnTimerExpired(TimerIds::idOf(due.registration), 0);
        queue_.closeGap(tell(ids_));
    }
}

void CTimerManager::forget(std::uint32_t cell)
{
    queue_.closeGap(tell(ids_));
    queue_.openGap(ids_.place(cell));
    ids_.remove(cell, tell(queue_));
    giveMemoryBack();
}

// Makes room for one more timer.
void CTimerManager::makeRoom()
{
    if (queue_.size() == MAX_TIMERS)
        throw std::bad_alloc();
    if (queue_.size() == ids_.capacity())
        setCapacity(std::max(2 * queue_.size(), MIN_CAPACITY));
    queue_.appendGap();
}

// Out of memory, nothing is changed.
void CTimerManager::setCapacity(std::size_t capacity)
{
    TimerQueue queue(queue_, capacity);
    ids_.setCapacity(capacity, tell(queue));
    queue_ = std::move(queue);
}

// Halves tables that are three quarters empty, so the cost of moving is spread over the removed
// timers.  If there is no memory for the smaller tables, the next removal tries again.
void CTimerManager::giveMemoryBack()
{
    if (ids_.capacity() <= MIN_CAPACITY || queue_.size() > ids_.capacity() / 4)
        return;
    queue_.closeGap(tell(ids_));
    try {
        setCapacity(ids_.capacity() / 2);
    } catch (const std::bad_alloc&) {
    }
}

template <>
CTimerManager& SimpleSingleton<CTimerManager>::Instance()
{
    // Lives in storage of its own, so that an empty manager, without memory, can replace it at
    // process exit.
    alignas(CTimerManager) static unsigned char storage[sizeof(CTimerManager)];
    struct Process {
        Process() { new (storage) CTimerManager; }
        ~Process()
        {
            std::launder(static_cast<CTimerManager*>(static_cast<void*>(storage)))
                ->~CTimerManager();
            new (storage) CTimerManager;
        }
    };
    static const Process process;
    return *std::launder(static_cast<CTimerManager*>(static_cast<void*>(storage)));
}
