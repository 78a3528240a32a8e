#include "tlshared/System.h"

#include <cstdlib>

int tl::system(const char* cmd)
{
    return ::system(cmd);
}
