#include "tlshared/TimerManager.h"

// A module that shares only libtlshared.so with the program: built with hidden visibility and
// loaded at run time.

extern "C" __attribute__((visibility("default"))) void* moduleTimerManager()
{
    return &SimpleSingleton<CTimerManager>::Instance();
}
