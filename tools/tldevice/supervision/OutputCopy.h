#pragma once

#include <poll.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "supervision/Signals.h"
#include "system/Descriptor.h"

namespace tool {

/// Copies what comes from a pipe, piece by piece, to standard output and to a file.
///
/// It never blocks or reads ahead: watched() returns what it needs, and move() does what is
/// possible now.  So a slow reader slows the program down, but nothing else.
class OutputCopy {
public:
    explicit OutputCopy(const Signals& signals);

    /// Adds a destination; `name` is for error messages.  `mayBlock`: the file is shared, so that
    /// it cannot be made non-blocking.
    void addSink(int fd, const std::string& name, bool mayBlock);

    /// Opens the next pipe to copy from.  \returns its write end; on failure none, and errno.
    Descriptor openSource();

    /// What to wait for: sinks that need the rest of the piece, or else the source; nothing at its
    /// end.
    std::vector<pollfd> watched() const;

    /// Serves the files of watched() that are ready.  \returns whether anything moved.
    bool move(const std::vector<pollfd>& ready);

    /// Ends the copy after what is in the pipe now.
    void readNoMoreThanIsThere();
    bool isAtEnd() const;
    /// Whether all that was read has been written.
    bool isTaken() const;
    /// Drops the rest.
    void giveUp(const std::string& complaint);

    /// Gives away the source if other processes may still write to it; otherwise returns none.
    Descriptor sourceInUse();

    /// Bytes read from all sources.
    unsigned long long total() const { return total_; }
    bool endsInNewline() const { return endsInNewline_; }
    /// Whether every sink got everything.
    bool isComplete() const { return complete_; }
    /// Whether a sink failed for a reason other than EPIPE.
    bool failed() const { return !complaints_.empty(); }
    /// New messages about failed sinks since the last call.
    std::vector<std::string> takeComplaints();

private:
    struct Sink {
        int fd_;
        std::string name_;
        bool mayBlock_;
        std::size_t done_ = 0;  // bytes of the piece written to it
    };

    bool wantsMore(const Sink& sink) const;
    bool read();
    bool feed(Sink& sink);
    void drop(Sink& sink, int error);

    const Signals& signals_;
    Descriptor source_;
    std::vector<Sink> sinks_;
    const std::unique_ptr<char[]> piece_;  // not cleared: most of its pages are never touched
    std::size_t size_ = 0;                 // bytes that were read into it
    bool limited_ = false;
    std::size_t left_ = 0;  // bytes to read, if limited
    unsigned long long total_ = 0;
    bool endsInNewline_ = true;
    bool complete_ = true;
    std::vector<std::string> complaints_;
    std::size_t said_ = 0;
};

}  // namespace tool
