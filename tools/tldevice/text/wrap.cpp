#include "text/wrap.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace {

constexpr std::size_t LEAST = 40;
constexpr std::size_t USUAL = 80;
constexpr std::size_t MOST = 100;

}  // namespace

std::size_t tool::textColumns()
{
    if (::isatty(STDOUT_FILENO) != 1)
        return 0;
    winsize terminal{};
    const bool told = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &terminal) == 0 && terminal.ws_col > 0;
    return std::clamp(told ? std::size_t{terminal.ws_col} : USUAL, LEAST, MOST) - 1;
}

std::string tool::wrapped(const std::string& text, std::size_t column, std::size_t first)
{
    const std::size_t columns = textColumns();
    std::string out;
    std::size_t at = first != 0 ? first : column;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        const std::size_t length = end - begin;
        if (columns > 0 && !out.empty() && at + 1 + length > columns) {
            out += "\n" + std::string(column, ' ');
            at = column;
        } else if (!out.empty()) {
            out += ' ';
            ++at;
        }
        out.append(text, begin, length);
        at += length;
        begin = end + 1;
        while (columns > 0 && begin < text.size() && text[begin] == ' ')
            ++begin;
    }
    return out + "\n";
}

std::string tool::joined(const std::vector<std::string>& words, const char* separator)
{
    std::string line;
    for (const std::string& word : words)
        line += (line.empty() ? "" : separator) + word;
    return line;
}
