#include "supervision/Termination.h"

#include <cerrno>

#include "supervision/signalNames.h"
#include "system/output.h"

namespace tool {

Termination::Termination(Child& child, const Orders& orders, const Notices& notices)
    : child_(child), orders_(orders), notices_(notices), name_("'" + orders.launch_.words_[0] + "'")
{
}

// The signal first: writing the message may block.
void Termination::send(int signal)
{
    const int error = child_.send(signal);
    if (error == 0)
        notices_.tell("sending " + signalName(signal) + " to " + name_);
    else if (error != ESRCH)
        notices_.say("cannot send " + signalName(signal) + " to " + name_ + ": " + reason(error));
}

void Termination::begin(int signal)
{
    expectEnd();
    send(signal);
    if (signal == SIGKILL) {
        killed_ = true;
        killAt_.reset();
    } else if (signal != SIGCONT && signal != SIGSTOP) {
        send(SIGCONT);  // a stopped process does not handle the signal
    }
}

void Termination::expectEnd()
{
    if (!begun_ && orders_.killAfter_)
        killAt_ = Clock::now() + *orders_.killAfter_;
    begun_ = true;
}

void Termination::enforce()
{
    if (!killAt_ || Clock::now() < *killAt_)
        return;
    killAt_.reset();
    killed_ = true;
    send(SIGKILL);
}

Limit Termination::due() const
{
    return killAt_ ? Limit(*killAt_ - Clock::now()) : Limit();
}

bool Termination::reap()
{
    const bool withRest = begun_ && orders_.killAfter_ && orders_.launch_.ownGroup_;
    if (!child_.reap(withRest))
        return false;
    if (withRest)
        notices_.tell("sending KILL to the rest of the process group of " + name_);
    return true;
}

}  // namespace tool
