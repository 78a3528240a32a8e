#pragma once

#include <string>
#include <vector>

/// Makes one call of libc fail, in this process or in a child that it forks, and records every call
/// that was made.
///
/// Based on the hooks of clock, files, identity, process, streams and syslog, so it sees each call
/// of the library, and of libstdc++ on its behalf.  Records are kept in memory shared with forked
/// children, in two parts: calls of the process that armed the injection, and calls of its
/// children.
namespace injection {

enum Side { CALLER, CHILD };

/// Which call fails: number `point`, from 1, of those on `side`, with `error`; with `andAllAfter`,
/// all later ones as well.  Point 0: none.
struct Plan {
    Side side = CALLER;
    unsigned point = 0;
    int error = 0;
    bool andAllAfter = false;
    bool dies = false;  // the process is killed before the call, which does not fail
};

/// A call, and the errno with which it failed, really or by injection; 0: success.
struct Call {
    std::string name;
    int error;
};

void arm(const Plan& plan);
void disarm();

std::vector<Call> calls(Side side);

/// Messages to syslog(3), from both sides, since the injection was armed: "<priority> <text>".
std::vector<std::string> logged(Side side);

/// The names of files that mkstemp(3) created since the injection was armed.
std::vector<std::string> filesMade();

/// The plausible errors of a call; empty for a call that is never made to fail.
std::vector<int> plausibleErrors(const std::string& call);

/// The calls that can be made to fail.
std::vector<std::string> injectableCalls();

}  // namespace injection
