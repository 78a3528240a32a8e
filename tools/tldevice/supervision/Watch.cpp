#include "supervision/Watch.h"

#include <algorithm>
#include <cerrno>

#include "supervision/lateOutput.h"
#include "system/output.h"
#include "text/wrap.h"

namespace tool {

namespace {

// After the program has ended: how long a reader may stall once the limit has passed, and once we
// are asked to end.
constexpr std::chrono::seconds PATIENCE_PAST_LIMIT(10);
constexpr std::chrono::seconds PATIENCE_WHEN_ASKED(1);

Limit sooner(Limit one, Limit other)
{
    if (!one || !other)
        return one ? one : other;
    return std::min(*one, *other);
}

}  // namespace

Watch::Watch(const Orders& orders, Signals& signals, OutputCopy& copy, StatusLine& status,
             const Notices& notices)
    : orders_(orders),
      signals_(signals),
      copy_(copy),
      status_(status),
      notices_(notices),
      child_(orders.launch_, signals),
      termination_(child_, orders, notices)
{
}

Ending Watch::untilTheEnd()
{
    ending_.error_ = start();
    ending_.forked_ = ending_.error_ == 0;
    if (!ending_.forked_) {
        ending_.state_ = child_.state();
        return ending_;
    }

    startedAt_ = Clock::now();
    while (!ended_) {
        showStatus();
        waitForSomething();
    }
    status_.hide();
    copyTheRest();
    leaveReaderBehind();
    return ending_;
}

int Watch::start()
{
    Descriptor output = copy_.openSource();
    return output.isOpen() ? child_.start(std::move(output)) : errno;
}

// Does not overwrite a line that the program has not finished.
void Watch::showStatus()
{
    if (!copy_.isTaken())
        status_.hide();
    else if (copy_.endsInNewline())
        status_.show(Clock::now() - startedAt_);
}

void Watch::waitForSomething()
{
    std::vector<pollfd> files = copy_.watched();
    if (notices_.tellsAll() && !startTold_)
        files.push_back({child_.words(), POLLIN, 0});
    const Limit due = sooner(ending_.timedOut_ ? Limit() : untilLimit(), termination_.due());
    signals_.wait(files.data(), files.size(),
                  sooner(due, status_.changesAfter(Clock::now() - startedAt_)));
    act();
    moveOutput(files);
}

void Watch::act()
{
    tellStart();
    stopWhereAsked();
    if (signals_.takeChildChanged())
        lookAtChild();
    if (ended_)
        return;
    passOnRequests();
    enforceLimit();
    termination_.enforce();
}

void Watch::lookAtChild()
{
    if (!termination_.reap())
        return;
    ended_ = true;
    ending_.state_ = child_.state();
    ending_.exitStatus_ = child_.exitStatus();
    ending_.signal_ = child_.signal();
    ending_.error_ = child_.executionError();
    ending_.executed_ = ending_.error_ == 0;
    ending_.killed_ = termination_.killed();
    tellStart();
    if (ending_.timedOut_)
        ending_.error_ = ETIME;
}

void Watch::passOnRequests()
{
    while (const int signal = signals_.takeRequest())
        if (!ended_)
            passOn(signal);
}

// A typed signal went to the whole foreground group, so the program has it if that is its group.
void Watch::passOn(int signal)
{
    if (!orders_.launch_.ownGroup_ && signals_.wasTyped(signal))
        termination_.expectEnd();
    else
        termination_.begin(signal);
}

// The terminal stops only us if the program has a group of its own.
void Watch::stopWhereAsked()
{
    if (!signals_.takeStop())
        return;
    status_.hide();
    if (!ended_)
        termination_.send(SIGTSTP);
    signals_.stopOurselves();
    if (!ended_)
        termination_.send(SIGCONT);
}

void Watch::enforceLimit()
{
    if (ending_.timedOut_ || !orders_.limit_ || *untilLimit() > std::chrono::nanoseconds(0))
        return;
    ending_.timedOut_ = true;
    termination_.begin(orders_.signal_);
}

Limit Watch::untilLimit() const
{
    return orders_.limit_ ? Limit(*orders_.limit_ - (Clock::now() - startedAt_)) : Limit();
}

void Watch::tellStart()
{
    if (startTold_ || !notices_.tellsAll() || !child_.isDecided())
        return;
    startTold_ = true;
    if (child_.executionError() == 0)
        notices_.tell("started " + joined(orders_.launch_.words_, " ") +
                      (orders_.limit_ ? ", for at most " + inSeconds(*orders_.limit_) : ""));
}

void Watch::moveOutput(const std::vector<pollfd>& files)
{
    if (copy_.move(files))
        lastMove_ = Clock::now();
    sayComplaints();
}

void Watch::sayComplaints()
{
    for (const std::string& complaint : copy_.takeComplaints())
        notices_.say(complaint);
}

// Everything that the program had written when it ended.  Does not wait for the output of other
// processes.
void Watch::copyTheRest()
{
    copy_.readNoMoreThanIsThere();
    lastMove_ = Clock::now();
    while (!copy_.isAtEnd()) {
        std::vector<pollfd> files = copy_.watched();
        const Limit most = patience();
        signals_.wait(files.data(), files.size(),
                      most ? Limit(lastMove_ + *most - Clock::now()) : untilLimit());
        (void)signals_.takeChildChanged();
        passOnRequests();
        stopWhereAsked();
        moveOutput(files);
        if (most && Clock::now() - lastMove_ >= *most)
            copy_.giveUp("the output was not read for " + inSeconds(*most) + ": the rest is lost");
    }
    sayComplaints();
}

// None: no limit for the reader.
Limit Watch::patience() const
{
    if (signals_.firstRequest() != 0)
        return PATIENCE_WHEN_ASKED;
    const Limit left = untilLimit();
    return left && *left <= std::chrono::nanoseconds(0) ? Limit(PATIENCE_PAST_LIMIT) : Limit();
}

void Watch::leaveReaderBehind()
{
    Descriptor pipe = copy_.sourceInUse();
    const int error = pipe.isOpen() ? discardLateOutput(std::move(pipe), signals_) : 0;
    if (error != 0)
        notices_.say("processes that are still running have lost their output: " + reason(error));
}

}  // namespace tool
