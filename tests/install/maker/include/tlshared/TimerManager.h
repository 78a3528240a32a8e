#pragma once

#include <map>

#include "tlshared/SimpleSingleton.h"

class ITimerManagerCallback {
public:
    virtual void OnTimerExpired(unsigned long idTimer, long param) = 0;
};

class CTimerManager {
public:
    CTimerManager();
    ~CTimerManager();
    unsigned long AddTimer(unsigned int duration, unsigned int unit,
                           ITimerManagerCallback* callback);
    void KillTimer(unsigned long& idTimer);
    void Process();

private:
    struct Timer {
        long long due_;
        ITimerManagerCallback* callback_;
    };
    std::map<unsigned long, Timer> timers_;
    unsigned long latestId_;
};
