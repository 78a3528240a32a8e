// Splitting a text at commas.

#include "columns.h"
#include "tl/Utilities.h"

#ifdef BENCH_ABSL
#include <absl/strings/str_split.h>
#endif
#ifdef BENCH_BOOST_ALGORITHM
#include <boost/algorithm/string.hpp>
#endif

namespace {

using Pieces = std::vector<std::string>;

// `count` words of 1 to 24 characters, without adjacent commas, for which the columns would differ.
std::string line(std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += (i == 0 ? "" : ",") + std::string(1 + i * 7 % 24, static_cast<char>('a' + i % 26));
    return text;
}

Pieces splitInLoop(const std::string& text)
{
    Pieces pieces;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t comma = text.find(',', begin);
        if (comma != begin && begin < text.size())
            pieces.push_back(text.substr(begin, comma - begin));
        if (comma == std::string::npos)
            return pieces;
        begin = comma + 1;
    }
}

void ask(std::size_t count)
{
    bench::Question<std::string> question("split/" + std::to_string(count), {line(count)});
    question.column("tldevice", [](const std::string& text) {
        Pieces pieces;
        StringUtils::SplitString(text, ",", pieces);
        return pieces;
    });
    question.column("plain-loop", splitInLoop);
    // The pieces must be allocated and copied.
    question.floor([pieces = splitInLoop(line(count))](const std::string&) { return pieces; });
#ifdef BENCH_ABSL
    question.column("absl::StrSplit", [](const std::string& text) {
        return Pieces(absl::StrSplit(text, ',', absl::SkipEmpty()));
    });
#endif
#ifdef BENCH_BOOST_ALGORITHM
    question.column("boost::split", [](const std::string& text) {
        Pieces pieces;
        boost::split(pieces, text, boost::is_any_of(","), boost::token_compress_on);
        return pieces;
    });
#endif
}

const bool ASKED = [] {
    for (const std::size_t count : {4U, 10U, 40U, 400U})
        ask(count);
    return true;
}();

}  // namespace
