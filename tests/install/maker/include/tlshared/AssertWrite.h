#pragma once

#include <list>
#include <string>

namespace tl {

class StackTrace : public std::list<std::string> {
public:
    StackTrace();
};

void AssertWrite(const char* file, int line, const StackTrace& stackTrace);

}  // namespace tl
