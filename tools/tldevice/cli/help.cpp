#include "cli/help.h"

#include <algorithm>

#include "cli/commands.h"
#include "text/wrap.h"

namespace tool {

namespace {

constexpr std::size_t INDENT = 2;
constexpr std::size_t TEXT_COLUMN = 26;
constexpr std::size_t NAME_COLUMN = 14;

struct Text {
    std::string text_;
};

const Field<Text> HELP_FIELDS[] = {{"help", "help", "the help text", &Text::text_}};
const Field<Text> VERSION_FIELDS[] = {
    {"version", "version", "the version of tldevice", &Text::text_}};

// On a narrow terminal the text column moves left.  A long term gets a line of its own.
std::string entry(const std::string& term, const std::string& says, std::size_t column)
{
    if (textColumns() > 0)
        column = std::min(column, textColumns() / 3);
    std::string line = std::string(INDENT, ' ') + term;
    if (line.size() + INDENT > column)
        line += "\n" + std::string(column, ' ');
    else
        line.resize(column, ' ');
    return line + wrapped(says, column);
}

std::string entry(const Option& option)
{
    std::string names = option.names_;
    const std::size_t comma = names.find(',');
    if (comma != std::string::npos)
        names.insert(comma + 1, " ");
    return entry(option.value_ == nullptr ? names : names + " " + option.value_, option.says_,
                 TEXT_COLUMN);
}

std::string entries(const std::vector<Option>& options)
{
    std::string out;
    for (const Option& option : options)
        out += entry(option);
    return out;
}

std::string allOptionsOf(const Command& command)
{
    std::string out;
    for (const Option* option : optionsOf(&command))
        out += entry(*option);
    return out;
}

std::string exits(const std::vector<ExitRow>& rows)
{
    std::string out;
    for (const ExitRow& row : rows)
        out += entry(row.codes_, row.says_, 10);
    return out;
}

std::string fields(const std::vector<FieldName>& fields)
{
    std::string out;
    for (const FieldName& field : fields)
        out += entry(field.name_, described(field), 22);
    return out;
}

std::string usage(const Command& command)
{
    std::string out;
    std::string lead = "Usage: ";
    for (const char* line : command.usage_) {
        out += lead + (*line == ' ' ? "" : std::string("tldevice ") + command.name_ + " ") + line +
               "\n";
        lead = "       ";
    }
    return out;
}

std::string section(const std::string& title, const std::string& lines)
{
    return lines.empty() ? "" : "\n" + title + ":\n" + lines;
}

std::string help(const Command& command)
{
    std::string summary = command.summary_;
    summary[0] = static_cast<char>(summary[0] - 'a' + 'A');
    return usage(command) + "\n" + wrapped(summary + ".  " + command.says_, 0) +
           section("Operands", entries(command.operands_)) +
           section("Options", allOptionsOf(command)) +
           section(command.fieldsTitle_, fields(command.fields_)) +
           section("Exit status", exits(command.exits_));
}

std::string help()
{
    std::string list;
    for (const Command* command : commands())
        list += entry(command->name_, command->summary_, NAME_COLUMN);

    std::string tries;
    for (const Command* command : commands())
        for (const ExampleRow& example : command->examples_)
            tries += std::string(INDENT, ' ') + "# " + example.says_ + "\n" +
                     std::string(INDENT, ' ') + example.line_ + "\n";

    return "Usage: tldevice COMMAND [OPTION...]\n\n" +
           wrapped(
               "Identify a device, see what the update manager sees, and run programs "
               "under supervision.",
               0) +
           section("Commands", list) + section("Common options", entries(commonOptions())) +
           section("Output formats of a query",
                   entry("--plain", "tab-separated lines", NAME_COLUMN) +
                       entry("--json", "JSON", NAME_COLUMN) +
                       entry("--shell", "variable assignments for eval", NAME_COLUMN) +
                       entry("--field F", "the value of one field", NAME_COLUMN)) +
           section("Exit status of a query", exits(QUERY_EXITS)) +
           section("Exit status of run and sandbox --as", exits(PROGRAM_EXITS)) +
           section("Examples", tries) + "\n" +
           wrapped("Run 'tldevice COMMAND --help' for more about a command.", 0);
}

}  // namespace

Answer helpAnswer(const Command* command)
{
    Answer answer;
    answer.people_ = command == nullptr ? help() : help(*command);
    answer.fields_ = rowOf(HELP_FIELDS, Text{answer.people_});
    return answer;
}

Answer versionAnswer()
{
    Answer answer;
    answer.fields_ = rowOf(VERSION_FIELDS, Text{TLDEVICE_VERSION});
    answer.people_ = "tldevice " TLDEVICE_VERSION "\n";
    return answer;
}

std::vector<Shape> helpShapes()
{
    return {{"help", namesOf(HELP_FIELDS)}, {"version", namesOf(VERSION_FIELDS)}};
}

}  // namespace tool
