#include "tl/Utilities.h"

int globalPacketCount = 0;

std::string getNextPacketNumber()
{
    constexpr int LAST = 0xFFFE;  // "ffff" is never handed out
    globalPacketCount = globalPacketCount < LAST ? globalPacketCount + 1 : 0;

    std::string number;
    itoax(static_cast<unsigned long>(globalPacketCount), number);
    return number;
}
