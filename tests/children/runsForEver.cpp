// runsForEver: until a signal ends it.
#include <unistd.h>

int main()
{
    ::alarm(100);  // a failed test must leave nothing behind
    for (;;)
        ::pause();
}
