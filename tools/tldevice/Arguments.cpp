#include "Arguments.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>

#include "bytes.h"
#include "output.h"

namespace tool {

namespace {

const OptionRow* optionSpelled(const CommandRow& command, const std::string& word)
{
    const std::string name = word.substr(0, word.find('='));
    for (const OptionRow& option : options()) {
        const std::string names = std::string(",") + option.names_ + ",";
        if ((option.commands_ & command.command_) != 0 && !isOperand(option) &&
            names.find("," + name + ",") != std::string::npos)
            return &option;
    }
    return nullptr;
}

bool looksLikeOption(const std::string& word)
{
    return word.size() > 1 && word[0] == '-';
}

bool takesProgram(const CommandRow& command)
{
    return (command.command_ & (RUN | SANDBOX)) != 0;
}

// CLI11's words are about its own classes; these are about what was typed.
std::string complaint(const CLI::Error& error, const CLI::App& app)
{
    const std::vector<std::string> left = app.remaining();
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError) && !left.empty())
        return (looksLikeOption(left[0]) ? "unknown option '" : "unexpected operand '") +
               escaped(left[0]) + "'";
    return escaped(error.what());
}

std::string excluding(const std::string& one, const std::string& other)
{
    return "--" + one + " and --" + other + " exclude each other";
}

}  // namespace

Failure wrongUse(const CommandRow* command, const std::string& message)
{
    const bool run = command != nullptr && command->command_ == RUN;
    return Failure{run ? EXIT_SUPERVISOR : EXIT_WRONG_USE, "usage", message};
}

Arguments::Arguments(const CommandRow& command, const std::vector<std::string>& words)
    : command_(command)
{
    parse(takesProgram(command) ? takeProgram(words) : words);
    check();
}

// The program begins behind "--"; that of `run` also at the first word which is no option.  What follows
// belongs to it, options and all, so it is set aside before anybody parses it.
std::vector<std::string> Arguments::takeProgram(const std::vector<std::string>& words)
{
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--" || (command_.command_ == RUN && !looksLikeOption(words[i]))) {
            const std::size_t begin = words[i] == "--" ? i + 1 : i;
            program_.assign(words.begin() + static_cast<std::ptrdiff_t>(begin), words.end());
            return {words.begin(), words.begin() + static_cast<std::ptrdiff_t>(i)};
        }
        const OptionRow* option = optionSpelled(command_, words[i]);
        if (option != nullptr && words[i].find('=') == std::string::npos)
            i += static_cast<std::size_t>(option->values_);
    }
    return words;
}

void Arguments::parse(std::vector<std::string> words)
{
    CLI::App app;
    app.set_help_flag();  // --help is an option like any other

    std::vector<std::pair<const OptionRow*, CLI::Option*>> known;
    for (const OptionRow& option : options()) {
        if ((option.commands_ & command_.command_) == 0 || option.completes_ == Completes::PROGRAM)
            continue;
        CLI::Option* added = option.values_ == 0
                                 ? app.add_flag(option.names_)->disable_flag_override()
                                 : app.add_option(option.names_);
        if (option.values_ > 0)
            added->expected(option.values_)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
        known.emplace_back(&option, added);
    }

    try {
        std::reverse(words.begin(), words.end());  // CLI11 takes them from the back
        app.parse(words);
    } catch (const CLI::Error& error) {
        throw wrongUse(&command_, complaint(error, app));
    }

    for (const auto& [option, parsed] : known)
        if (parsed->count() > 0)
            values_[keyOf(*option)] = parsed->results();
}

void Arguments::check() const
{
    for (const OptionRow& option : options()) {
        const auto given = values_.find(keyOf(option));
        if (given == values_.end() || option.values_ == 0 || option.repeats_)
            continue;
        const auto wanted = static_cast<std::size_t>(option.values_);
        if (given->second.size() > wanted)
            throw wrongUse(&command_, std::string(option.names_) + " was given more than once");
        if (given->second.size() < wanted)
            throw wrongUse(&command_, std::string(option.names_) + " takes " +
                                          std::to_string(wanted) + " values");
    }

    if (has("help") || has("version"))
        return;
    atMostOneOf({"plain", "json", "shell", "field"});
    if (has("field")) {
        std::string names;
        for (const FieldName& field : command_.fields_) {
            if (value("field") == field.name_)
                return;
            names += (names.empty() ? "" : ", ") + std::string(field.name_);
        }
        throw wrongUse(&command_, "there is no field '" + escaped(value("field")) +
                                      "'; the fields are " + names);
    }
    const std::string when = has("color") ? value("color") : "auto";
    if (when != "auto" && when != "always" && when != "never")
        throw wrongUse(&command_,
                       "--color takes auto, always or never, not '" + escaped(when) + "'");
}

bool Arguments::has(const std::string& key) const
{
    return values_.count(key) > 0;
}

std::string Arguments::value(const std::string& key) const
{
    const auto& all = values(key);
    return all.empty() ? "" : all.front();
}

const std::vector<std::string>& Arguments::values(const std::string& key) const
{
    static const std::vector<std::string> none;
    const auto found = values_.find(key);
    return found == values_.end() ? none : found->second;
}

Form Arguments::form() const
{
    if (has("json"))
        return Form::JSON;
    if (has("plain"))
        return Form::PLAIN;
    if (has("shell"))
        return Form::SHELL;
    return Form::PEOPLE;
}

bool Arguments::colour(int fd) const
{
    const std::string when = value("color");
    if (when == "always" || when == "never")
        return when == "always";

    const char* off = ::getenv("NO_COLOR");
    return (off == nullptr || *off == '\0') && isCapableTerminal(fd);
}

bool Arguments::header() const
{
    return ::isatty(STDOUT_FILENO) == 1;
}

void Arguments::atMostOneOf(const std::vector<std::string>& keys) const
{
    std::string first;
    for (const std::string& key : keys) {
        if (!has(key))
            continue;
        if (!first.empty())
            throw wrongUse(&command_, excluding(first, key));
        first = key;
    }
}

int Arguments::print(const Answer& answer, int exitCode) const
{
    tool::print(has("field") ? oneField(answer, value("field")) : inForm(form(), answer, header()));
    if (!answer.error_.empty())
        complain(answer.error_);
    return exitCode;
}

}  // namespace tool
