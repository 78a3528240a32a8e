// Uses something from every public header and from both libraries; exits with 0 if all results are
// right.

#include <tl/DeviceProperties.h>
#include <tl/DeviceType.h>
#include <tl/Facade.h>
#include <tl/Utilities.h>
#include <tl/WatchProcess.h>
#include <tl/tlTimer.h>
#include <tlshared/LogX.h>

#include <fstream>
#include <iostream>
#include <iterator>

namespace {

int failures = 0;

void expect(bool held, const char* what)
{
    std::cout << (held ? "ok    " : "WRONG ") << what << '\n';
    failures += held ? 0 : 1;
}

std::string outputOf(const char* commandLine)
{
    tl::WatchProcess job;
    if (job.startProcess(commandLine, 60) != 0)
        return "";
    job.wait();
    std::ifstream log(job.logFile());
    return std::string(std::istreambuf_iterator<char>(log), {});
}

// The timer is in one library, its manager in the other, and the event loop here: all three must
// use the same manager.
bool timerExpires()
{
    TlTimer timer;
    timer.startTimerMS(1);
    while (!timer.isExpired()) {
        tluSleep(500);
        SimpleSingleton<CTimerManager>::Instance().Process();
    }
    return timer.isTimerSet();
}

}  // namespace

int main()
{
    const tl::DeviceProperties* properties = tl::DevicePropertiesMap::instance().get(DT_KR20);
    const tl::DeviceTypeEntry entry(DT_KR20, "kr20", "", "", "");

    expect(tl::DeviceType::find("#1 kr20v2") == DT_KR20V2, "DeviceType.h: find");
    expect(dte_hash()(entry.type_) == 9, "DeviceType.h: dte_hash");
    expect(getKernelVersion() <= 2, "DeviceType.h: getKernelVersion");
    expect(properties != nullptr && properties->isPlatformMatch("quill"), "DeviceProperties.h");
    expect(tl::Facade::instance().umStateFile() == "/etc/um-state", "Facade.h: umStateFile");
    expect(tl::devel.packagesDir == "/tmp/upmand/packages/", "Facade.h: devel");
    expect(outputOf("/bin/echo hello") == "hello\n", "WatchProcess.h");
    expect(timerExpires(), "tlTimer.h");
    expect(getNextPacketNumber() == "0001" && globalPacketCount == 1, "Utilities.h");
    LogXMessage(7, "consumer: %d wrong", failures);
    return failures == 0 ? 0 : 1;
}
