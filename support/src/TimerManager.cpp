#include "tlshared/TimerManager.h"

#include <time.h>

#include <algorithm>
#include <new>

namespace {

constexpr unsigned int MILLISECONDS = 1;
constexpr unsigned int SECONDS = 2;
constexpr std::int64_t NS_PER_MS = 1000000;
constexpr std::int64_t NS_PER_S = 1000000000;

constexpr std::uint32_t ARITY = 4;
constexpr std::uint32_t NO_GAP = 0xFFFFFFFF;
constexpr std::uint32_t EMPTY = 0;  // the id of a cell without a timer
constexpr std::uint32_t LAST_ID = 0xFFFFFFFF;
constexpr std::uint32_t NEIGHBOURS = 8;   // ids in a row, which lie in one cache line of cells
constexpr std::size_t MIN_CAPACITY = 16;  // smaller tables are not worth giving back
constexpr std::size_t MAX_TIMERS = 1U << 22;

// Ids have 32 bits on every machine: as many as an unsigned long has on the smallest.
std::uint32_t idOf(std::uint64_t registration)
{
    return static_cast<std::uint32_t>(registration);
}

std::int64_t monotonicNow()
{
    timespec now{};
    (void)::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * NS_PER_S + now.tv_nsec;
}

}  // namespace

CTimerManager::CTimerManager() : gap_(NO_GAP), nextRegistration_(1) {}

CTimerManager::~CTimerManager() = default;

unsigned long CTimerManager::AddTimer(unsigned int duration, unsigned int unit,
                                      ITimerManagerCallback* callback)
{
    if ((unit != MILLISECONDS && unit != SECONDS) || callback == nullptr)
        return 0;
    if (gap_ == NO_GAP)
        appendGap();
    // There is room: from here on nothing fails.

    const std::int64_t length = duration * (unit == SECONDS ? NS_PER_S : NS_PER_MS);
    const std::uint64_t registration = takeRegistration();
    const std::uint32_t cell = findCell(idOf(registration));
    cells_[cell].id = idOf(registration);
    fillGap(Timer{monotonicNow() + length, registration, callback, cell});
    return idOf(registration);
}

void CTimerManager::KillTimer(unsigned long& idTimer)
{
    const auto id = static_cast<std::uint32_t>(idTimer);
    if (cells_.empty() || id == EMPTY || id != idTimer)
        return;
    const std::uint32_t cell = findCell(id);
    if (cells_[cell].id != EMPTY)
        forget(cell);
}

void CTimerManager::Process()
{
    closeGap();
    if (heap_.empty())
        return;

    // What is added from here on carries a later number and is left for the next call.  It cannot
    // hide anything that is due now: its deadline is no earlier, and among equal deadlines it is
    // the last.
    const std::int64_t now = monotonicNow();
    const std::uint64_t firstOfNextPass = nextRegistration_;

    while (!heap_.empty() && heap_[0].deadline <= now && heap_[0].registration < firstOfNextPass) {
        const Timer due = heap_[0];
        forget(due.cell);
        due.callback->OnTimerExpired(idOf(due.registration), 0);
        closeGap();
    }
}

bool CTimerManager::firesBefore(const Timer& a, const Timer& b)
{
    return a.deadline != b.deadline ? a.deadline < b.deadline : a.registration < b.registration;
}

void CTimerManager::place(std::uint32_t index, const Timer& timer)
{
    heap_[index] = timer;
    cells_[timer.cell].index = index;
}

// Both sifts move a hole through the heap and put `timer`, a copy, in where the hole comes to rest.
void CTimerManager::siftUp(std::uint32_t index, const Timer& timer)
{
    while (index > 0) {
        const std::uint32_t parent = (index - 1) / ARITY;
        if (!firesBefore(timer, heap_[parent]))
            break;
        place(index, heap_[parent]);
        index = parent;
    }
    place(index, timer);
}

void CTimerManager::siftDown(std::uint32_t index, const Timer& timer)
{
    const auto size = static_cast<std::uint32_t>(heap_.size());
    for (;;) {
        const std::uint32_t first = ARITY * index + 1;
        if (first >= size)
            break;
        const std::uint32_t last = std::min(first + ARITY, size);
        std::uint32_t earliest = first;
        for (std::uint32_t child = first + 1; child < last; ++child)
            if (firesBefore(heap_[child], heap_[earliest]))
                earliest = child;
        if (!firesBefore(heap_[earliest], timer))
            break;
        place(index, heap_[earliest]);
        index = earliest;
    }
    place(index, timer);
}

// A timer that goes leaves a gap in the heap, open until the next call: mostly a timer is killed or
// fires to be started again, and then the new one fills the gap.  Else the last timer does.
void CTimerManager::fillGap(const Timer& timer)
{
    const std::uint32_t index = gap_;
    gap_ = NO_GAP;
    if (index > 0 && firesBefore(timer, heap_[(index - 1) / ARITY]))
        siftUp(index, timer);
    else
        siftDown(index, timer);
}

void CTimerManager::closeGap()
{
    if (gap_ == NO_GAP)
        return;
    const Timer last = heap_.back();
    heap_.pop_back();
    if (gap_ < heap_.size())
        fillGap(last);
    gap_ = NO_GAP;
}

void CTimerManager::appendGap()
{
    if (heap_.size() == MAX_TIMERS)
        throw std::bad_alloc();
    if (2 * heap_.size() == cells_.size())
        resize(std::max(2 * heap_.size(), MIN_CAPACITY));
    gap_ = static_cast<std::uint32_t>(heap_.size());
    heap_.emplace_back();
}

// Where the search for an id begins.  Ids are running numbers.  The multiplication, by 2 to the
// power 32 over the golden ratio, scatters them, so that those which still wait do not stand in the
// way of their successors.
std::uint32_t CTimerManager::homeOf(std::uint32_t id) const
{
    const std::uint32_t scattered = id / NEIGHBOURS * 0x9E3779B9U;
    const std::uint64_t groups = cells_.size() / NEIGHBOURS;
    return static_cast<std::uint32_t>((scattered * groups) >> 32) * NEIGHBOURS + id % NEIGHBOURS;
}

std::uint32_t CTimerManager::nextCell(std::uint32_t cell) const
{
    return (cell + 1) & static_cast<std::uint32_t>(cells_.size() - 1);
}

// The cell of the waiting timer with this id, or the empty one that is its place.
std::uint32_t CTimerManager::findCell(std::uint32_t id) const
{
    std::uint32_t cell = homeOf(id);
    while (cells_[cell].id != EMPTY && cells_[cell].id != id)
        cell = nextCell(cell);
    return cell;
}

// Once the numbers have begun again, those of waiting timers are left out.
std::uint64_t CTimerManager::takeRegistration()
{
    const auto isTaken = [this](std::uint32_t id) {
        return id == EMPTY || (nextRegistration_ > LAST_ID && cells_[findCell(id)].id == id);
    };
    while (isTaken(idOf(nextRegistration_)))
        ++nextRegistration_;
    return nextRegistration_++;
}

// Empties the cell.  A search ends at the first empty cell, so those behind it that were put there
// because this one was taken move up.
void CTimerManager::vacate(std::uint32_t cell)
{
    const auto distance = [this](std::uint32_t from, std::uint32_t to) {
        return (to - from) & static_cast<std::uint32_t>(cells_.size() - 1);
    };
    for (std::uint32_t next = nextCell(cell); cells_[next].id != EMPTY; next = nextCell(next)) {
        if (distance(homeOf(cells_[next].id), next) < distance(cell, next))
            continue;
        cells_[cell] = cells_[next];
        heap_[cells_[cell].index].cell = cell;
        cell = next;
    }
    cells_[cell].id = EMPTY;
}

void CTimerManager::forget(std::uint32_t cell)
{
    closeGap();
    gap_ = cells_[cell].index;
    vacate(cell);
    giveMemoryBack();
}

// Moves everything into tables for `capacity` timers, a power of two.  Changes nothing where there
// is no memory.
void CTimerManager::resize(std::size_t capacity)
{
    std::vector<Timer> heap;
    heap.reserve(capacity);
    std::vector<Cell> cells(2 * capacity);

    heap.assign(heap_.begin(), heap_.end());
    heap_.swap(heap);
    cells_.swap(cells);
    for (std::uint32_t i = 0; i < heap_.size(); ++i) {
        const std::uint32_t id = idOf(heap_[i].registration);
        heap_[i].cell = findCell(id);
        cells_[heap_[i].cell] = Cell{id, i};
    }
}

// Tables that are three quarters empty are halved, so that the cost of moving is spread over the
// timers that went.  Where there is no memory for the smaller ones, the next timer that goes tries
// again.
void CTimerManager::giveMemoryBack()
{
    const std::size_t capacity = cells_.size() / 2;
    if (capacity <= MIN_CAPACITY || heap_.size() > capacity / 4)
        return;
    closeGap();
    try {
        resize(capacity / 2);
    } catch (const std::bad_alloc&) {
    }
}

template <>
CTimerManager& SimpleSingleton<CTimerManager>::Instance()
{
    // Lives in storage that belongs to no object, so that there is a manager, empty and without
    // memory, after this one's end too.
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
