#include "cli/Command.h"

#include "cli/words.h"

namespace tool {

const Words FREE{};
const Words FILES{Words::Are::FILES};

const std::vector<ExitRow> QUERY_EXITS = {
    {"0", "yes, found, nothing wrong"},
    {"1", "no, not found, different, something wrong"},
    {"2", "wrong use, including an unknown id or name"},
    {"3", "this device could not be identified"},
    {"4", "something could not be read, written, created or removed"},
};

const std::vector<ExitRow> PROGRAM_EXITS = {
    {"N", "CMD's own exit status"},
    {"124", "CMD timed out"},
    {"125", "wrong use, or tldevice failed or lost output of a successful CMD"},
    {"126", "CMD was found but could not be executed"},
    {"127", "CMD was not found"},
    {"128+N", "CMD was ended by signal N"},
};

Option flag(const char* names, const char* says)
{
    return {names, nullptr, says, FREE, 0};
}

Option option(const char* names, const char* value, const Words& words, const char* says)
{
    return {names, value, says, words};
}

Option optionOfTwo(const char* names, const char* values, const Words& words, const char* says)
{
    return {names, values, says, words, 2};
}

Option repeated(Option option)
{
    option.repeats_ = true;
    return option;
}

Option operand(const char* name, const Words& words, const char* says)
{
    return {name, nullptr, says, words};
}

Option program()
{
    return operand("CMD", Words{Words::Are::A_PROGRAM},
                   "the program, searched for in PATH, and its arguments");
}

std::vector<std::string> spellings(const Option& option)
{
    const std::string names = option.names_;
    const std::size_t comma = names.find(',');
    if (comma == std::string::npos)
        return {names};
    return {names.substr(0, comma), names.substr(comma + 1)};
}

std::string keyOf(const Option& option)
{
    const std::string name = spellings(option).back();
    return name.substr(std::min(name.find_first_not_of('-'), name.size()));
}

const std::vector<Option>& formOptions()
{
    static const std::vector<Option> options = {
        flag("--plain", "print tab-separated lines without a header"),
        flag("--json", "print JSON, including errors"),
        flag("--shell", "print variable assignments for eval in a shell"),
    };
    return options;
}

const std::vector<Option>& commonOptions()
{
    static const std::vector<Option> options = {
        option("--color", "WHEN", COLOUR_WORDS,
               "use colour: always, never or, on a terminal only, auto (default)"),
        flag("-h,--help", "print this help"),
        flag("-V,--version", "print the version"),
    };
    return options;
}

std::vector<const Option*> optionsOf(const Command* command)
{
    std::vector<const Option*> all;
    const auto add = [&](const std::vector<Option>& options) {
        for (const Option& option : options)
            all.push_back(&option);
    };
    if (command != nullptr)
        add(command->options_);
    if (command == nullptr || command->hasForms_)
        add(formOptions());
    add(commonOptions());
    return all;
}

}  // namespace tool
