#include "wrap.h"

#include <algorithm>

namespace {

constexpr std::size_t COLUMNS = 79;  // the last one stays free: some serial terminals wrap there

}  // namespace

std::string tool::wrapped(const std::string& text, std::size_t column)
{
    std::string out;
    std::size_t at = column;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        const std::size_t length = end - begin;
        if (at > column && at + 1 + length > COLUMNS) {
            out += "\n" + std::string(column, ' ');
            at = column;
        } else if (at > column) {
            out += ' ';
            ++at;
        }
        out.append(text, begin, length);
        at += length;
        begin = end + 1;
        while (begin < text.size() && text[begin] == ' ')
            ++begin;
    }
    return out + "\n";
}
