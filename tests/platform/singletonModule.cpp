#include "tlshared/TimerManager.h"

// A module that shares nothing with the program but libtlshared.so: built with hidden visibility
// and loaded for itself.

extern "C" __attribute__((visibility("default"))) void* moduleTimerManager()
{
    return &SimpleSingleton<CTimerManager>::Instance();
}
