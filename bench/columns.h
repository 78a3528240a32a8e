#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// A program of this folder asks one question and answers it in columns: the same work, done by
/// this library and by the alternatives.
///
/// The columns register themselves at start-up.  timed.cpp measures them side by side; counted.cpp
/// runs one of them a given number of times, for a tool that counts instructions.
namespace bench {

/// Does a column's work `times` times.
using Run = std::function<void(std::uint64_t times)>;

/// One measurement, for columns that measure themselves.
struct Sample {
    double seconds;
    std::map<std::string, double> counters = {};
};

/// Exactly one of `prepare` and `measure` is set.
struct Column {
    std::string question;          // with the size, if there are several: "timer-replace/1000"
    std::string name;              // "tldevice", or the peer's
    std::function<Run()> prepare;  // called once, before the column's first run
    std::function<Sample()> measure;
};

std::vector<Column>& columns();

/// Prints `reason` to standard error and exits: comparing different answers would mean nothing.
[[noreturn]] void fail(const std::string& reason);

/// Makes the compiler compute `value`.
template <class T>
void keep(const T& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

inline std::string text(const std::string& answer)
{
    return answer;
}
inline std::string text(int answer)
{
    return std::to_string(answer);
}
inline std::string text(const std::vector<std::string>& answer)
{
    std::string joined;
    for (const std::string& piece : answer)
        joined += piece + '\n';
    return joined;
}

/// Pure work on a set of inputs.  Every column must give the answers of the first one.
template <class Input>
class Question {
public:
    Question(const std::string& name, const std::vector<Input>& inputs)
        : name_(name), inputs_(inputs)
    {
    }

    template <class Work>
    void column(const std::string& name, Work work)
    {
        std::vector<std::string> answers;
        for (const Input& input : inputs_)
            answers.push_back(text(work(input)));
        if (answers_.empty())
            answers_ = answers;
        if (answers != answers_)
            fail(name_ + ": " + name + " gives other answers");

        add(name, work);
    }

    /// The part of the work that no implementation can avoid, to compare the others with.  Its
    /// answers are not compared.
    template <class Work>
    void floor(Work work)
    {
        add("floor", work);
    }

private:
    template <class Work>
    void add(const std::string& name, Work work)
    {
        columns().push_back(
            {name_, name, [inputs = inputs_, work] { return runOf(inputs, work); }, {}});
    }

    template <class Work>
    static Run runOf(const std::vector<Input>& inputs, Work work)
    {
        return [inputs, work](std::uint64_t times) {
            for (std::size_t i = 0; times > 0; --times) {
                keep(work(inputs[i]));
                if (++i == inputs.size())
                    i = 0;
            }
        };
    }

    const std::string name_;
    const std::vector<Input> inputs_;
    std::vector<std::string> answers_;
};

}  // namespace bench
