#include <exception>
#include <new>

#include "Arguments.h"
#include "bytes.h"
#include "json.h"
#include "output.h"

namespace {

using tool::CommandRow;
using tool::Failure;

constexpr const char* HINT = "Try 'tldevice --help'";

bool wants(const std::vector<std::string>& words, const char* option)
{
    for (const std::string& word : words) {
        if (word == "--")
            return false;
        if (word == option)
            return true;
    }
    return false;
}

int printText(const char* key, const std::string& text, bool json)
{
    if (!json) {
        tool::print(text);
        return tool::EXIT_YES;
    }
    tool::Json whole = tool::document();
    whole[key] = text;
    tool::print(tool::printed(whole));
    return tool::EXIT_YES;
}

int printVersion(bool json)
{
    return json ? printText("version", TLDEVICE_VERSION, true)
                : printText("version", "tldevice " TLDEVICE_VERSION "\n", false);
}

int runCommand(const CommandRow& command, const std::vector<std::string>& words)
{
    const tool::Arguments arguments(command, words);
    if (arguments.has("help"))
        return printText("help", tool::help(command), arguments.has("json"));
    if (arguments.has("version"))
        return printVersion(arguments.has("json"));
    return command.run_(arguments);
}

// Options in front of the command: only those that need none.
int runWithoutCommand(const std::vector<std::string>& words, bool json)
{
    if (wants(words, "--help") || wants(words, "-h"))
        return printText("help", tool::help(), json);
    if (wants(words, "--version"))
        return printVersion(json);
    for (const std::string& word : words)
        if (word != "--json" && word != "--")
            throw tool::wrongUse(nullptr,
                                 (word[0] == '-' ? "unknown option '" : "unknown command '") +
                                     tool::escaped(word) + "'");
    throw tool::wrongUse(nullptr, "which command?");
}

int runWords(const std::vector<std::string>& words, bool json)
{
    const CommandRow* command = words.empty() ? nullptr : tool::commandNamed(words[0]);
    if (command == nullptr)
        return runWithoutCommand(words, json);
    return runCommand(*command, {words.begin() + 1, words.end()});
}

int report(const Failure& failure, bool json)
{
    if (json && failure.code_ != "output") {
        try {
            tool::print(tool::errorInJson(failure.code_, failure.message_));
        } catch (const Failure& another) {
            tool::complain(another.message_);
        }
    }
    tool::complain(failure.message_);
    if (failure.code_ == "usage")
        tool::complain(HINT);
    return failure.exitCode_;
}

}  // namespace

int main(int argc, char** argv)
{
    tool::holdStandardDescriptors();

    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    const bool run = !words.empty() && words[0] == "run";
    const bool json = !run && (wants(words, "--json") || wants(words, "--bundle"));
    try {
        return runWords(words, json);
    } catch (const Failure& failure) {
        const int exitCode = report(failure, json);
        return run ? tool::EXIT_SUPERVISOR : exitCode;
    } catch (const std::exception& failure) {
        return report({run ? tool::EXIT_SUPERVISOR : tool::EXIT_TROUBLE, "internal",
                       std::string("failed: ") + failure.what()},
                      json);
    }
}
