#include "oracles.h"

#include <algorithm>

namespace oracle {

namespace {

bool isHexDigit(char c)
{
    const std::string digits = "0123456789abcdefABCDEF";
    return digits.find(c) != std::string::npos;
}

long long hexValue(char c)
{
    const std::string lower = "0123456789abcdef";
    const std::string upper = "0123456789ABCDEF";
    if (lower.find(c) != std::string::npos)
        return static_cast<long long>(lower.find(c));
    return static_cast<long long>(upper.find(c));
}

/// A number of any size, truncated to 32 bits in two's complement.
int asSigned32(long long value)
{
    value %= 4294967296LL;
    if (value < 0)
        value += 4294967296LL;
    return static_cast<int>(value >= 2147483648LL ? value - 4294967296LL : value);
}

}  // namespace

int axtoi(const char* text, int length)
{
    if (text == nullptr)
        return 0;
    if (length <= 0)
        return 0;

    long long value = 0;
    for (int i = 0; i < length && i < 8; ++i) {
        const char ch = text[i];
        if (ch != '\0' && isHexDigit(ch)) {
            value = value * 16 + hexValue(ch);
            continue;
        }
        // Four bits up in 32 bits, then back by an arithmetic shift, a division that rounds towards
        // minus infinity.
        const int shifted = asSigned32(value * 16);
        const int remainder = ((shifted % 16) + 16) % 16;
        return (shifted - remainder) / 16;
    }
    return asSigned32(value);
}

int stringToInt(const std::string& text)
{
    if (text.empty())
        return 0;
    long long value = 0;
    for (const char c : text) {
        if (std::string("0123456789").find(c) == std::string::npos)
            return 0;
        value = (value * 10 + (c - '0')) % 4294967296LL;
    }
    return asSigned32(value);
}

std::string fourHexDigits(unsigned long value)
{
    std::string text;
    for (int digit = 0; digit < 4; ++digit) {
        text.insert(text.begin(), "0123456789abcdef"[value % 16]);
        value /= 16;
    }
    return text;
}

std::string intToString(int value)
{
    long long rest = value < 0 ? -static_cast<long long>(value) : value;
    std::string text;
    do {
        text.insert(text.begin(), static_cast<char>('0' + rest % 10));
        rest /= 10;
    } while (rest > 0);
    return value < 0 ? "-" + text : text;
}

namespace {

/// All fields of a line: the runs of matching characters.
template <class Belongs>
std::vector<std::string> runs(const std::string& line, Belongs belongs)
{
    std::vector<std::string> fields;
    bool inside = false;
    for (const char c : line) {
        if (!belongs(c)) {
            inside = false;
            continue;
        }
        if (!inside)
            fields.emplace_back();
        fields.back() += c;
        inside = true;
    }
    return fields;
}

}  // namespace

std::string stringField(const std::string& line, unsigned int index)
{
    const std::vector<std::string> fields = runs(line, [](char c) { return c != ' '; });
    return index < fields.size() ? fields[index] : "";
}

std::string hexField(const std::string& line, unsigned int index)
{
    const std::vector<std::string> fields =
        runs(line, [](char c) { return c != '\0' && isHexDigit(c); });
    return index < fields.size() ? fields[index] : "";
}

std::string guidString(std::string id)
{
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    for (const char c : id) {
        int code = static_cast<unsigned char>(c);
        if (code >= 128)
            code -= 256;  // a signed byte
        if (code > 96)
            code -= 32;

        for (int bit = 0; bit < 4; ++bit) {
            high = high * 2 + (low >= 0x80000000U ? 1U : 0U);
            low = low * 2;
        }
        const int digit = code >= 48 && code <= 57 ? code - 48 : code - 55;
        low |= static_cast<std::uint32_t>(digit);
    }

    std::string text;
    for (const std::uint32_t half : {high, low})
        text += fourHexDigits(half / 65536) + fourHexDigits(half % 65536);
    return text;
}

int splitString(const std::string& text, const std::string& separator,
                std::vector<std::string>& out)
{
    const std::size_t n = text.size();
    const std::size_t m = separator.size();

    std::vector<std::size_t> p;
    std::size_t from = 0;
    for (;;) {
        // The first separator at or after `from`.
        std::size_t place = from;
        while (place + m <= n && text.compare(place, m, separator) != 0)
            ++place;
        if (from > n || place + m > n)
            break;
        p.push_back(place);
        from = place + m + 1;
    }
    if (p.empty())
        return 0;

    std::vector<std::string> pieces;
    pieces.push_back(text.substr(0, p[0]));
    for (std::size_t k = 1; k < p.size(); ++k) {
        const std::size_t begin = p[k - 1] + m;
        pieces.push_back(begin >= n ? "" : text.substr(begin, p[k] - p[k - 1] - m));
    }
    const std::size_t last = p.back() + m;
    pieces.push_back(last >= n ? "" : text.substr(last));

    for (const std::string& piece : pieces)
        if (!piece.empty())
            out.push_back(piece);
    return static_cast<int>(p.size());
}

int splitCommand(const std::string& line, std::vector<std::string>& args)
{
    args.clear();
    if (std::count(line.begin(), line.end(), ' ') == 0) {
        args.push_back(line);
        return 1;
    }
    std::string rest = line;
    int count = 0;
    const auto takeWord = [&] {
        const std::size_t blank = rest.find(' ');
        args.push_back(rest.substr(0, blank));
        rest = rest.substr(blank + 1);
        ++count;
    };
    takeWord();
    while (rest.find(' ') != std::string::npos && count <= 9)
        takeWord();
    if (count <= 9)
        args.push_back(rest);
    return count + 1;
}

std::string dirName(const std::string& path)
{
    const long n = static_cast<long>(path.size());
    long at = n - 1;
    if (n > 0 && path[static_cast<std::size_t>(n - 1)] == '/')
        at = n - 2;
    if (path == "/")
        return "";
    for (; at >= 0; --at)
        if (path[static_cast<std::size_t>(at)] == '/')
            return path.substr(0, static_cast<std::size_t>(at));
    return path;
}

int find(const std::vector<CatalogueId>& catalogue, const std::string& text)
{
    std::vector<CatalogueId> rows = catalogue;
    std::sort(rows.begin(), rows.end(),
              [](const CatalogueId& a, const CatalogueId& b) { return a.id < b.id; });
    int best = 0;
    std::size_t bestLength = 0;
    for (const CatalogueId& row : rows) {
        bool found = false;
        for (std::size_t at = 0; at + row.id.size() <= text.size(); ++at)
            found = found || text.compare(at, row.id.size(), row.id) == 0;
        if (found && row.id.size() > bestLength) {
            best = row.type;
            bestLength = row.id.size();
        }
    }
    return best;
}

SleepRequest sleepRequest(unsigned long microseconds)
{
    if (microseconds <= 999999)
        return {0, static_cast<long>(microseconds * 1000)};
    return {1, static_cast<long>(microseconds)};
}

std::string runnerEnding(int status)
{
    const int t = status & 0x7F;
    const int e = (status & 0xFF00) >> 8;
    if (t == 0 && e != 0)
        return ", exit status = " + intToString(e);
    // The signed 8-bit value of t + 1, shifted right by one, is greater than 0 for t from 1 to
    // 0x7E.
    if (t >= 1 && t <= 0x7E)
        return ", signal = " + intToString(t);
    if ((status & 0xFF) == 0x7F)
        return ", signal = " + intToString(e);
    if (status == 0)
        return "";
    return ", rc = " + intToString(status);
}

PolledEnd polledEnd(int status)
{
    const int t = status & 0x7F;
    const int e = (status & 0xFF00) >> 8;
    PolledEnd end{1, 0, 0, false};  // executing, unless a test below applies
    if (t == 0) {
        end.state = 3;
        end.exitStatus = e;
        end.childIsForgotten = true;
    }
    if (t >= 1 && t <= 0x7E) {
        end.signal = t;
        end.exitStatus = e;
        end.state = t == 15 ? 3 : 4;
        end.childIsForgotten = t == 15;
    }
    if ((status & 0xFF) == 0x7F) {
        end.signal = e;
        end.exitStatus = e;
        end.state = 5;
    }
    return end;
}

}  // namespace oracle
