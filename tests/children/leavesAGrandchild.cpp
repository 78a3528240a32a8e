// leavesAGrandchild READY GO: exits with 4 at once and leaves a process behind that holds the log open: it writes a line
// when GO comes to its end, and keeps READY open until then.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

int main(int, char** argv)
{
    if (::fork() != 0)
        return 4;

    char byte = 0;
    (void)!::read(std::atoi(argv[2]), &byte, 1);
    std::printf("from the grandchild\n");
    return 0;
}
