#include <cstdlib>

#include "hooksOfCalls.h"

#define STREAMS_CALL HOOK
#include "libcCalls.def"
