#include <cstdarg>
#include <cstdio>

#include "hooks.h"
#include "tlshared/AssertWrite.h"
#include "tlshared/FileX.h"
#include "tlshared/LogX.h"
#include "tlshared/System.h"

namespace hooks {

std::function<void(unsigned int, const std::string&)> LogXMessage;
std::function<int(const std::string&, unsigned int)> FileX_mkdir;
std::function<int(const char*)> tl_system;
std::function<void(const char*, int, const tl::StackTrace&)> AssertWrite;

namespace {

[[maybe_unused]] const bool registered = [] {
    onReset([] {
        LogXMessage = nullptr;
        FileX_mkdir = nullptr;
        tl_system = nullptr;
        AssertWrite = nullptr;
    });
    return true;
}();

}  // namespace
}  // namespace hooks

void LogXMessage(unsigned int level, const std::string& text)
{
    if (hooks::LogXMessage)
        hooks::LogXMessage(level, text);
    else
        hooks::real<void(unsigned int, const std::string&)>(
            "_Z11LogXMessagejRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE")(level, text);
}

void LogXMessage(unsigned int level, const char* format, ...)
{
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    LogXMessage(level, std::string(text));
}

int FileX::mkdir(const std::string& path, unsigned int mode)
{
    if (hooks::FileX_mkdir)
        return hooks::FileX_mkdir(path, mode);
    return hooks::real<int(const std::string&, unsigned int)>(
        "_ZN5FileX5mkdirERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEj")(path, mode);
}

int tl::system(const char* cmd)
{
    return hooks::tl_system ? hooks::tl_system(cmd)
                            : hooks::real<int(const char*)>("_ZN2tl6systemEPKc")(cmd);
}

void tl::AssertWrite(const char* file, int line, const StackTrace& stackTrace)
{
    if (hooks::AssertWrite)
        hooks::AssertWrite(file, line, stackTrace);
    else
        hooks::real<void(const char*, int, const StackTrace&)>(
            "_ZN2tl11AssertWriteEPKciRKNS_10StackTraceE")(file, line, stackTrace);
}
