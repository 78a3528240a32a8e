#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "supervision/Signals.h"

namespace tool {

/// A report of the child to its parent, over a pipe that closes when the program is executed.
struct ChildWord {
    enum What : int { PID, NOT_EXECUTED } what_;
    int value_;  ///< the process id, 0 if useless to the parent; or an errno
};

/// What a child does between fork(2) and execve(2).  Everything that needs memory is prepared
/// before: the step itself only makes system calls.
struct ChildStep {
    std::vector<std::string> paths_;  ///< candidates, in the order of PATH
    std::vector<char*> words_;        ///< argument vector, null-terminated
    std::vector<char*> environment_;  ///< null-terminated
    bool ownGroup_ = true;
    pid_t parent_ = 0;
    int output_ = -1;   ///< becomes standard output and error
    int wordsTo_ = -1;  ///< receives ChildWord
    int surplus_ = -1;  ///< a descriptor to close
    const Signals* signals_ = nullptr;
};

/// While one of these lives, a forked child takes `step` instead of returning from fork(2).
///
/// This replaces what the library does in the child: run needs a process group, a search in PATH
/// and any number of arguments.
class ArmedStep {
public:
    explicit ArmedStep(const ChildStep& step);
    ~ArmedStep();

    ArmedStep(const ArmedStep&) = delete;
    ArmedStep& operator=(const ArmedStep&) = delete;
};

}  // namespace tool
