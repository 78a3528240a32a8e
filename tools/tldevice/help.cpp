#include "commands.h"
#include "wrap.h"

namespace {

using tool::wrapped;

constexpr std::size_t INDENT = 2;
constexpr std::size_t TEXT_COLUMN = 26;

std::string entry(const std::string& term, const std::string& says, std::size_t column)
{
    std::string line = std::string(INDENT, ' ') + term;
    if (line.size() + INDENT > column)
        line += "\n" + std::string(column, ' ');
    else
        line.resize(column, ' ');
    return line + wrapped(says, column);
}

std::string term(const tool::OptionRow& option)
{
    std::string names = option.names_;
    const std::size_t comma = names.find(',');
    if (comma != std::string::npos)
        names.insert(comma + 1, " ");
    return option.value_ == nullptr ? names : names + " " + option.value_;
}

std::string optionsOf(unsigned commands, bool operands)
{
    std::string out;
    for (const tool::OptionRow& option : tool::options())
        if ((option.commands_ & commands) == commands && tool::isOperand(option) == operands)
            out += entry(term(option), option.says_, TEXT_COLUMN);
    return out;
}

std::string exits(const std::vector<tool::ExitRow>& rows)
{
    std::string out;
    for (const tool::ExitRow& row : rows)
        out += entry(row.codes_, row.says_, 10);
    return out;
}

std::string usage(const tool::CommandRow& command)
{
    std::string out;
    std::string lead = "Usage: ";
    for (const char* line : command.usage_) {
        const bool goesOn = command.command_ == tool::RUN && !out.empty();
        out += lead +
               (goesOn ? std::string(13, ' ') : std::string("tldevice ") + command.name_ + " ") +
               line + "\n";
        lead = "       ";
    }
    return out;
}

std::string section(const std::string& title, const std::string& lines)
{
    return lines.empty() ? "" : "\n" + title + ":\n" + lines;
}

std::string capitalised(std::string text)
{
    text[0] = static_cast<char>(text[0] - 'a' + 'A');
    return text;
}

std::string fieldsOf(const tool::CommandRow& command)
{
    std::string out;
    for (const tool::FieldName& field : command.fields_)
        out += entry(field.name_, field.says_, 22);
    return out;
}

}  // namespace

std::string tool::help()
{
    std::string list;
    for (const CommandRow& command : commands())
        list += entry(command.name_, command.summary_, 14);

    std::string tries;
    for (const ExampleRow& example : examples())
        tries += std::string(INDENT, ' ') + "# " + example.says_ + "\n" + std::string(INDENT, ' ') +
                 example.line_ + "\n";

    return "Usage: tldevice COMMAND [OPTION...]\n\n" +
           wrapped("Which device is this, why, and what will the update manager see?", 0) +
           section("Commands", list) +
           section("Options of every command", optionsOf(EVERYWHERE, false)) +
           section("Forms of an answer, besides the one for people",
                   entry("--plain", "tab-separated lines", 14) + entry("--json", "JSON", 14) +
                       entry("--shell", "assignments for eval", 14) +
                       entry("--field F", "the value of one field", 14)) +
           section("Exit status", exits(queryExits())) +
           section("Exit status of run", exits(runExits())) + section("Examples", tries) +
           "\n'tldevice COMMAND --help' tells more of a command.\n";
}

std::string tool::help(const CommandRow& command)
{
    return usage(command) + "\n" +
           wrapped(capitalised(command.summary_) + ".  " + command.says_, 0) +
           section("Operands", optionsOf(command.command_, true)) +
           section("Options", optionsOf(command.command_, false)) +
           section(command.command_ == RUN ? "Fields of the report" : "Fields", fieldsOf(command)) +
           section("Exit status", exits(command.command_ == RUN ? runExits() : queryExits()));
}
