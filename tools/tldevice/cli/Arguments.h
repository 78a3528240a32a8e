#pragma once

#include <map>
#include <string>
#include <vector>

#include "answer/Answer.h"
#include "cli/Command.h"
#include "cli/parse.h"
#include "system/Failure.h"

namespace tool {

/// The parsed command line.
class Arguments {
public:
    /// `words`: all after the program's name.  Never throws for wrong use; check() does.
    explicit Arguments(std::vector<std::string> words);

    /// Throws Failure for wrong use.
    void check() const;

    /// Null if none was given.
    const Command* command() const { return command_; }

    /// Keys: the long name of an option, the name of an operand in capitals.
    bool has(const std::string& key) const;
    std::string value(const std::string& key) const;
    const std::vector<std::string>& values(const std::string& key) const;

    /// The program to run and its arguments.
    const std::vector<std::string>& program() const { return program_; }

    /// Whether this runs a program, so that failures exit as timeout(1) does.
    bool runsProgram() const;

    Form form() const;

    /// Whether to colour what goes to `fd`.
    bool colour(int fd) const;

    /// Whether lists get a header line.
    bool header() const;

    /// Prints the answer, or one field of it, in the requested form.  \returns `exitCode`.
    int print(const Answer& answer, int exitCode) const;

private:
    void readCommand(std::size_t at);
    void readOperands(const std::vector<std::string>& operands);
    void checkExclusions() const;
    void checkWords() const;
    void mistake(const std::string& what);

    std::vector<std::string> words_;
    const Command* command_ = nullptr;
    std::map<std::string, std::vector<std::string>> values_;
    std::vector<std::string> program_;
    std::string mistake_;
};

/// The Failure for wrong use.
Failure wrongUse(const std::string& message);

}  // namespace tool
