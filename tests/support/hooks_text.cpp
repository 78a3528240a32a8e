#include <cstring>

#include "hooksOfCalls.h"

#define TEXT_CALL HOOK
#include "libcCalls.def"
