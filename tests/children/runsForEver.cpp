// runsForEver: until a signal ends it.
#include <unistd.h>

int main()
{
    ::alarm(100);  // a test that fails is to leave nothing behind
    for (;;)
        ::pause();
}
