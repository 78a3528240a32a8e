#pragma once

#include <map>
#include <string>
#include <vector>

#include "Answer.h"
#include "Failure.h"
#include "commands.h"

namespace tool {

/// What was said on the command line, after the tables have been asked whether it may be said.
class Arguments {
public:
    /// Throws Failure for wrong use.
    Arguments(const CommandRow& command, const std::vector<std::string>& words);

    /// Options by their long name, operands by their name in capitals.
    bool has(const std::string& key) const;
    std::string value(const std::string& key) const;
    const std::vector<std::string>& values(const std::string& key) const;

    const CommandRow& command() const { return command_; }

    /// The program to run and its arguments.
    const std::vector<std::string>& program() const { return program_; }

    Form form() const;

    /// Whether answers on standard output, or words on standard error, are coloured.
    bool colour(int fd) const;

    /// Whether lists get a heading.
    bool header() const;

    /// Throws Failure where more than one of these was given.
    void atMostOneOf(const std::vector<std::string>& keys) const;

    /// Prints the answer in the form, or the one field, that was asked for.  \returns `exitCode`.
    int print(const Answer& answer, int exitCode) const;

private:
    std::vector<std::string> takeProgram(const std::vector<std::string>& words);
    void parse(std::vector<std::string> words);
    void check() const;

    const CommandRow& command_;
    std::map<std::string, std::vector<std::string>> values_;
    std::vector<std::string> program_;
};

/// The failure that wrong use of `command` is; null: of no command.
Failure wrongUse(const CommandRow* command, const std::string& message);

}  // namespace tool
