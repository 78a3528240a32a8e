#include "sweepSubject.h"

#include <cstring>

namespace sweep {

std::string reason(int error)
{
    return ::strerror(error);
}

std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

const Call* firstFailed(const std::vector<Call>& calls, const char* name)
{
    for (const Call& call : calls)
        if (call.error != 0 && call.name == name)
            return &call;
    return nullptr;
}

}  // namespace sweep
