#include "supervision/ChildStep.h"

#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "system/Failure.h"
#include "system/program.h"

namespace tool {

namespace {

const ChildStep* armed = nullptr;

void say(const ChildStep& step, ChildWord::What what, int value)
{
    const ChildWord word{what, value};
    while (::write(step.wordsTo_, &word, sizeof word) < 0 && errno == EINTR) {
    }
}

[[noreturn]] void giveUp(const ChildStep& step, int error)
{
    say(step, ChildWord::NOT_EXECUTED, error);
    ::_exit(exitCodeOf(error));
}

// There is no death signal for a parent that is already gone.  A parent in another process
// namespace appears as 0: it cannot be checked, and our process id means nothing to it.
void attachToParent(const ChildStep& step)
{
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const pid_t parent = ::getppid();
    if (parent != step.parent_ && parent != 0)
        ::_exit(EXIT_SUPERVISOR);
    say(step, ChildWord::PID, parent == step.parent_ ? ::getpid() : 0);
}

void connectOutput(const ChildStep& step)
{
    (void)::close(step.surplus_);
    if (::dup2(step.output_, STDOUT_FILENO) < 0 || ::dup2(step.output_, STDERR_FILENO) < 0)
        giveUp(step, errno);
}

// Errors after which execvp(3) tries the next directory in PATH.
bool meansElsewhere(int error)
{
    return error == ENOENT || error == ENOTDIR || error == EACCES || error == ENAMETOOLONG ||
           error == ESTALE || error == ENODEV || error == ETIMEDOUT;
}

// \returns the errno why none of the files could be executed.
int execute(const ChildStep& step)
{
    int result = ENOENT;
    for (const std::string& path : step.paths_) {
        (void)::execve(path.c_str(), step.words_.data(), step.environment_.data());
        const int error = errno;
        if (!meansElsewhere(error))
            return error;
        if (error == EACCES)
            result = EACCES;
        else if (step.paths_.size() == 1)
            result = error;
    }
    return result;
}

// Runs in the child after every fork().
void takeStep()
{
    if (armed == nullptr)
        return;
    const ChildStep& step = *armed;
    if (step.ownGroup_)
        (void)::setpgid(0, 0);
    attachToParent(step);
    connectOutput(step);
    step.signals_->putBack();
    giveUp(step, execute(step));
}

// Once: a handler cannot be removed.
void installHandler()
{
    static const int error = ::pthread_atfork(nullptr, nullptr, takeStep);
    if (error != 0)
        throw std::bad_alloc();  // the only possible reason
}

}  // namespace

ArmedStep::ArmedStep(const ChildStep& step)
{
    installHandler();
    armed = &step;
}

ArmedStep::~ArmedStep()
{
    armed = nullptr;
}

}  // namespace tool
