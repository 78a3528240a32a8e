#include "comparisons.h"

#include <cstring>
#include <vector>

#include "deviceTypes.h"
#include "oracles.h"
#include "tl/DeviceType.h"
#include "tl/Facade.h"
#include "tl/Utilities.h"
#include "tl/WatchProcess.h"

namespace {

/// An input, consumed from the front.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    std::uint8_t byte()
    {
        if (size_ == 0)
            return 0;
        --size_;
        return *data_++;
    }
    std::uint32_t word()
    {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | byte();
        return value;
    }
    std::string text(std::size_t most)
    {
        const std::size_t length = size_ < most ? size_ : most;
        std::string result(reinterpret_cast<const char*>(data_), length);
        data_ += length;
        size_ -= length;
        return result;
    }
    std::string rest() { return text(size_); }

private:
    const std::uint8_t* data_;
    std::size_t size_;
};

std::string shown(const std::string& text)
{
    std::string result = "'";
    for (const char c : text) {
        if (c >= ' ' && c <= '~')
            result += c;
        else
            result += "\\x" + oracle::fourHexDigits(static_cast<unsigned char>(c)).substr(2);
    }
    return result + "'";
}

std::string shown(int value)
{
    return oracle::intToString(value);
}

std::string shown(const std::vector<std::string>& texts)
{
    std::string result = "[";
    for (const std::string& text : texts)
        result += shown(text) + " ";
    return result + "]";
}

template <class Value>
std::string difference(const Value& ours, const Value& oracles)
{
    return ours == oracles ? "" : "library " + shown(ours) + ", oracle " + shown(oracles);
}

std::string compareAxtoi(Input& input)
{
    const int length = static_cast<std::int8_t>(input.byte());
    std::string text = input.rest();
    text.resize(text.size() < 128 ? 128
                                  : text.size());  // the text has at least `length` characters
    return difference(::axtoi(text.c_str(), length), oracle::axtoi(text.c_str(), length));
}

std::string compareStringToInt(Input& input)
{
    const std::string text = input.rest();
    return difference(::stringToInt(text), oracle::stringToInt(text));
}

std::string compareItoax(Input& input)
{
    const unsigned long value = input.word();
    std::string ours = input.rest();
    ::itoax(value, ours);
    return difference(ours, oracle::fourHexDigits(value));
}

std::string compareWtoax(Input& input)
{
    const auto value = static_cast<unsigned short>(input.word());
    return difference(::wtoax(value), oracle::fourHexDigits(value));
}

std::string compareIntToString(Input& input)
{
    const auto value = static_cast<std::int32_t>(input.word());
    return difference(::intToString(value), oracle::intToString(value));
}

std::string compareStringField(Input& input)
{
    const unsigned int index = input.byte() % 8;
    const std::string line = input.rest();
    return difference(::getStringField(line, index), oracle::stringField(line, index));
}

std::string compareHexField(Input& input)
{
    const unsigned int index = input.byte() % 8;
    const std::string line = input.rest();
    return difference(::getHexField(line, index), oracle::hexField(line, index));
}

std::string compareGuid(Input& input)
{
    const std::string id = input.rest();
    std::string ours = id;
    ::createGUIDString(ours);
    return difference(ours, oracle::guidString(id));
}

std::string compareSplitString(Input& input)
{
    const std::string separator = input.text(input.byte() % 4);
    const std::string text = input.rest();
    std::vector<std::string> ours = {"before"};
    std::vector<std::string> oracles = ours;
    const int found = StringUtils::SplitString(text, separator, ours);
    const int expected = oracle::splitString(text, separator, oracles);
    return difference(found, expected) + difference(ours, oracles);
}

std::string compareSplitCommand(Input& input)
{
    const std::string line = input.rest();
    std::vector<std::string> ours = {"before"};
    std::vector<std::string> oracles;
    const int words = tl::WatchProcess::getArgsFromCommandString(line, ours);
    const int expected = oracle::splitCommand(line, oracles);
    return difference(words, expected) + difference(ours, oracles);
}

std::string compareDirName(Input& input)
{
    const std::string path = input.rest();
    return difference(tl::Facade::dirName(path), oracle::dirName(path));
}

const std::vector<oracle::CatalogueId>& catalogue()
{
    static const std::vector<oracle::CatalogueId> rows = [] {
        std::vector<oracle::CatalogueId> result;
        for (const DeviceTypeRow& row : deviceTypes())
            result.push_back({row.type, row.id});
        return result;
    }();
    return rows;
}

std::string compareFind(Input& input)
{
    const std::string text = input.rest();
    return difference(static_cast<int>(tl::DeviceType::find(text)),
                      oracle::find(catalogue(), text));
}

/// Texts composed of whole and partial ids, which random bytes hardly ever contain.
std::string compareFindAmongIds(Input& input)
{
    std::string text;
    for (int pieces = input.byte() % 6; pieces > 0; --pieces) {
        const std::string& id = catalogue()[input.byte() % catalogue().size()].id;
        text += id.substr(input.byte() % 3 == 0 ? 1 : 0,
                          input.byte() % 4 == 0 ? id.size() - 1 : id.size());
        if (input.byte() % 2 == 0)
            text += input.text(1);
    }
    return difference(static_cast<int>(tl::DeviceType::find(text)),
                      oracle::find(catalogue(), text));
}

struct Rule {
    const char* name;
    std::string (*compare)(Input& input);
};

constexpr Rule RULES[] = {
    {"axtoi", compareAxtoi},
    {"stringToInt", compareStringToInt},
    {"itoax", compareItoax},
    {"wtoax", compareWtoax},
    {"intToString", compareIntToString},
    {"getStringField", compareStringField},
    {"getHexField", compareHexField},
    {"createGUIDString", compareGuid},
    {"SplitString", compareSplitString},
    {"getArgsFromCommandString", compareSplitCommand},
    {"dirName", compareDirName},
    {"find", compareFind},
    {"find_among_ids", compareFindAmongIds},
};

const Rule& rule(const std::uint8_t* data, std::size_t size)
{
    return RULES[(size > 0 ? data[0] : 0U) % std::size(RULES)];
}

}  // namespace

std::size_t comparisons::rules()
{
    return std::size(RULES);
}

const char* comparisons::ruleOf(const std::uint8_t* data, std::size_t size)
{
    return rule(data, size).name;
}

std::string comparisons::compare(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    (void)input.byte();
    return rule(data, size).compare(input);
}
