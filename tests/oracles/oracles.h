#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The library's rules a second time: literal, slow, one step for a step of the rule's words, and written without a look at the
/// product's code.  What the two disagree on is a mistake in one of them.
namespace oracle {

int axtoi(const char* text, int length);
int stringToInt(const std::string& text);
std::string fourHexDigits(unsigned long value);
std::string intToString(int value);
std::string stringField(const std::string& line, unsigned int index);
std::string hexField(const std::string& line, unsigned int index);
std::string guidString(std::string id);
int splitString(const std::string& text, const std::string& separator,
                std::vector<std::string>& out);
int splitCommand(const std::string& line, std::vector<std::string>& args);
std::string dirName(const std::string& path);

struct CatalogueId {
    int type;
    std::string id;
};
/// `catalogue` in any order.
int find(const std::vector<CatalogueId>& catalogue, const std::string& text);

struct SleepRequest {
    long seconds;
    long nanoseconds;
};
SleepRequest sleepRequest(unsigned long microseconds);

/// What the command runner says of a wait status behind the command, up to the errno part; "" for nothing.
std::string runnerEnding(int status);

/// What poll() makes of a wait status.
struct PolledEnd {
    int state;
    int exitStatus;
    int signal;
    bool childIsForgotten;
};
PolledEnd polledEnd(int status);

}  // namespace oracle
