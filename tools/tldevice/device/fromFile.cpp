#include "device/fromFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <optional>

#include "system/Descriptor.h"
#include "system/Failure.h"
#include "system/output.h"
#include "text/bytes.h"

namespace tool {

namespace {

constexpr std::size_t LARGEST_FILE = 1048576;
constexpr const char* BLANKS = " \t\r";
constexpr const char* DIGITS = "0123456789";
constexpr const char* BYTE_ORDER_MARK = "\xEF\xBB\xBF";

std::string called(const std::string& path)
{
    return path == "-" ? "standard input" : "'" + path + "'";
}

Failure unreadable(const std::string& message)
{
    return Failure{EXIT_TROUBLE, FailureCode::UNREADABLE, message};
}

std::string contentsOf(const std::string& path)
{
    const bool standardInput = path == "-";
    const Descriptor file(standardInput ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const int fd = standardInput ? STDIN_FILENO : file.get();

    std::string contents;
    char buffer[4096];
    ssize_t count = fd < 0 ? -1 : 0;
    while (fd >= 0 && (count = ::read(fd, buffer, sizeof buffer)) > 0 &&
           contents.size() < LARGEST_FILE)
        contents.append(buffer, static_cast<std::size_t>(count));
    if (count < 0)
        throw unreadable("cannot read " + called(path) + ": " + reason(errno));
    return contents;
}

std::string takeWord(std::string& line)
{
    const std::size_t begin = std::min(line.find_first_not_of(BLANKS), line.size());
    const std::size_t end = std::min(line.find_first_of(BLANKS, begin), line.size());
    std::string word = line.substr(begin, end - begin);
    line.erase(0, std::min(line.find_first_not_of(BLANKS, end), line.size()));
    return word;
}

// Digits, a dot and digits; then anything.
bool isRelease(const std::string& word)
{
    const std::size_t dot = word.find_first_not_of(DIGITS);
    return dot != 0 && dot != std::string::npos && word[dot] == '.' && dot + 1 < word.size() &&
           std::string(DIGITS).find(word[dot + 1]) != std::string::npos;
}

bool isMachineWord(const std::string& word)
{
    if (word == "GNU/Linux" || word == "Linux" || word == "unknown" || word == "Toybox")
        return true;
    for (const char* machine : {"arm", "aarch64", "x86_64", "i386", "i486", "i586", "i686", "mips",
                                "ppc", "riscv", "sh4"})
        if (word.rfind(machine, 0) == 0)
            return true;
    return false;
}

// Nothing separates the machine words from the build string before them, so anything at the end
// that looks like one counts as one.
std::string withoutMachineWords(std::string line)
{
    for (;;) {
        line.erase(line.find_last_not_of(BLANKS) + 1);
        const std::size_t blank = line.find_last_of(BLANKS);
        const std::size_t begin = blank == std::string::npos ? 0 : blank + 1;
        if (line.empty() || !isMachineWord(line.substr(begin)))
            return line;
        line.erase(begin);
    }
}

// Takes "(...)", with nested parentheses, from the front of a line.
bool takeParentheses(std::string& line)
{
    int depth = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        depth += line[i] == '(' ? 1 : line[i] == ')' ? -1 : 0;
        if (depth == 0) {
            line.erase(0, std::min(line.find_first_not_of(BLANKS, i + 1), line.size()));
            return i > 0;
        }
    }
    return false;
}

// "/proc/version": "Linux version RELEASE (BUILDER@HOST) (COMPILER) VERSION".  HOST is the machine
// that built the kernel; the host name is not in it.
std::optional<KernelTexts> textsOfBanner(const std::string& release, std::string line)
{
    const bool builder = takeParentheses(line);
    const bool compiler = builder && takeParentheses(line);
    if (!compiler || line.empty())
        return std::nullopt;
    line.erase(line.find_last_not_of(BLANKS) + 1);
    return KernelTexts{line, release, "", false};
}

// "uname -a": "Linux NODENAME RELEASE VERSION... MACHINE... GNU/Linux".
std::optional<KernelTexts> textsOfLine(std::string line)
{
    if (takeWord(line) != "Linux")
        return std::nullopt;
    const std::string nodename = takeWord(line);
    const std::string release = takeWord(line);
    if (!isRelease(release) || line.empty())
        return std::nullopt;
    if (nodename == "version" && line[0] == '(')
        return textsOfBanner(release, line);
    return KernelTexts{withoutMachineWords(line), release, nodename, false};
}

std::string textIn(const nlohmann::json& object, const char* key, const std::string& path)
{
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string())
        throw unreadable("the JSON in " + called(path) +
                         " does not come from 'tldevice identify': it has no \"" + key + "\"");
    return bytesOfJsonText(found->get<std::string>());
}

KernelTexts textsOfJson(const std::string& contents, const std::string& path)
{
    nlohmann::json answer = nlohmann::json::parse(contents, nullptr, false);
    if (answer.is_discarded())
        throw unreadable("the JSON in " + called(path) + " is incomplete or invalid");
    if (answer.contains("identify"))
        answer = answer["identify"];  // from 'tldevice doctor --bundle'
    return {textIn(answer, "version", path), textIn(answer, "release", path),
            textIn(answer, "nodename", path), false};
}

}  // namespace

KernelTexts textsOfFile(const std::string& path)
{
    std::string contents = contentsOf(path);
    if (contents.rfind(BYTE_ORDER_MARK, 0) == 0)
        contents.erase(0, std::string(BYTE_ORDER_MARK).size());
    const std::size_t begin = contents.find_first_not_of(" \t\r\n");
    if (begin != std::string::npos && contents[begin] == '{')
        return textsOfJson(contents, path);

    for (std::size_t line = 0; line < contents.size();) {
        const std::size_t end = std::min(contents.find('\n', line), contents.size());
        if (const auto texts = textsOfLine(contents.substr(line, end - line)))
            return *texts;
        line = end + 1;
    }
    throw unreadable(called(path) +
                     " contains no 'uname -a' line, no copy of \"/proc/version\" and no JSON from "
                     "'tldevice identify'");
}

}  // namespace tool
