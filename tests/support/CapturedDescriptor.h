#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

/// Captures what is written to a descriptor of the program while it lives, by children, too.
class CapturedDescriptor {
public:
    explicit CapturedDescriptor(int fd) : fd_(fd), former_(::dup(fd)), file_(std::tmpfile())
    {
        (void)::dup2(::fileno(file_), fd_);
    }
    ~CapturedDescriptor()
    {
        (void)::dup2(former_, fd_);
        ::close(former_);
        std::fclose(file_);
    }
    CapturedDescriptor(const CapturedDescriptor&) = delete;
    CapturedDescriptor& operator=(const CapturedDescriptor&) = delete;

    std::string text() const
    {
        std::string text;
        char buffer[512];
        for (;;) {
            const ssize_t length =
                ::pread(::fileno(file_), buffer, sizeof buffer, static_cast<off_t>(text.size()));
            if (length <= 0)
                return text;
            text.append(buffer, static_cast<size_t>(length));
        }
    }

private:
    const int fd_;
    const int former_;
    std::FILE* const file_;
};
