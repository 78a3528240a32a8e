#include "cli/Arguments.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "cli/commands.h"
#include "cli/words.h"
#include "system/output.h"

namespace tool {

Failure wrongUse(const std::string& message)
{
    return Failure{EXIT_WRONG_USE, FailureCode::USAGE, message};
}

Arguments::Arguments(std::vector<std::string> words) : words_(std::move(words))
{
    const Parsed before = parse(optionsOf(nullptr), words_, 0, StopAt::FIRST_OPERAND, nullptr);
    values_ = before.values_;
    mistake_ = before.mistake_;
    if (before.end_ < words_.size())
        readCommand(before.end_);
}

void Arguments::readCommand(std::size_t at)
{
    command_ = commandNamed(words_[at]);
    if (command_ == nullptr) {
        mistake(refusal(COMMAND_NAMES, {}, words_[at]));
        // An option behind it may still choose the form of the error.
        for (const auto& [key, values] :
             parse(optionsOf(nullptr), words_, at + 1, StopAt::END, nullptr).values_)
            values_[key] = values;
        return;
    }
    for (const Option& option : formOptions())
        if (!command_->hasForms_ && has(keyOf(option)))
            mistake(std::string(command_->name_) + " does not take " + option.names_);

    const Parsed parsed =
        parse(optionsOf(command_), words_, at + 1, StopAt::END, command_->runsProgram_);
    for (const auto& [key, values] : parsed.values_)
        values_[key].insert(values_[key].end(), values.begin(), values.end());
    mistake(parsed.mistake_);
    std::vector<std::string> operands = parsed.operands_;
    std::vector<std::string>& rest = command_->runsProgram_ != nullptr ? program_ : operands;
    rest.insert(rest.end(), words_.begin() + static_cast<std::ptrdiff_t>(parsed.end_),
                words_.end());
    readOperands(operands);
}

void Arguments::readOperands(const std::vector<std::string>& operands)
{
    std::size_t next = 0;
    for (const Option& operand : command_->operands_)
        if (next < operands.size() && operand.words_.are_ != Words::Are::A_PROGRAM)
            values_[keyOf(operand)] = {operands[next++]};
    if (next < operands.size())
        mistake("unexpected operand '" + operands[next] + "'");
    if (!program_.empty() && !runsProgram())
        mistake("a program requires --" + std::string(command_->runsProgram_));
}

void Arguments::mistake(const std::string& what)
{
    if (mistake_.empty())
        mistake_ = what;
}

void Arguments::check() const
{
    if (!mistake_.empty())
        throw wrongUse(mistake_);
    if (has("help") || has("version"))
        return;
    if (command_ == nullptr)
        throw wrongUse("missing command");
    checkExclusions();
    checkWords();
    if (runsProgram() && program_.empty())
        throw wrongUse("missing program");
}

void Arguments::checkExclusions() const
{
    // As typed: an option by its name, an operand by its value.
    const auto spelled = [this](const std::string& key) {
        for (const Option& operand : command_->operands_)
            if (key == keyOf(operand))
                return "'" + value(key) + "'";
        return "--" + key;
    };
    const auto atMostOneOf = [&](const std::vector<const char*>& keys) {
        std::string first;
        for (const char* key : keys) {
            if (!has(key))
                continue;
            if (!first.empty())
                throw wrongUse(spelled(first) + " and " + spelled(key) + " are mutually exclusive");
            first = key;
        }
    };
    atMostOneOf({"plain", "json", "shell", "field"});
    for (const auto& keys : command_->atMostOneOf_)
        atMostOneOf(keys);
}

void Arguments::checkWords() const
{
    std::vector<const Option*> all = optionsOf(command_);
    for (const Option& operand : command_->operands_)
        all.push_back(&operand);
    for (const Option* option : all)
        for (const std::string& word : values(keyOf(*option))) {
            const std::string no = refusal(option->words_, *command_, word);
            if (!no.empty())
                throw wrongUse(no);
        }
}

bool Arguments::runsProgram() const
{
    const char* with = command_ == nullptr ? nullptr : command_->runsProgram_;
    return with != nullptr && (*with == '\0' || has(with));
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
    if (runsProgram())
        return Form::PEOPLE;
    if (has("json"))
        return Form::JSON;
    if (has("shell"))
        return Form::SHELL;
    if (has("plain"))
        return Form::PLAIN;
    return command_ != nullptr && has(command_->answersInJson_) ? Form::JSON : Form::PEOPLE;
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

int Arguments::print(const Answer& answer, int exitCode) const
{
    tool::print(has("field") ? oneField(answer, value("field")) : inForm(form(), answer, header()));
    if (!answer.error_.empty())
        complain(answer.error_);
    return exitCode;
}

}  // namespace tool
