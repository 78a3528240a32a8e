#pragma once

#include <poll.h>
#include <sys/types.h>

#include <csignal>
#include <cstddef>

#include "supervision/Duration.h"

namespace tool {

/// Takes over every signal that would end or stop this process.
///
/// While one of these lives, signals are blocked, except inside wait(), letIn() and write(); the
/// take...() functions tell which ones came.  So no signal is lost between checking and waiting.  A
/// fault of our own still ends us.  What the caller ignores or blocks stays ignored or blocked.
///
/// Only one at a time: signal handlers have no object.
class Signals {
public:
    /// `stops`: takes over TSTP as well; otherwise it stops us like any program.
    explicit Signals(bool stops);
    ~Signals();

    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    /// Like poll(2), but also returns when a signal comes, and at once if one came that was not
    /// taken yet.  Without a limit, waits indefinitely.
    void wait(pollfd* files, nfds_t count, Limit limit) const;

    /// Delivers blocked signals.  wait() does not if a file is ready at once.
    void letIn() const;

    /// Like write(2), but blocks only for a moment, then returns what was written, or fails with
    /// EINTR.  So a descriptor that is shared with other processes need not be made non-blocking.
    ssize_t write(int fd, const void* bytes, std::size_t size) const;

    /// Whether a child has changed state since the last call.
    bool takeChildChanged();
    /// Whether TSTP has come since the last call.
    bool takeStop();
    /// A signal that asked us to end and was not taken yet; 0: none.
    int takeRequest();
    /// The first signal that asked us to end; 0: none.
    int firstRequest() const;
    /// Whether `signal` was typed, and so went to the terminal's whole foreground group.
    bool wasTyped(int signal) const;

    /// Stops this process as TSTP does.  Returns when it is continued, or if it cannot be stopped.
    void stopOurselves() const;

    /// In a child, before execve(2): restores what execve(2) itself does not.
    void putBack() const;

private:
    void takeOver(int signal);
    static bool hasNews();

    static constexpr int COUNT = _NSIG;
    sigset_t callersMask_;
    sigset_t waiting_;  // blocked while we wait
    sigset_t writing_;  // blocked while we write
    struct sigaction callers_[COUNT] = {};
};

/// Ends this process by `signal`, without a core dump.  Returns only if that is impossible, as for
/// process 1.
void dieBy(int signal);

}  // namespace tool
