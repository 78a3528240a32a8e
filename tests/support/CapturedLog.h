#pragma once

#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "hooks.h"

/// The C library's words for an error, as log lines have them.
inline std::string text(int error)
{
    return std::strerror(error);
}

/// A logged line: its level or priority, and the text.
struct LogLine {
    int level;
    std::string text;

    bool operator==(const LogLine& other) const
    {
        return level == other.level && text == other.text;
    }
};

inline void PrintTo(const LogLine& line, std::ostream* stream)
{
    *stream << line.level << " \"" << line.text << '"';
}

using LogLines = std::vector<LogLine>;

/// Levels of LogXMessage() and, without a facility, of syslog(3).
namespace level {

constexpr int ERROR = 3;
constexpr int DEBUG = 7;

}  // namespace level

/// Captures what the library logs through LogXMessage().  Needs the hooks `tlshared`.
class CapturedLogX {
public:
    CapturedLogX()
    {
        hooks::LogXMessage = [this](unsigned int level, const std::string& text) {
            lines.push_back({static_cast<int>(level), text});
        };
    }
    ~CapturedLogX() { hooks::LogXMessage = nullptr; }
    CapturedLogX(const CapturedLogX&) = delete;
    CapturedLogX& operator=(const CapturedLogX&) = delete;

    LogLines lines;
};

/// Captures what the library logs through syslog(3).  Needs the hooks `syslog`.
class CapturedSyslog {
public:
    CapturedSyslog()
    {
        hooks::syslog = [this](int priority, const std::string& text) {
            lines.push_back({priority, text});
        };
    }
    ~CapturedSyslog() { hooks::syslog = nullptr; }
    CapturedSyslog(const CapturedSyslog&) = delete;
    CapturedSyslog& operator=(const CapturedSyslog&) = delete;

    LogLines lines;
};
