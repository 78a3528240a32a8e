#include "OutputCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "output.h"

namespace tool {

namespace {

constexpr std::size_t PIECE = 65536;
constexpr std::size_t BEGINNING = 256;
constexpr suseconds_t PATIENCE_US = 20000;

void wakeUp(int) {}

// While one of these lives, a blocked call returns with EINTR, or with what it has done, after a moment.
// Everything is put back, since a child inherits ignored signals and the signal mask.
class Impatience {
public:
    Impatience()
    {
        struct sigaction wake {};
        wake.sa_handler = wakeUp;  // without SA_RESTART
        (void)::sigaction(SIGALRM, &wake, &action_);

        sigset_t alarm;
        (void)::sigemptyset(&alarm);
        (void)::sigaddset(&alarm, SIGALRM);
        (void)::sigprocmask(SIG_UNBLOCK, &alarm, &mask_);

        const timeval moment{0, PATIENCE_US};
        const itimerval again{moment, moment};  // again: the first may come before the call blocks
        (void)::setitimer(ITIMER_REAL, &again, &timer_);
    }

    ~Impatience()
    {
        (void)::setitimer(ITIMER_REAL, &timer_, nullptr);
        (void)::sigprocmask(SIG_SETMASK, &mask_, nullptr);
        (void)::sigaction(SIGALRM, &action_, nullptr);
    }

    Impatience(const Impatience&) = delete;
    Impatience& operator=(const Impatience&) = delete;

private:
    struct sigaction action_ {};
    sigset_t mask_;
    itimerval timer_{};
};

}  // namespace

void OutputCopy::addSink(int fd, const std::string& name)
{
    sinks_.push_back({fd, name, 0});
}

bool OutputCopy::openSource(const char* path)
{
    source_ = Descriptor(::open(path, O_RDONLY | O_CLOEXEC));
    copied_ = 0;
    beginning_.clear();
    return source_.isOpen();
}

off_t OutputCopy::sourceSize() const
{
    struct stat found;
    return source_.isOpen() && ::fstat(source_.get(), &found) == 0 ? found.st_size : 0;
}

bool OutputCopy::readPiece()
{
    if (!source_.isOpen())
        return false;

    piece_.resize(PIECE);
    const ssize_t count = ::pread(source_.get(), piece_.data(), piece_.size(), copied_);
    piece_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (piece_.empty())
        return false;

    for (Sink& sink : sinks_)
        sink.done_ = 0;
    copied_ += static_cast<off_t>(piece_.size());
    total_ += piece_.size();
    if (beginning_.size() < BEGINNING)
        beginning_.append(piece_, 0, BEGINNING - beginning_.size());
    endsInNewline_ = piece_.back() == '\n';
    return true;
}

bool OutputCopy::pieceIsDone() const
{
    return std::all_of(sinks_.begin(), sinks_.end(),
                       [this](const Sink& sink) { return sink.done_ >= piece_.size(); });
}

// Without a sink only the size counts, once the beginning was seen.
void OutputCopy::skip()
{
    const off_t size = sourceSize();
    total_ += static_cast<unsigned long long>(size - copied_);
    copied_ = size;
    piece_.clear();
}

bool OutputCopy::step()
{
    if (sinks_.empty() && beginning_.size() == BEGINNING && sourceSize() > copied_) {
        skip();
        return true;
    }
    if (pieceIsDone() && !readPiece())
        return false;

    bool moved = false;
    for (Sink& sink : sinks_)
        moved = feed(sink) || moved;
    return moved || sinks_.empty();
}

// \returns whether the sink took anything.
bool OutputCopy::feed(Sink& sink)
{
    if (sink.done_ >= piece_.size())
        return false;

    ssize_t count = 0;
    int error = 0;
    {
        const Impatience impatience;
        count = ::write(sink.fd_, piece_.data() + sink.done_, piece_.size() - sink.done_);
        error = errno;
    }
    if (count >= 0) {
        sink.done_ += static_cast<std::size_t>(count);
        return true;
    }
    if (error == EINTR || error == EAGAIN)
        return false;

    // This sink gets nothing more.
    readerGone_ = readerGone_ || error == EPIPE;
    failed_ = true;
    if (error != EPIPE)
        complain("cannot write to " + sink.name_ + ": " + reason(error));
    const int fd = sink.fd_;
    sinks_.erase(std::remove_if(sinks_.begin(), sinks_.end(),
                                [fd](const Sink& one) { return one.fd_ == fd; }),
                 sinks_.end());
    return true;
}

}  // namespace tool
