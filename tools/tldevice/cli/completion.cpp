#include "cli/completion.h"

#include "cli/commands.h"
#include "cli/parse.h"
#include "system/output.h"

namespace tool {

namespace {

bool beginsWith(const std::string& word, const std::string& beginning)
{
    return word.compare(0, beginning.size(), beginning) == 0;
}

class Completion {
public:
    explicit Completion(std::string typed) : typed_(std::move(typed)) {}

    std::string text() const { return directive_ + "\n" + words_; }

    void offerFiles() { directive_ = ":files"; }
    void offerProgram(std::size_t before) { directive_ = ":program " + std::to_string(before + 1); }

    void offer(const std::string& word, const std::string& says = "")
    {
        if (beginsWith(word, typed_))
            words_ += word + "\t" + says + "\n";
    }

    void offerOptions(const Command* command, const Parsed& parsed)
    {
        for (const Option* option : optionsOf(command))
            if (option->repeats_ || parsed.values_.count(keyOf(*option)) == 0)
                for (const std::string& name : spellings(*option))
                    offer(name, option->says_);
    }

    void offerValues(const Option& option, const Command& command, const std::string& before = "")
    {
        if (option.words_.are_ == Words::Are::FILES)
            offerFiles();
        if (option.words_.are_ == Words::Are::LISTED)
            for (const std::string& word : option.words_.list_(command))
                offer(before + word);
    }

private:
    const std::string typed_;
    std::string directive_ = ":words";
    std::string words_;
};

void offerCommands(Completion& out)
{
    for (const Command* command : commands())
        out.offer(command->name_, command->summary_);
}

// "--is=kr2": completes the value of the option before '='.
void offerBehindEquals(const Command* command, const std::string& typed, Completion& out)
{
    const std::string name = typed.substr(0, typed.find('='));
    for (const Option* option : optionsOf(command))
        if (option->values_ > 0 && spellings(*option).back() == name)
            out.offerValues(*option, command != nullptr ? *command : Command{}, name + "=");
}

void offerOperandOf(const Command& command, const Parsed& parsed, Completion& out)
{
    std::size_t before = parsed.operands_.size();
    for (const Option& operand : command.operands_)
        if (operand.words_.are_ == Words::Are::LISTED && before-- == 0)
            return out.offerValues(operand, command);
    if (parsed.operands_.empty())
        out.offerOptions(&command, parsed);
}

bool runsProgram(const Command& command, const Parsed& parsed)
{
    const char* with = command.runsProgram_;
    return with != nullptr && (*with == '\0' || parsed.values_.count(with) > 0);
}

void offerFor(const Command& command, const std::vector<std::string>& before, const Parsed& parsed,
              const std::string& typed, Completion& out)
{
    const bool option = !parsed.dashes_ && beginsWith(typed, "-");
    if (parsed.lacking_ != nullptr)
        out.offerValues(*parsed.lacking_, command);
    else if (runsProgram(command, parsed) && (parsed.end_ < before.size() || !option))
        out.offerProgram(parsed.end_);
    else if (option && typed.find('=') != std::string::npos)
        offerBehindEquals(&command, typed, out);
    else if (option)
        out.offerOptions(&command, parsed);
    else
        offerOperandOf(command, parsed, out);
}

void offerInFrontOfACommand(const Parsed& parsed, const std::string& typed, Completion& out)
{
    if (parsed.lacking_ != nullptr)
        out.offerValues(*parsed.lacking_, {});
    else if (beginsWith(typed, "-") && typed.find('=') != std::string::npos)
        offerBehindEquals(nullptr, typed, out);
    else if (beginsWith(typed, "-"))
        out.offerOptions(nullptr, parsed);
    else
        offerCommands(out);
}

}  // namespace

int complete(const std::vector<std::string>& words)
{
    std::vector<std::string> before = words;
    const std::string typed = before.empty() ? "" : before.back();
    if (!before.empty())
        before.pop_back();

    Completion out(typed);
    const Parsed first = parse(optionsOf(nullptr), before, 0, StopAt::FIRST_OPERAND, nullptr);
    if (first.end_ >= before.size()) {
        offerInFrontOfACommand(first, typed, out);
    } else if (const Command* command = commandNamed(before[first.end_])) {
        const Parsed parsed =
            parse(optionsOf(command), before, first.end_ + 1, StopAt::END, command->runsProgram_);
        offerFor(*command, before, parsed, typed, out);
    }
    print(out.text());
    return EXIT_YES;
}

}  // namespace tool
