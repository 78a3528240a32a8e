#include "tl/tlTimer.h"

#include <syslog.h>

#include <algorithm>
#include <limits>

#include "tlshared/AssertWrite.h"

namespace {

constexpr unsigned int MILLISECONDS = 1;
constexpr unsigned int SECONDS = 2;

CTimerManager& manager()
{
    return SimpleSingleton<CTimerManager>::Instance();
}

}  // namespace

TlTimer::TlTimer() : m_idTimer(0), m_expired(true), m_set(false) {}

TlTimer::~TlTimer()
{
    clearTimer();
}

void TlTimer::startTimerSec(unsigned long seconds)
{
    start(seconds, SECONDS);
}

void TlTimer::startTimerMS(unsigned long milliseconds)
{
    start(milliseconds, MILLISECONDS);
}

void TlTimer::start(unsigned long duration, unsigned int unit)
{
    if (m_idTimer != 0)
        clearTimer();

    if (duration == 0) {
        m_expired = true;
        m_set = true;
        return;
    }

    constexpr unsigned long LONGEST = std::numeric_limits<unsigned int>::max();
    m_idTimer =
        manager().AddTimer(static_cast<unsigned int>(std::min(duration, LONGEST)), unit, this);
    m_expired = false;
    m_set = true;
}

void TlTimer::clearTimer()
{
    if (m_idTimer != 0) {
        manager().KillTimer(m_idTimer);
        m_idTimer = 0;
    }
    m_expired = true;
    m_set = false;
}

bool TlTimer::isTimerSet() const
{
    return m_set;
}

bool TlTimer::isExpired() const
{
    return m_expired;
}

void TlTimer::OnTimerExpired(unsigned long idTimer, long /*param*/)
{
    if (idTimer != m_idTimer) {
        ::syslog(LOG_ERR, "Timer expired ids are wrong idTimer %lu m_idTimer %lu", idTimer,
                 m_idTimer);
        // Tested again: m_idTimer may have changed while the message was logged.
        constexpr int LINE_OF_CHECK = __LINE__ + 1;
        if (idTimer != m_idTimer)
            tl::AssertWrite("tlTimer.cpp", LINE_OF_CHECK, tl::StackTrace());
    }
    m_idTimer = 0;
    m_expired = true;
}
