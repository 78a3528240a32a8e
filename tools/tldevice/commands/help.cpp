#include "cli/help.h"

#include "cli/Arguments.h"
#include "cli/commands.h"
#include "cli/words.h"

namespace tool {

namespace {

int help(const Arguments& arguments)
{
    const Command* command = commandNamed(arguments.value("COMMAND"));
    return arguments.print(helpAnswer(command), EXIT_YES);
}

}  // namespace

const Command& helpCommand()
{
    static const Command command = [] {
        Command is;
        is.name_ = "help";
        is.usage_ = {"[COMMAND]"};
        is.summary_ = "show help for a command";
        is.says_ = "Same as COMMAND --help.";
        is.operands_ = {operand("COMMAND", COMMAND_NAMES,
                                "the command; if omitted, an overview of all commands")};
        is.examples_ = {{"Show the options of a command.", "tldevice help run"}};
        is.run_ = help;
        return is;
    }();
    return command;
}

}  // namespace tool
