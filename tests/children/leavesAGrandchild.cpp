// leavesAGrandchild READY GO: exits with 4 at once and leaves a process behind that has the output
// file open: it keeps READY open and, at the end of GO, writes a line.
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
