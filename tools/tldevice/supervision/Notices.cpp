#include "supervision/Notices.h"

#include <unistd.h>

#include <cerrno>

#include "system/output.h"

namespace tool {

namespace {

constexpr std::chrono::seconds PATIENCE(1);

}  // namespace

void Notices::say(const std::string& text) const
{
    const std::string line = diagnostic(text);
    const auto end = Clock::now() + PATIENCE;
    for (std::size_t done = 0; done < line.size();) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        pollfd file{STDERR_FILENO, POLLOUT, 0};
        if (left.count() <= 0 || ::poll(&file, 1, static_cast<int>(left.count())) <= 0)
            return;
        const ssize_t count = signals_.write(STDERR_FILENO, line.data() + done, line.size() - done);
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (count < 0 && errno != EINTR && errno != EAGAIN)
            return;
    }
}

void Notices::tell(const std::string& text) const
{
    if (verbose_)
        say(text);
}

}  // namespace tool
