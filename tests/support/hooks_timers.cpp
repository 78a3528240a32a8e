#include "hooks.h"
#include "tlshared/TimerManager.h"

namespace hooks {

std::function<unsigned long(unsigned int, unsigned int, ITimerManagerCallback*)> AddTimer;
std::function<void(unsigned long&)> KillTimer;
std::function<void()> Process;

namespace {

[[maybe_unused]] const bool registered = [] {
    onReset([] {
        AddTimer = nullptr;
        KillTimer = nullptr;
        Process = nullptr;
    });
    return true;
}();

// A member function's hidden first argument is the object.
using Add = unsigned long(CTimerManager*, unsigned int, unsigned int, ITimerManagerCallback*);
using Kill = void(CTimerManager*, unsigned long&);
using Run = void(CTimerManager*);

}  // namespace
}  // namespace hooks

unsigned long CTimerManager::AddTimer(unsigned int duration, unsigned int unit,
                                      ITimerManagerCallback* callback)
{
    if (hooks::AddTimer)
        return hooks::AddTimer(duration, unit, callback);
    return hooks::real<hooks::Add>("_ZN13CTimerManager8AddTimerEjjP21ITimerManagerCallback")(
        this, duration, unit, callback);
}

void CTimerManager::KillTimer(unsigned long& idTimer)
{
    if (hooks::KillTimer)
        hooks::KillTimer(idTimer);
    else
        hooks::real<hooks::Kill>("_ZN13CTimerManager9KillTimerERm")(this, idTimer);
}

void CTimerManager::Process()
{
    if (hooks::Process)
        hooks::Process();
    else
        hooks::real<hooks::Run>("_ZN13CTimerManager7ProcessEv")(this);
}
