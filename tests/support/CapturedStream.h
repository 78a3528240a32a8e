#pragma once

#include <ostream>
#include <sstream>
#include <string>

/// Captures what is written to std::cout or std::cerr while it lives.
class CapturedStream {
public:
    explicit CapturedStream(std::ostream& stream)
        : stream_(stream), former_(stream.rdbuf(taken_.rdbuf()))
    {
    }
    ~CapturedStream() { stream_.rdbuf(former_); }
    CapturedStream(const CapturedStream&) = delete;
    CapturedStream& operator=(const CapturedStream&) = delete;

    std::string text() const { return taken_.str(); }

private:
    std::ostringstream taken_;
    std::ostream& stream_;
    std::streambuf* former_;
};
