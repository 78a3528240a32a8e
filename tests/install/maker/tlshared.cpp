#include <sys/stat.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "platformx.h"
#include "tlshared/AssertWrite.h"
#include "tlshared/FileX.h"
#include "tlshared/LogX.h"
#include "tlshared/System.h"
#include "tlshared/TimerManager.h"

using platformx::say;

void LogXMessage(unsigned int level, const char* format, ...)
{
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    LogXMessage(level, std::string(text));
}

void LogXMessage(unsigned int level, const std::string& text)
{
    say("LogXMessage " + std::to_string(level) + " " + text);
}

bool FileX::exists(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

int FileX::mkdir(const std::string& path, unsigned int mode)
{
    say("FileX::mkdir " + path);
    return ::mkdir(path.c_str(), mode);
}

int tl::system(const char* cmd)
{
    say(std::string("tl::system ") + cmd);
    return std::system(cmd);
}

tl::StackTrace::StackTrace()
{
    push_back("somewhere");
}

void tl::AssertWrite(const char* file, int, const StackTrace& stackTrace)
{
    say(std::string("AssertWrite ") + file + ", " + stackTrace.front());
}

CTimerManager::CTimerManager() : latestId_(7000)
{
    say("CTimerManager made");
}

CTimerManager::~CTimerManager()
{
    say("CTimerManager gone");
}

unsigned long CTimerManager::AddTimer(unsigned int duration, unsigned int unit,
                                      ITimerManagerCallback* callback)
{
    say("AddTimer " + std::to_string(duration) + ", unit " + std::to_string(unit));
    timers_[++latestId_] = {platformx::milliseconds() + (unit == 2 ? 1000LL : 1LL) * duration,
                            callback};
    return latestId_;
}

void CTimerManager::KillTimer(unsigned long& idTimer)
{
    say("KillTimer " + std::to_string(idTimer));
    timers_.erase(idTimer);
}

void CTimerManager::Process()
{
    std::vector<unsigned long> due;
    for (const auto& timer : timers_)
        if (timer.second.due_ <= platformx::milliseconds())
            due.push_back(timer.first);
    for (const unsigned long id : due) {
        ITimerManagerCallback* callback = timers_[id].callback_;
        timers_.erase(id);
        say("OnTimerExpired " + std::to_string(id));
        callback->OnTimerExpired(id, 0);
    }
}
