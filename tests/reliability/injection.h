#pragma once

#include <string>
#include <vector>

/// Makes one call of libc fail, in this process or in a child that it forks, and records every call that was made.
///
/// The program that links this defines the functions itself, at the dynamic linker, so it sees each call that the library, or
/// libstdc++ on its behalf, makes.  What is recorded lies in memory that is shared with forked children, on two sides: the
/// calls of the process that armed the injection, and those of its children.
namespace injection {

enum Side { CALLER, CHILD };

/// Which call fails: number `point`, from 1, of those that `side` makes, with `error`; `andAllAfter` it, too.
/// Point 0 lets none fail.
struct Plan {
    Side side = CALLER;
    unsigned point = 0;
    int error = 0;
    bool andAllAfter = false;
    bool dies = false;  // instead of failing, the process is killed before the call
};

/// A call that was made, and the errno with which it failed, for real or because it was told to; 0: it succeeded.
struct Call {
    std::string name;
    int error;
};

void arm(const Plan& plan);
void disarm();

std::vector<Call> calls(Side side);

/// What went to syslog(3), in both processes, since the injection was armed: "<priority> <text>".
std::vector<std::string> logged(Side side);

/// The names that mkstemp(3) gave files since the injection was armed.
std::vector<std::string> filesMade();

/// The errors with which a call is known to fail; empty for a call that is not injected.
std::vector<int> plausibleErrors(const std::string& call);

/// The calls that can be made to fail.
std::vector<std::string> injectableCalls();

}  // namespace injection
