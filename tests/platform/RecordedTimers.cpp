#include "RecordedTimers.h"

namespace {

// An explicit instantiation may name a private member; this one exposes it.
struct IdsOfManager {
    using Member = TimerIds CTimerManager::*;
    friend Member memberOf(IdsOfManager);
};

struct NextRegistration {
    using Member = std::uint64_t TimerIds::*;
    friend Member memberOf(NextRegistration);
};

template <class Tag, typename Tag::Member MEMBER>
struct HandOut {
    friend typename Tag::Member memberOf(Tag) { return MEMBER; }
};

template struct HandOut<IdsOfManager, &CTimerManager::ids_>;
template struct HandOut<NextRegistration, &TimerIds::nextRegistration_>;

}  // namespace

void continueNumbersAt(TimerIds& ids, std::uint64_t next)
{
    ids.*memberOf(NextRegistration()) = next;
}

void continueNumbersAt(CTimerManager& manager, std::uint64_t next)
{
    continueNumbersAt(manager.*memberOf(IdsOfManager()), next);
}
