#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// A program of this folder asks one question, and answers it in columns: the same work done by this library and by what
/// a user would take instead.
///
/// The columns register themselves at start-up.  timed.cpp measures them side by side, columns.cpp's other user,
/// counted.cpp, runs one of them a given number of times for a tool that counts instructions.
namespace bench {

/// Does a column's work so many times.
using Run = std::function<void(std::uint64_t times)>;

/// What one measurement gave where the column measures itself.
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

/// Says `reason` on standard error and ends the program: a comparison of different answers means nothing.
[[noreturn]] void fail(const std::string& reason);

/// Makes the compiler work `value` out.
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

        columns().push_back(
            {name_, name, [inputs = inputs_, work] { return runOf(inputs, work); }, {}});
    }

private:
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
