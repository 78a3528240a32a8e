#include <sstream>

#include "answer/json.h"
#include "supervision/Supervision.h"
#include "system/output.h"

namespace tool {

namespace {

std::string finalStateOf(const Outcome& outcome)
{
    std::ostringstream name;
    name << outcome.ending_.state_;
    return name.str();
}

template <auto MEMBER>
auto ending(const Outcome& outcome)
{
    return outcome.ending_.*MEMBER;
}

std::string errorTextOf(const Outcome& outcome)
{
    return reason(outcome.ending_.error_);
}

// To the millisecond.
double secondsOf(const Outcome& outcome)
{
    const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(outcome.time_);
    return static_cast<double>(time.count()) / 1000;
}

// clang-format off
const Field<Outcome> REPORT_FIELDS[] = {
    { "command",         "command",         "the program and its arguments",                     &Outcome::words_ },
    { "exit_code",       "exit code",       "exit status of run, unless a signal interrupts it", &Outcome::exitCode_ },
    { "state",           "state",           "the final state, by its name in the library",       finalStateOf },
    { "exit_status",     "exit status",     "the program's own exit status",                     ending<&Ending::exitStatus_> },
    { "signal",          "signal",          "the signal that ended the program; 0 if none",      ending<&Ending::signal_> },
    { "errno",           "errno",           "errno of a failed start, or ETIME; 0 if none",      ending<&Ending::error_> },
    { "errno_text",      "errno text",      "the text for errno",                                errorTextOf },
    { "killed_by_timer", "killed by timer", "whether the time limit was reached",                ending<&Ending::timedOut_> },
    { "killed",          "killed",          "whether KILL was sent",                             ending<&Ending::killed_> },
    { "interrupted_by",  "interrupted by",  "the signal that interrupted run; 0 if none",        &Outcome::interruptedBy_ },
    { "seconds",         "seconds",         "total time of all starts",                          secondsOf },
    { "starts",          "starts",          "number of starts",                                  &Outcome::starts_ },
    { "log_bytes",       "log bytes",       "bytes of output in all starts",                     &Outcome::bytes_ },
    { "output_complete", "output complete", "whether no output was lost",                        &Outcome::outputComplete_ },
    { "message",         "message",         "how the program ended",                             &Outcome::message_ },
};
// clang-format on

}  // namespace

std::vector<FieldName> reportFields()
{
    return namesOf(REPORT_FIELDS);
}

std::string reportOn(const Outcome& outcome)
{
    return jsonDocument(rowOf(REPORT_FIELDS, outcome));
}

}  // namespace tool
