#include "hooksOfCalls.h"

#define CLOCK_CALL HOOK
#include "libcCalls.def"
