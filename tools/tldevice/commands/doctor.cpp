#include <unistd.h>

#include <algorithm>

#include "cli/Arguments.h"
#include "cli/words.h"
#include "health/Check.h"
#include "health/bundle.h"
#include "text/bytes.h"
#include "text/colour.h"
#include "text/wrap.h"

namespace tool {

namespace {

using Checks = std::vector<Check>;

Level worstOf(const Checks& checks)
{
    return checks.empty() ? Level::OK : checks.front().level_;
}

// clang-format off
const Field<Checks> DOCTOR_FIELDS[] = {
    { "worst",   "Worst",   "the worst level found",                               &worstOf },
};

const Field<Check> CHECK_FIELDS[] = {
    { "level",   "level",   "the severity",                                     &Check::level_ },
    { "name",    "name",    "the name of the check",                            &Check::name_ },
    { "message", "message", "what was found",                                   &Check::message_ },
    { "advice",  "advice",  "how to fix it",                                    &Check::advice_ },
    { "command", "command", "a command that follows the advice; empty if none", &Check::command_ },
};
// clang-format on

Colour colourOf(Level level)
{
    if (level == Level::FAIL)
        return Colour::BOLD_RED;
    return level == Level::OK ? Colour::GREEN : Colour::BOLD_YELLOW;
}

// "warn  sources: what was found", then the advice, then the command that follows it.  The command
// is never wrapped, so that it can be copied.
std::string forPeople(const Check& check, bool colour)
{
    constexpr std::size_t ADVICE_COLUMN = 6;
    const std::string margin(ADVICE_COLUMN, ' ');

    const std::string level = nameOf(check.level_);
    const std::size_t gap = level.size() < ADVICE_COLUMN ? ADVICE_COLUMN - level.size() : 2;
    std::string out = coloured(level, colourOf(check.level_), colour) + std::string(gap, ' ') +
                      wrapped(std::string(check.name_) + ": " + escaped(check.message_),
                              ADVICE_COLUMN, level.size() + gap);
    if (!check.advice_.empty())
        out += margin + "-> " + wrapped(escaped(check.advice_), ADVICE_COLUMN + 3);
    if (!check.command_.empty())
        out += margin + "$ " + escaped(check.command_) + "\n";
    return out;
}

std::string countOf(Level level, const Checks& checks)
{
    return std::to_string(std::count_if(checks.begin(), checks.end(),
                                        [level](const Check& c) { return c.level_ == level; })) +
           " " + nameOf(level);
}

std::string forPeople(const Checks& checks, bool colour)
{
    std::string out;
    for (const Check& check : checks)
        out += forPeople(check, colour);
    const std::string uncertain = countOf(Level::CANNOT_TELL, checks);
    return out + countOf(Level::FAIL, checks) + ", " + countOf(Level::WARN, checks) +
           (uncertain[0] == '0' ? "" : ", " + uncertain) + "\n";
}

int doctor(const Arguments& arguments)
{
    const Patient patient = thisMachine();
    const Checks checks = examineMachine(patient);
    const int exitCode = worstOf(checks) == Level::FAIL ? EXIT_NO : EXIT_YES;

    Answer answer;
    answer.fields_ = rowOf(DOCTOR_FIELDS, checks);
    answer.lists_ = {{"checks", rowsOf(CHECK_FIELDS, checks)}};
    if (arguments.has("bundle"))
        return arguments.print(bundled(patient, answer), exitCode);
    answer.people_ = forPeople(checks, arguments.colour(STDOUT_FILENO));
    return arguments.print(answer, exitCode);
}

}  // namespace

const Command& doctorCommand()
{
    static const Command command = [] {
        const ListName checks{"checks", namesOf(CHECK_FIELDS)};
        const Shape shape{"doctor", namesOf(DOCTOR_FIELDS), {checks}};
        Command is;
        is.name_ = "doctor";
        is.usage_ = {"[--bundle | --field F]"};
        is.summary_ = "diagnose this device and advise how to fix it";
        is.says_ =
            "Each check is fail, warn, cannot tell or ok, worst first; the last line counts the "
            "failures and warnings.  The exit status is 1 if any check fails.  Run it as root: "
            "for other users, whatever they may not access is \"cannot tell\".  A line that starts "
            "with \"$\" is a command that follows the advice.";
        is.options_ = {
            flag("--bundle", "print a full report as one JSON document, for a support ticket"),
            fieldOption()};
        is.atMostOneOf_ = {{"bundle", "plain", "shell", "field"}};
        is.answersInJson_ = "bundle";
        is.fields_ = shape.fields_;
        is.fields_.insert(is.fields_.end(), checks.fields_.begin(), checks.fields_.end());
        is.answers_ = {shape, bundleShape(shape)};
        is.examples_ = {{"Diagnose this device.", "tldevice doctor || true"},
                        {"Collect a report for a support ticket.",
                         "tldevice doctor --bundle >bundle.json || true"}};
        is.run_ = doctor;
        return is;
    }();
    return command;
}

}  // namespace tool
