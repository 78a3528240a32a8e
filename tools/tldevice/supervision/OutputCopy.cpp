#include "supervision/OutputCopy.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "system/output.h"

namespace tool {

namespace {

constexpr std::size_t PIECE = 65536;  // the capacity of a pipe
constexpr int NO_FILE = -1;           // a sink that failed

bool isReady(const std::vector<pollfd>& files, int fd)
{
    return std::any_of(files.begin(), files.end(),
                       [fd](const pollfd& file) { return file.fd == fd && file.revents != 0; });
}

}  // namespace

OutputCopy::OutputCopy(const Signals& signals) : signals_(signals), piece_(new char[PIECE]) {}

void OutputCopy::addSink(int fd, const std::string& name, bool mayBlock)
{
    sinks_.push_back({fd, name, mayBlock});
}

Descriptor OutputCopy::openSource()
{
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        return Descriptor();
    source_ = Descriptor(pipe[0]);
    (void)::fcntl(source_.get(), F_SETFL, O_NONBLOCK);
    limited_ = false;
    return Descriptor(pipe[1]);
}

bool OutputCopy::wantsMore(const Sink& sink) const
{
    return sink.fd_ != NO_FILE && sink.done_ < size_;
}

bool OutputCopy::isTaken() const
{
    return std::none_of(sinks_.begin(), sinks_.end(),
                        [this](const Sink& sink) { return wantsMore(sink); });
}

std::vector<pollfd> OutputCopy::watched() const
{
    std::vector<pollfd> files;
    for (const Sink& sink : sinks_)
        if (wantsMore(sink))
            files.push_back({sink.fd_, POLLOUT, 0});
    if (files.empty() && source_.isOpen() && !(limited_ && left_ == 0))
        files.push_back({source_.get(), POLLIN, 0});
    return files;
}

bool OutputCopy::move(const std::vector<pollfd>& ready)
{
    if (isTaken())
        return source_.isOpen() && isReady(ready, source_.get()) && read();

    bool moved = false;
    for (Sink& sink : sinks_)
        if (wantsMore(sink) && isReady(ready, sink.fd_))
            moved = feed(sink) || moved;
    return moved;
}

bool OutputCopy::read()
{
    const ssize_t count =
        ::read(source_.get(), piece_.get(), limited_ ? std::min(PIECE, left_) : PIECE);
    const int error = errno;
    size_ = count > 0 ? static_cast<std::size_t>(count) : 0;
    for (Sink& sink : sinks_)
        sink.done_ = 0;
    if (count == 0 || (count < 0 && error != EAGAIN && error != EINTR))
        source_ = Descriptor();
    if (count <= 0)
        return false;

    left_ -= limited_ ? size_ : 0;
    total_ += size_;
    endsInNewline_ = piece_[size_ - 1] == '\n';
    return true;
}

// \returns whether the sink accepted anything, or has failed for good.
bool OutputCopy::feed(Sink& sink)
{
    const char* bytes = piece_.get() + sink.done_;
    const std::size_t size = size_ - sink.done_;
    const ssize_t count =
        sink.mayBlock_ ? signals_.write(sink.fd_, bytes, size) : ::write(sink.fd_, bytes, size);
    const int error = errno;
    if (count >= 0) {
        sink.done_ += static_cast<std::size_t>(count);
        return count > 0;
    }
    if (error == EINTR || error == EAGAIN)
        return false;
    drop(sink, error);
    return true;
}

// EPIPE is not reported: a reader may leave early.
void OutputCopy::drop(Sink& sink, int error)
{
    sink.fd_ = NO_FILE;
    complete_ = false;
    if (error != EPIPE)
        complaints_.push_back("cannot write to " + sink.name_ + ": " + reason(error));
}

void OutputCopy::readNoMoreThanIsThere()
{
    int there = 0;
    if (!source_.isOpen() || ::ioctl(source_.get(), FIONREAD, &there) != 0)
        there = 0;
    limited_ = true;
    left_ = static_cast<std::size_t>(there);
}

bool OutputCopy::isAtEnd() const
{
    return isTaken() && (!source_.isOpen() || (limited_ && left_ == 0));
}

void OutputCopy::giveUp(const std::string& complaint)
{
    complaints_.push_back(complaint);
    complete_ = false;
    size_ = 0;
    limited_ = true;
    left_ = 0;
}

Descriptor OutputCopy::sourceInUse()
{
    pollfd file{source_.get(), POLLIN, 0};
    const bool inUse =
        source_.isOpen() && ::poll(&file, 1, 0) >= 0 && (file.revents & POLLHUP) == 0;
    Descriptor given;
    if (inUse)
        given = std::move(source_);
    else
        source_ = Descriptor();
    return given;
}

std::vector<std::string> OutputCopy::takeComplaints()
{
    std::vector<std::string> fresh(complaints_.begin() + static_cast<std::ptrdiff_t>(said_),
                                   complaints_.end());
    said_ = complaints_.size();
    return fresh;
}

}  // namespace tool
