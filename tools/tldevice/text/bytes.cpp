#include "text/bytes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace {

unsigned int byteAt(const std::string& bytes, std::size_t i)
{
    return static_cast<unsigned char>(bytes[i]);
}

// One form of a UTF-8 character: the bits of its first byte, and its lowest valid code point.
struct Utf8Form {
    unsigned int mask_;
    unsigned int lead_;
    std::size_t length_;
    std::uint32_t least_;
};

constexpr Utf8Form UTF8_FORMS[] = {
    {0x80, 0x00, 1, 0x0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

constexpr std::size_t NO_CHARACTER = 0;

bool isScalarValue(std::uint32_t code, std::uint32_t least)
{
    return code >= least && code <= 0x10FFFF && !(code >= 0xD800 && code <= 0xDFFF);
}

std::size_t characterOfForm(const std::string& bytes, std::size_t i, const Utf8Form& form,
                            std::uint32_t& code)
{
    if (bytes.size() - i < form.length_)
        return NO_CHARACTER;

    code = byteAt(bytes, i) & (0xFFU ^ form.mask_);
    for (std::size_t k = 1; k < form.length_; ++k) {
        if ((byteAt(bytes, i + k) & 0xC0U) != 0x80U)
            return NO_CHARACTER;
        code = (code << 6) | (byteAt(bytes, i + k) & 0x3FU);
    }
    return isScalarValue(code, form.least_) ? form.length_ : NO_CHARACTER;
}

// The length of the UTF-8 character at `i`, and its code point; NO_CHARACTER if it is not valid.
std::size_t characterAt(const std::string& bytes, std::size_t i, std::uint32_t& code)
{
    for (const Utf8Form& form : UTF8_FORMS)
        if ((byteAt(bytes, i) & form.mask_) == form.lead_)
            return characterOfForm(bytes, i, form, code);
    return NO_CHARACTER;
}

void putHex(const std::string& bytes, std::size_t i, std::size_t count, std::string& out)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    for (std::size_t k = i; k < i + count; ++k) {
        out += "\\x";
        out += DIGITS[byteAt(bytes, k) >> 4];
        out += DIGITS[byteAt(bytes, k) & 0xFU];
    }
}

// Characters that are invisible or change how their neighbours are displayed: they could disguise a
// name.
struct CodeRange {
    std::uint32_t first_;
    std::uint32_t last_;
};

// clang-format off
constexpr CodeRange UNSEEN[] = {
    { 0x00,    0x1F    },  // control characters
    { 0x7F,    0xA0    },  // and the no-break space
    { 0xAD,    0xAD    },  // soft hyphen
    { 0x34F,   0x34F   },  // grapheme joiner
    { 0x61C,   0x61C   },  // Arabic letter mark
    { 0x115F,  0x1160  },  // Hangul fillers
    { 0x1680,  0x1680  },  // Ogham space
    { 0x17B4,  0x17B5  },  // inherent vowels
    { 0x180B,  0x180F  },  // Mongolian selectors
    { 0x2000,  0x200F  },  // spaces of all widths, joiners, direction marks
    { 0x2028,  0x202F  },  // separators, embeddings and overrides of direction
    { 0x205F,  0x206F  },  // invisible operators, isolates of direction
    { 0x2800,  0x2800  },  // empty Braille pattern
    { 0x3000,  0x3000  },  // ideographic space
    { 0x3164,  0x3164  },  // Hangul filler
    { 0xFE00,  0xFE0F  },  // variation selectors
    { 0xFEFF,  0xFEFF  },  // byte-order mark
    { 0xFFA0,  0xFFA0  },  // Hangul filler
    { 0xFFF0,  0xFFFB  },  // annotation marks
    { 0x1BCA0, 0x1BCA3 },  // shorthand controls
    { 0x1D173, 0x1D17A },  // musical controls
    { 0xE0000, 0xE0FFF },  // tags
};
// clang-format on

bool isUnseen(std::uint32_t code)
{
    return std::any_of(std::begin(UNSEEN), std::end(UNSEEN), [code](const CodeRange& range) {
        return code >= range.first_ && code <= range.last_;
    });
}

void putUnseen(const std::string& bytes, std::size_t i, std::size_t length, std::string& out)
{
    switch (bytes[i]) {
        // clang-format off
        case '\t': out += "\\t"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        default:   putHex(bytes, i, length, out);
            // clang-format on
    }
}

std::string shown(const std::string& bytes, bool unseenToo)
{
    std::string out;
    std::size_t length = 0;
    for (std::size_t i = 0; i < bytes.size(); i += length) {
        std::uint32_t code = 0;
        length = characterAt(bytes, i, code);
        if (length == NO_CHARACTER)
            putHex(bytes, i, length = 1, out);
        else if (code == '\\')
            out += "\\\\";
        else if (unseenToo && isUnseen(code))
            putUnseen(bytes, i, length, out);
        else
            out.append(bytes, i, length);
    }
    return out;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

}  // namespace

std::string tool::escaped(const std::string& bytes)
{
    return shown(bytes, true);
}

std::string tool::jsonText(const std::string& bytes)
{
    return shown(bytes, false);
}

std::string tool::bytesOfJsonText(const std::string& text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape = text[i] == '\\' && i + 1 < text.size();
        if (escape && text[i + 1] == 'x' && i + 3 < text.size() && hexDigit(text[i + 2]) >= 0 &&
            hexDigit(text[i + 3]) >= 0) {
            out += static_cast<char>(hexDigit(text[i + 2]) * 16 + hexDigit(text[i + 3]));
            i += 3;
            continue;
        }
        if (escape && text[i + 1] == '\\')
            ++i;
        out += text[i];
    }
    return out;
}

std::string tool::shellQuoted(const std::string& bytes)
{
    std::string out = "'";
    for (const char c : bytes) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    return out + "'";
}
