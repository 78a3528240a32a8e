#include "supervision/StatusLine.h"

#include <unistd.h>

namespace tool {

namespace {

constexpr const char* ERASE = "\r\033[K";
constexpr std::size_t WIDTH = 79;
constexpr std::chrono::seconds SECOND(1);

// A background job leaves the screen to the foreground job.
bool isInForeground()
{
    const pid_t group = ::tcgetpgrp(STDERR_FILENO);
    return group <= 0 || group == ::getpgrp();
}

}  // namespace

StatusLine::StatusLine(bool wanted, std::string name, Limit limit, const Signals& signals)
    : wanted_(wanted), name_(std::move(name)), limit_(limit), signals_(signals)
{
}

// Only if that does not block.
bool StatusLine::write(const std::string& text) const
{
    pollfd terminal{STDERR_FILENO, POLLOUT, 0};
    return ::poll(&terminal, 1, 0) > 0 &&
           signals_.write(STDERR_FILENO, text.data(), text.size()) > 0;
}

void StatusLine::show(std::chrono::nanoseconds elapsed)
{
    const auto seconds = static_cast<long>(elapsed / SECOND);
    if (!wanted_ || seconds < 1 || (shown_ && seconds == seconds_) || !isInForeground())
        return;
    const std::string line = "[" + std::to_string(seconds) + " s" +
                             (limit_ ? " of " + inSeconds(*limit_) + "] " : "] ") + name_;
    shown_ = write(ERASE + line.substr(0, WIDTH)) || shown_;
    seconds_ = seconds;
}

void StatusLine::hide()
{
    if (shown_)
        (void)write(ERASE);
    shown_ = false;
}

Limit StatusLine::changesAfter(std::chrono::nanoseconds elapsed) const
{
    return wanted_ ? Limit(SECOND - elapsed % SECOND) : Limit();
}

}  // namespace tool
