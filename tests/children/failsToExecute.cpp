// failsToExecute PROGRAM DIRECTORY: one supervisor runs PROGRAM, another fails to execute
// DIRECTORY; both are static, so the failed child destroys its copies of them.  Prints what became
// of the two output files.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>

#include "tl/WatchProcess.h"

namespace {

tl::WatchProcess ran;
tl::WatchProcess failed;

void handler()
{
    std::printf("exit handler\n");
}

const char* whether(const char* path)
{
    return ::access(path, F_OK) == 0 ? "there" : "gone";
}

}  // namespace

int main(int, char** argv)
{
    std::atexit(handler);
    if (ran.startProcess(argv[1], {"ran", "5"}, 100) != 0)
        return 1;
    ran.wait();

    std::FILE* const file = ::fdopen(::dup(STDOUT_FILENO), "a");
    std::fputs("not flushed\n", file);
    if (failed.startProcess(argv[2], {"failed"}, 100) != 0)
        return 2;
    failed.wait();

    std::ifstream log(failed.logFile());
    std::cerr << "statuses " << ran.exitStatus() << " " << failed.exitStatus() << "\n"
              << "the log of the one that ran is " << whether(ran.logFile()) << "\n"
              << "the log of the one that failed is " << whether(failed.logFile())
              << " and holds:\n"
              << std::string(std::istreambuf_iterator<char>(log), {}) << "end of log\n";
    std::fclose(file);
    return 0;
}
