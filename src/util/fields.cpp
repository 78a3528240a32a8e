#include "tl/Utilities.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr const char* HEX_DIGITS = "0123456789abcdefABCDEF";

// Most separators are a single character, which is faster to find than a string.
std::size_t findSeparator(const std::string& text, std::string_view separator, std::size_t from)
{
    return separator.size() == 1 ? text.find(separator[0], from) : text.find(separator, from);
}

// How many pieces to reserve room for: one per eight characters, up to a limit, so that a long text
// with few pieces does not waste memory.
std::size_t piecesExpected(const std::string& text)
{
    constexpr std::size_t CHARACTERS = 8;
    constexpr std::size_t MOST = 64;
    return std::min(text.size() / CHARACTERS + 1, MOST);
}

void appendUnlessEmpty(const std::string& text, std::size_t begin, std::size_t end,
                       std::vector<std::string>& out)
{
    if (begin < end)
        out.emplace_back(text.data() + begin, end - begin);
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
    const std::string_view between = separator;  // converted once, not for each piece
    int separators = 0;
    std::size_t begin = 0;
    std::size_t found = findSeparator(text, between, 0);
    if (found != std::string::npos && out.empty())
        out.reserve(piecesExpected(text));
    while (found != std::string::npos) {
        ++separators;
        appendUnlessEmpty(text, begin, found, out);
        begin = found + between.size();
        // The search resumes one character after the separator and so misses one that follows
        // directly.
        found = findSeparator(text, between, begin + 1);
    }
    if (separators > 0)
        appendUnlessEmpty(text, begin, text.size(), out);
    return separators;
}
