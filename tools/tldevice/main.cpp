#include <exception>

#include "answer/json.h"
#include "cli/Arguments.h"
#include "cli/completion.h"
#include "cli/help.h"
#include "system/output.h"

namespace {

using tool::Arguments;
using tool::Failure;

int answer(const Arguments& arguments)
{
    arguments.check();
    if (arguments.has("help"))
        return arguments.print(tool::helpAnswer(arguments.command()), tool::EXIT_YES);
    if (arguments.has("version"))
        return arguments.print(tool::versionAnswer(), tool::EXIT_YES);
    return arguments.command()->run_(arguments);
}

void printInForm(tool::Form form, const Failure& failure)
{
    try {
        if (form == tool::Form::JSON)
            tool::print(tool::jsonDocument(failure.code_, failure.message_));
        else if (form == tool::Form::SHELL)
            tool::print(tool::errorForShell(failure.code_));
    } catch (const Failure& another) {
        tool::complain(another.message_);
    }
}

// Prints no error: it would land in the line that the user is completing.
int complete(const std::vector<std::string>& words)
{
    try {
        return tool::complete(words);
    } catch (const Failure& failure) {
        return failure.exitCode_;
    }
}

int report(const Arguments& arguments, const Failure& failure)
{
    if (failure.code_ != tool::FailureCode::OUTPUT)
        printInForm(arguments.form(), failure);
    tool::complain(failure.message_);
    if (failure.code_ == tool::FailureCode::USAGE)
        tool::complain(
            "try 'tldevice " +
            (arguments.command() == nullptr ? "" : std::string(arguments.command()->name_) + " ") +
            "--help'");
    return arguments.runsProgram() ? tool::EXIT_SUPERVISOR : failure.exitCode_;
}

}  // namespace

int main(int argc, char** argv)
{
    tool::holdStandardDescriptors();

    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (!words.empty() && words[0] == "__complete")
        return complete({words.begin() + 1, words.end()});

    const Arguments arguments(words);
    try {
        return answer(arguments);
    } catch (const Failure& failure) {
        return report(arguments, failure);
    } catch (const std::exception& failure) {
        return report(arguments, {tool::EXIT_TROUBLE, tool::FailureCode::INTERNAL,
                                  std::string("failed: ") + failure.what()});
    }
}
