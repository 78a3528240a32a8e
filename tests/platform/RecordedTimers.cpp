#include "RecordedTimers.h"

namespace {

// An explicit instantiation may name a private member, and hands it out.
struct NextRegistration {
    using Member = std::uint64_t CTimerManager::*;
    friend Member memberOf(NextRegistration);
};

template <class Tag, typename Tag::Member MEMBER>
struct HandOut {
    friend typename Tag::Member memberOf(Tag) { return MEMBER; }
};

template struct HandOut<NextRegistration, &CTimerManager::nextRegistration_>;

}  // namespace

void continueNumbersAt(CTimerManager& manager, std::uint64_t next)
{
    manager.*memberOf(NextRegistration()) = next;
}
