// What the launches start: says one line and ends.
#include <unistd.h>

int main(void)
{
    return write(1, "done\n", 5) == 5 ? 0 : 1;
}
