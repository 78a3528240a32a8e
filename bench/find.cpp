// Which device id occurs in a kernel's identification string?

#include <cstring>

#include "catalogue.h"
#include "columns.h"
#include "tl/DeviceType.h"

#ifdef BENCH_RE2
#include <re2/re2.h>
#include <re2/set.h>

#include <memory>
#endif

namespace {

const int TYPES = bench::numberOfTypes();

const std::string& idOf(int type)
{
    return tl::DeviceType::toString(static_cast<DeviceType_t>(type));
}

// 64 strings of 40 to 120 bytes like those of uname(2), every other one with an id.
std::vector<std::string> kernelStrings()
{
    const std::vector<std::string> words = {
        "#1",         "#442",    "SMP",   "PREEMPT",  "PREEMPT_RT", "Thu",
        "Aug",        "13",      "2015",  "10:22:09", "MDT",        "UTC",
        "2012",       "Tue",     "Mar",   "6",        "11:22:33",   "(gcc version 4.9.3)",
        "build-farm", "armv7l",  "linux", "release",  "nightly",    "(Debian 6.1.55-1)",
        "3.0.35",     "lantern", "quill", "dirty",    "production", "root@builder",
        "2.6.35.3",   "g4b1c2f9"};
    std::uint32_t seed = 12345;
    const auto draw = [&seed](std::size_t below) {
        seed = seed * 1664525U + 1013904223U;
        return (seed >> 16) % below;
    };

    std::vector<std::string> strings;
    for (int i = 0; i < 64; ++i) {
        const std::size_t length = 40 + draw(81);
        std::size_t wordsToId = i % 2 == 0 ? length : draw(4);
        std::string string;
        for (; string.size() < length; --wordsToId) {
            const bool isId = wordsToId == 0;
            string += isId ? idOf(static_cast<int>(1 + draw(static_cast<std::size_t>(TYPES) - 1)))
                           : words[draw(words.size())];
            string += draw(4) == 0 ? '-' : ' ';
        }
        strings.push_back(string.substr(0, length));
    }
    return strings;
}

bool isBetter(const std::string& id, const std::string& best)
{
    return id.size() > best.size() || (id.size() == best.size() && id < best);
}

int findInPlainLoop(const std::string& text)
{
    int best = 0;
    std::string none;
    const std::string* bestId = &none;
    for (int type = 0; type < TYPES; ++type) {
        const std::string& id = idOf(type);
        if (text.find(id) != std::string::npos && isBetter(id, *bestId)) {
            best = type;
            bestId = &id;
        }
    }
    return best;
}

#ifdef BENCH_RE2
struct FindInSet {
    int operator()(const std::string& text) const
    {
        static std::vector<int> matches;
        matches.clear();
        set->Match(text, &matches);
        int best = 0;
        for (const int type : matches)
            if (best == 0 || isBetter(idOf(type), idOf(best)))
                best = type;
        return best;
    }

    std::shared_ptr<re2::RE2::Set> set;
};

FindInSet compiledSet()
{
    re2::RE2::Options options(re2::RE2::Quiet);
    const auto set = std::make_shared<re2::RE2::Set>(options, re2::RE2::UNANCHORED);
    for (int type = 0; type < TYPES; ++type)
        set->Add(re2::RE2::QuoteMeta(idOf(type)), nullptr);
    set->Compile();
    return FindInSet{set};
}
#endif

const bool ASKED = [] {
    bench::Question<std::string> question("find", kernelStrings());
    question.column("tldevice", [](const std::string& text) {
        return static_cast<int>(tl::DeviceType::find(text));
    });
    question.column("plain-loop", findInPlainLoop);
    // Every byte must be read once.
    question.floor([](const std::string& text) {
        return std::memchr(text.data(), '\0', text.size()) != nullptr;
    });
#ifdef BENCH_RE2
    question.column("RE2::Set", compiledSet());
#endif
    return true;
}();

}  // namespace
