#pragma once

#include "supervision/Child.h"
#include "supervision/Notices.h"
#include "supervision/Orders.h"
#include "supervision/OutputCopy.h"
#include "supervision/StatusLine.h"
#include "supervision/Termination.h"

namespace tool {

/// The result of one run of a program.
struct Ending {
    tl::WatchProcessState_t state_ = tl::WP_NOT_STARTED;
    int exitStatus_ = 0;
    int signal_ = 0;
    int error_ = 0;        ///< errno why it was not executed, or ETIME
    bool forked_ = false;  ///< a process was created
    bool executed_ = false;
    bool timedOut_ = false;
    bool killed_ = false;
};

/// Watches one run of a program, from its start until all of its output is copied.
class Watch {
public:
    Watch(const Orders& orders, Signals& signals, OutputCopy& copy, StatusLine& status,
          const Notices& notices);

    Ending untilTheEnd();

private:
    int start();
    void showStatus();
    void waitForSomething();
    void act();
    void lookAtChild();
    void passOnRequests();
    void passOn(int signal);
    void stopWhereAsked();
    void enforceLimit();
    void tellStart();
    void moveOutput(const std::vector<pollfd>& files);
    void sayComplaints();
    void copyTheRest();
    void leaveReaderBehind();
    Limit patience() const;
    Limit untilLimit() const;

    const Orders& orders_;
    Signals& signals_;
    OutputCopy& copy_;
    StatusLine& status_;
    const Notices& notices_;
    Child child_;
    Termination termination_;
    Clock::time_point startedAt_;
    Clock::time_point lastMove_;
    Ending ending_;
    bool ended_ = false;
    bool startTold_ = false;
};

}  // namespace tool
