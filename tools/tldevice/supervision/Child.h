#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "supervision/ChildStep.h"
#include "supervision/Signals.h"
#include "system/Descriptor.h"
#include "tl/WatchProcess.h"

namespace tool {

/// What to run, and how.
struct Launch {
    std::vector<std::string> words_;
    std::vector<std::string> settings_;  ///< "NAME=VALUE", overriding our own environment
    bool ownGroup_ = true;
};

/// One run of a program through the library, from fork to reaping.
class Child {
public:
    Child(const Launch& launch, const Signals& signals);

    /// Starts it with `output`, the write end of a pipe, as its output.
    /// \returns 0, or the errno why there is no process.  Whether the program is executed is known
    /// later.
    int start(Descriptor output);

    /// Readable when isDecided() may have changed: the program was executed, or could not be.
    int words() const { return words_.get(); }
    bool isDecided();
    /// The errno why the program could not be executed; 0: it was executed, or this is not known
    /// yet.
    int executionError();

    /// Sends a signal to the process group, or only to the program if it has no group of its own.
    /// \returns 0 or an errno.  If the process id is unknown, kills the program, whatever the
    /// signal.
    int send(int signal);

    /// Reaps the program if it has ended.  `withRest`: first kills what is left of its process
    /// group, whose id cannot be reused until the leader is reaped.
    /// \returns whether it has ended.
    bool reap(bool withRest);

    tl::WatchProcessState_t state() const { return state_; }
    int exitStatus() const { return job_.exitStatus(); }
    int signal() const { return job_.signal(); }

private:
    void listen();
    void listenForNumber();
    bool mayBeReaped() const;
    int libraryStarts();

    Launch launch_;
    const Signals& signals_;
    tl::WatchProcess job_;
    tl::WatchProcessState_t state_ = tl::WP_NOT_STARTED;
    Descriptor words_;
    pid_t pid_ = 0;
    int executionError_ = 0;
};

}  // namespace tool
