// Waits at most SECONDS for a line on standard input, in an event loop around poll(2).
//
//     timeOutInEventLoop SECONDS

#include <poll.h>
#include <tl/Utilities.h>
#include <tl/tlTimer.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <string>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: timeOutInEventLoop SECONDS\n";
        return 2;
    }

    TlTimer limit;
    limit.startTimerSec(static_cast<unsigned long>(stringToInt(argv[1])));

    // Timers expire inside Process(), so the loop must wake up regularly.  A time-out is at most
    // this late.
    constexpr int TICK_MS = 50;

    pollfd input = {STDIN_FILENO, POLLIN, 0};
    while (!limit.isExpired()) {
        const int ready = ::poll(&input, 1, TICK_MS);
        if (ready < 0 && errno != EINTR)
            return 1;
        if (ready > 0) {
            std::string line;
            std::getline(std::cin, line);
            std::cout << "read: " << line << '\n';
            return 0;
        }
        SimpleSingleton<CTimerManager>::Instance().Process();
    }
    std::cout << "timed out\n";
    return 1;
}
