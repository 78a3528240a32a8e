#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The library's rules a second time: literal and slow, following the wording of each rule step by
/// step, and written without looking at the library's code.  Where the two disagree, one of them is
/// wrong.
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

/// What the command runner logs about a wait status, after the command and up to the errno part; ""
/// for nothing.
std::string runnerEnding(int status);

/// The result of poll() for a wait status.
struct PolledEnd {
    int state;
    int exitStatus;
    int signal;
    bool childIsForgotten;
};
PolledEnd polledEnd(int status);

}  // namespace oracle
