#include "cli/parse.h"

#include <getopt.h>

#include "cli/words.h"

namespace tool {

namespace {

constexpr int FIRST_LONG = 256;  // getopt_long() returns a character, or this plus a position
constexpr int OPERAND = 1;  // returned for an operand, because the short options start with '-'

// The tables that getopt_long(3) needs.
class Getopt {
public:
    Getopt(const std::vector<const Option*>& known, const std::vector<std::string>& words,
           std::size_t begin)
        : known_(known), begin_(begin)
    {
        for (std::size_t i = 0; i < known.size(); ++i)
            add(*known[i], static_cast<int>(i));
        longs_.push_back({});

        arguments_.push_back(const_cast<char*>("tldevice"));
        for (std::size_t i = begin; i < words.size(); ++i)
            arguments_.push_back(const_cast<char*>(words[i].c_str()));
        arguments_.push_back(nullptr);
        ::optind = 0;  // resets getopt_long()
        ::opterr = 0;
    }

    int next()
    {
        at_ = ::optind < 1 ? 1 : ::optind;
        return ::getopt_long(count(), arguments_.data(), shorts_.c_str(), longs_.data(), nullptr);
    }

    /// The word that next() parsed, without "=VALUE".
    std::string typed() const
    {
        const std::string word = arguments_[static_cast<std::size_t>(at_)];
        return word.substr(0, word.rfind("--", 0) == 0 ? word.find('=') : std::string::npos);
    }

    const Option* answered(int answer) const
    {
        if (answer >= FIRST_LONG)
            return known_[static_cast<std::size_t>(answer - FIRST_LONG)];
        for (const Option* option : known_)
            if (spellings(*option).front() == std::string("-") + static_cast<char>(answer))
                return option;
        return nullptr;
    }

    /// Takes the next word as a further value of an option; null: there is none.
    const char* another()
    {
        return ::optind < count() ? arguments_[static_cast<std::size_t>(::optind++)] : nullptr;
    }

    /// Whether next() consumed a word: when it returns -1, only "--" does that.
    bool tookAWord() const { return ::optind > at_; }

    /// Index of the next word in all words.
    std::size_t position() const { return begin_ + static_cast<std::size_t>(::optind) - 1; }

private:
    void add(const Option& option, int position)
    {
        const int takes = option.values_ > 0 ? required_argument : no_argument;
        const std::vector<std::string> names = spellings(option);
        longs_.push_back({option.names_ + (names.size() > 1 ? names[0].size() + 3 : 2), takes,
                          nullptr, FIRST_LONG + position});
        if (names.size() > 1)
            shorts_ += names[0].substr(1) + (takes == required_argument ? ":" : "");
    }

    int count() const { return static_cast<int>(arguments_.size()) - 1; }

    const std::vector<const Option*>& known_;
    const std::size_t begin_;
    std::vector<char*> arguments_;
    std::vector<::option> longs_;
    std::string shorts_ = "-:";  // '-': operands in order; ':': report missing values
    int at_ = 1;
};

std::vector<std::string> everySpelling(const std::vector<const Option*>& known)
{
    std::vector<std::string> all;
    for (const Option* option : known)
        for (const std::string& name : spellings(*option))
            if (name.rfind("--", 0) == 0)
                all.push_back(name);
    return all;
}

class Parser {
public:
    Parser(const std::vector<const Option*>& known, const std::vector<std::string>& words,
           std::size_t begin)
        : known_(known), getopt_(known, words, begin)
    {
    }

    Parsed parse(StopAt stop, const char* programWith)
    {
        for (;;) {
            const int answer = getopt_.next();
            parsed_.end_ = getopt_.position();
            if (answer == -1) {
                parsed_.dashes_ = getopt_.tookAWord();
                return parsed_;
            }
            if (answer != OPERAND) {
                take(answer);
                continue;
            }
            if (stop == StopAt::FIRST_OPERAND || beginsProgram(programWith)) {
                --parsed_.end_;
                return parsed_;
            }
            parsed_.operands_.emplace_back(::optarg);
        }
    }

private:
    bool beginsProgram(const char* with) const
    {
        return with != nullptr && (*with == '\0' || parsed_.values_.count(with) > 0);
    }

    void mistake(const std::string& what)
    {
        if (parsed_.mistake_.empty())
            parsed_.mistake_ = what;
    }

    void unknown(const std::string& name)
    {
        mistake("unknown option '" + name + "'" + suggestion(name, everySpelling(known_)));
    }

    void take(int answer)
    {
        const std::string typed = getopt_.typed();
        if (answer == ':') {
            parsed_.lacking_ = getopt_.answered(::optopt);
            mistake(typed + " needs a value: " + parsed_.lacking_->value_);
        } else if (answer == '?' && ::optopt >= FIRST_LONG) {
            mistake(typed + " takes no value");
        } else if (answer == '?') {
            unknown(::optopt == 0 ? typed : std::string("-") + static_cast<char>(::optopt));
        } else {
            add(*getopt_.answered(answer), typed);
        }
    }

    void add(const Option& option, const std::string& typed)
    {
        // getopt_long() accepts abbreviations, which a new option could make ambiguous.
        if (typed.rfind("--", 0) == 0 && typed != spellings(option).back())
            return unknown(typed);

        std::vector<std::string>& values = parsed_.values_[keyOf(option)];
        if (option.values_ == 0)
            return;
        if (!values.empty() && !option.repeats_)
            mistake(typed + " was given more than once");
        values.emplace_back(::optarg);
        for (int i = 1; i < option.values_; ++i) {
            const char* another = getopt_.another();
            if (another == nullptr) {
                parsed_.lacking_ = &option;
                return mistake(typed + " needs " + std::to_string(option.values_) +
                               " values: " + option.value_);
            }
            values.emplace_back(another);
        }
    }

    const std::vector<const Option*>& known_;
    Getopt getopt_;
    Parsed parsed_;
};

}  // namespace

Parsed parse(const std::vector<const Option*>& known, const std::vector<std::string>& words,
             std::size_t begin, StopAt stop, const char* programWith)
{
    return Parser(known, words, begin).parse(stop, programWith);
}

}  // namespace tool
