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
constexpr std::uint32_t FREE = 0;           // the id of a slot without a timer
constexpr std::uint32_t NONE = 0xFFFFFFFF;  // the end of the list of free slots
constexpr std::size_t KEPT_CAPACITY = 64;   // small tables are not worth giving back

// An id is the slot's number plus one, so that it is never 0, with a running count above it, so that an id that
// somebody kept too long is not soon taken for a new timer's.
constexpr unsigned int SLOT_BITS = 22;
constexpr std::uint32_t SLOT_MASK = (1U << SLOT_BITS) - 1;
constexpr std::uint32_t MAX_SLOTS = SLOT_MASK - 1;

std::int64_t monotonicNow()
{
    timespec now{};
    (void)::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * NS_PER_S + now.tv_nsec;
}

}  // namespace

CTimerManager::CTimerManager() : firstFree_(NONE), generation_(0), nextRegistration_(0) {}

CTimerManager::~CTimerManager() = default;

unsigned long CTimerManager::AddTimer(unsigned int duration, unsigned int unit,
                                      ITimerManagerCallback* callback)
{
    if ((unit != MILLISECONDS && unit != SECONDS) || callback == nullptr)
        return 0;

    // Room in the heap first: from the slot on nothing can fail any more.
    heap_.emplace_back();
    std::uint32_t slot = NONE;
    try {
        slot = takeSlot();
    } catch (...) {
        heap_.pop_back();
        throw;
    }

    slots_[slot].callback = callback;
    slots_[slot].id = (generation_++ << SLOT_BITS) | (slot + 1);

    const std::int64_t length = duration * (unit == SECONDS ? NS_PER_S : NS_PER_MS);
    siftUp(static_cast<std::uint32_t>(heap_.size() - 1),
           HeapEntry{monotonicNow() + length, nextRegistration_++, slot});
    return slots_[slot].id;
}

void CTimerManager::KillTimer(unsigned long& idTimer)
{
    const std::uint32_t slot = (static_cast<std::uint32_t>(idTimer) & SLOT_MASK) - 1;
    if (idTimer == FREE || slot >= slots_.size() || slots_[slot].id != idTimer)
        return;
    forget(slots_[slot].heapIndexOrNextFree);
}

void CTimerManager::Process()
{
    if (heap_.empty())
        return;

    // What is added from here on carries a later number and is left for the next call.  It cannot hide anything that is
    // due now: its deadline is no earlier, and among equal deadlines it is the last.
    const std::int64_t now = monotonicNow();
    const std::uint64_t firstOfNextPass = nextRegistration_;

    while (!heap_.empty() && heap_[0].deadline <= now && heap_[0].registration < firstOfNextPass) {
        const Slot due = slots_[heap_[0].slot];
        forget(0);
        due.callback->OnTimerExpired(due.id, 0);
    }
}

bool CTimerManager::firesBefore(const HeapEntry& a, const HeapEntry& b)
{
    return a.deadline != b.deadline ? a.deadline < b.deadline : a.registration < b.registration;
}

void CTimerManager::place(std::uint32_t index, const HeapEntry& entry)
{
    heap_[index] = entry;
    slots_[entry.slot].heapIndexOrNextFree = index;
}

// Both sifts move a hole through the heap and put `entry`, a copy, in where the hole comes to rest.
void CTimerManager::siftUp(std::uint32_t index, const HeapEntry& entry)
{
    while (index > 0) {
        const std::uint32_t parent = (index - 1) / ARITY;
        if (!firesBefore(entry, heap_[parent]))
            break;
        place(index, heap_[parent]);
        index = parent;
    }
    place(index, entry);
}

void CTimerManager::siftDown(std::uint32_t index, const HeapEntry& entry)
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
        if (!firesBefore(heap_[earliest], entry))
            break;
        place(index, heap_[earliest]);
        index = earliest;
    }
    place(index, entry);
}

// The last entry fills the gap and finds its place from there.
void CTimerManager::removeFromHeap(std::uint32_t index)
{
    const HeapEntry moved = heap_.back();
    heap_.pop_back();
    if (index == heap_.size())
        return;
    if (index > 0 && firesBefore(moved, heap_[(index - 1) / ARITY]))
        siftUp(index, moved);
    else
        siftDown(index, moved);
}

std::uint32_t CTimerManager::takeSlot()
{
    if (firstFree_ != NONE) {
        const std::uint32_t slot = firstFree_;
        firstFree_ = slots_[slot].heapIndexOrNextFree;
        return slot;
    }
    if (slots_.size() == MAX_SLOTS)
        throw std::bad_alloc();
    slots_.emplace_back();
    return static_cast<std::uint32_t>(slots_.size() - 1);
}

void CTimerManager::releaseSlot(std::uint32_t slot)
{
    slots_[slot] = Slot{nullptr, FREE, firstFree_};
    firstFree_ = slot;
}

void CTimerManager::forget(std::uint32_t heapIndex)
{
    const std::uint32_t slot = heap_[heapIndex].slot;
    removeFromHeap(heapIndex);
    releaseSlot(slot);
    giveMemoryBack();
}

// Tables that are three quarters empty are copied into smaller ones, so that the cost of copying is spread over the
// timers that went.  Where there is no memory for the copy, the large one is kept.
void CTimerManager::giveMemoryBack()
{
    const bool heapIsSparse =
        heap_.capacity() > KEPT_CAPACITY && heap_.size() <= heap_.capacity() / 4;
    const bool allSlotsAreFree = slots_.capacity() > KEPT_CAPACITY && heap_.empty();
    if (!heapIsSparse && !allSlotsAreFree)
        return;
    try {
        std::vector<HeapEntry> smaller;
        smaller.reserve(std::max(heap_.capacity() / 2, KEPT_CAPACITY));
        smaller.assign(heap_.begin(), heap_.end());
        heap_.swap(smaller);
        shrinkSlots();
    } catch (const std::bad_alloc&) {
    }
}

// Slots cannot move, since ids name them: the table ends behind the last one in use.
void CTimerManager::shrinkSlots()
{
    std::uint32_t used = 0;
    for (const HeapEntry& entry : heap_)
        used = std::max(used, entry.slot + 1);

    std::vector<Slot> smaller(slots_.begin(), slots_.begin() + static_cast<std::ptrdiff_t>(used));
    slots_.swap(smaller);

    firstFree_ = NONE;
    for (std::uint32_t slot = used; slot-- > 0;)
        if (slots_[slot].id == FREE)
            releaseSlot(slot);
}

template <>
CTimerManager& SimpleSingleton<CTimerManager>::Instance()
{
    // Lives in storage of its own, so that there is a manager, empty and without memory, after this one's end too.
    struct Process {
        Process() { new (&storage) CTimerManager; }
        ~Process()
        {
            manager().~CTimerManager();
            new (&storage) CTimerManager;
        }
        CTimerManager& manager()
        {
            return *std::launder(static_cast<CTimerManager*>(static_cast<void*>(&storage)));
        }

        alignas(CTimerManager) unsigned char storage[sizeof(CTimerManager)];
    };
    static Process process;
    return process.manager();
}
