#include "tl/Utilities.h"

namespace {

constexpr std::size_t USUAL_PIECES = 16;  // room that SplitString makes at once
constexpr const char* HEX_DIGITS = "0123456789abcdefABCDEF";

// Mostly the separator is one character, and that is found faster as such.
std::size_t findSeparator(const std::string& text, const std::string& separator, std::size_t from)
{
    return separator.size() == 1 ? text.find(separator[0], from) : text.find(separator, from);
}

void appendUnlessEmpty(const std::string& text, std::size_t begin, std::size_t length,
                       std::vector<std::string>& out)
{
    if (begin < text.size() && length > 0)
        out.emplace_back(text, begin, length);
}

}  // namespace

std::string getStringField(std::string line, unsigned int index)
{
    std::size_t begin = line.find_first_not_of(' ');
    for (; begin != std::string::npos; --index) {
        const std::size_t end = line.find(' ', begin);
        if (index == 0)
            return line.substr(begin, end - begin);
        begin = line.find_first_not_of(' ', end);
    }
    return "";
}

std::string getHexField(std::string line, unsigned int index)
{
    std::size_t begin = line.find_first_of(HEX_DIGITS);
    for (; begin != std::string::npos; --index) {
        const std::size_t end = line.find_first_not_of(HEX_DIGITS, begin);
        if (index == 0)
            return line.substr(begin, end - begin);
        begin = line.find_first_of(HEX_DIGITS, end);
    }
    return "";
}

int StringUtils::SplitString(const std::string& text, const std::string& separator,
                             std::vector<std::string>& out)
{
    int separators = 0;
    std::size_t begin = 0;
    std::size_t found = findSeparator(text, separator, 0);
    if (found != std::string::npos && out.empty())
        out.reserve(USUAL_PIECES);
    while (found != std::string::npos) {
        ++separators;
        appendUnlessEmpty(text, begin, found - begin, out);
        begin = found + separator.size();
        // One character behind the separator, so that one which follows at once is not seen.
        found = findSeparator(text, separator, begin + 1);
    }
    if (separators > 0)
        appendUnlessEmpty(text, begin, std::string::npos, out);
    return separators;
}
