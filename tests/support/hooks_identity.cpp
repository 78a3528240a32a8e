#include "hooksOfCalls.h"

#define IDENTITY_CALL HOOK
#include "libcCalls.def"
