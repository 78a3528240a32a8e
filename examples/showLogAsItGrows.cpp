// Runs a program with a time-out and shows its output as it grows.
//
//     showLogAsItGrows 10 /bin/ping -c 3 127.0.0.1

#include <tl/Utilities.h>
#include <tl/WatchProcess.h>

#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

// Shows what was appended since the last call.
void showNew(std::ifstream& log)
{
    log.clear();  // clears the end-of-file state: the file may have grown
    char part[4096];
    while (log.read(part, sizeof part), log.gcount() > 0)
        std::cout.write(part, log.gcount());
    std::cout.flush();
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::cerr << "usage: showLogAsItGrows SECONDS PROGRAM [ARGUMENT...]\n";
        return 2;
    }
    const int seconds = stringToInt(argv[1]);
    const std::vector<std::string> arguments(argv + 2, argv + argc);

    tl::WatchProcess job;
    if (job.startProcess(arguments.front(), arguments, seconds) != 0)
        return 1;  // the library has reported why

    std::ifstream log(job.logFile());
    tl::WatchProcessState_t state;
    do {
        tluSleep(50000);  // 50 ms
        SimpleSingleton<CTimerManager>::Instance().Process();
        state = job.poll();
        showNew(log);  // after poll(), so that nothing is missed at the end
    } while (state == tl::WP_EXECUTING || state == tl::WP_TIMED_OUT_SIGKILL_SENT);

    if (job.killedByTimer())
        std::cout << "timed out after " << seconds << " s\n";
    else if (job.signal() != 0)
        std::cout << "ended by signal: " << ::strsignal(job.signal()) << '\n';
    else
        std::cout << "exit status " << job.exitStatus() << '\n';
}
