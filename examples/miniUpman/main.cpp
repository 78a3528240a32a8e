// A miniature update manager: how a program uses the library, from start to end.
//
// It works in the sandbox, below "/tmp/upmand", and changes nothing else on the machine.  It prints
// each step with its result.  Lines that begin with "miniUpman:" are log messages, which are copied
// to standard error while showLog(true) applies.

#include <sys/wait.h>
#include <syslog.h>
#include <tl/DeviceProperties.h>
#include <tl/DeviceType.h>
#include <tl/Facade.h>
#include <tl/Utilities.h>
#include <tl/WatchProcess.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <string>

namespace {

void heading(const std::string& text)
{
    std::cout << '\n' << text << std::endl;
}

template <class Value>
void tell(const std::string& what, const Value& value)
{
    std::cout << "  " << std::left << std::setw(26) << what << value << std::endl;
}

std::string quoted(const std::string& text)
{
    return '"' + text + '"';
}

std::string withText(int number, const char* text)
{
    return number == 0 ? "0" : std::to_string(number) + " (" + text + ")";
}

std::string done(int result)
{
    return result == 0 ? "0: done" : std::to_string(result) + ": failed, and logged";
}

/// Copies the library's log messages to standard error, or stops doing so.
void showLog(bool shown)
{
    ::openlog("miniUpman", shown ? LOG_PERROR : 0, LOG_USER);
}

bool write(const std::string& path, const std::string& text)
{
    std::ofstream file(path);
    file << text << std::flush;
    return file.good();
}

std::string firstLine(const std::string& path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

// ---------------------------------------------------------------------------------------- 1. where

bool chooseSandbox()
{
    heading("1. Where: the sandbox, instead of the real layout");
    tl::Facade& facade = tl::Facade::instance();
    tell("real state file", facade.umStateFile());

    facade.debug(true);  // before anything else asks for a path
    facade.initializeSandbox();

    tell("sandbox state file", facade.umStateFile());
    tell("sandbox packages", facade.packagesDir());
    if (write(facade.umStatusFile(), "starting\n"))
        return true;
    tell("cannot write", facade.umStatusFile() + ": " + std::strerror(errno));
    return false;
}

// ------------------------------------------------------------------------------------------ 2. who

DeviceType_t identify()
{
    heading("2. Who: the kernel's strings, then the host name, are searched for a device id");
    const DeviceType_t type = tl::DeviceType::get();  // logs the result

    tell("type", static_cast<int>(type));
    tell("id", quoted(tl::DeviceType::toString(type)));
    tell("display name", quoted(tl::DeviceType::toServerName(type)));
    tell("identifier prefix", quoted(tl::DeviceType::getUuid()));

    const int kernel = getKernelVersion();
    tell("kernel class", std::to_string(kernel) + ": " + quoted(kernelVersionNames[kernel]));
    if (type == DT_INVALID)
        std::cout << "  This machine is no device: no id occurs in what uname(2) says of it.\n"
                     "  To pretend that it is one: scripts/run --as kr20v2"
                  << std::endl;
    return type;
}

// ------------------------------------------------------------------------- 3. what fits the device

struct Package {
    const char* name_;
    const char* platform_;
    const char* updateManager_;
};

constexpr Package OFFERED[] = {
    {"controller-4.1", "quill", "kr20v2"},
    {"panel-2.7", "lantern", "ux300"},
    {"station-1.3", "sable", "dsx"},
};

void chooseUpdates(DeviceType_t type)
{
    heading("3. What: which of the offered packages are for this device");
    const tl::DeviceProperties* properties = tl::DevicePropertiesMap::instance().get(type);
    if (properties == nullptr) {
        tell("properties", "none for this type, so no package is for it");
        return;
    }

    tell("code name", properties->codeName_);
    tell("update manager name", properties->updateManagerName_);
    tell("platform", properties->platform_);
    tell("packages go to", properties->packageDir_);
    for (const Package& package : OFFERED) {
        const bool fits = properties->isPlatformMatch(package.platform_) &&
                          properties->isUpdateManagerMatch(package.updateManager_);
        tell(package.name_, fits ? "for this device" : "for another device");
    }
}

// ---------------------------------------------------------------------------------------- 4. state

void keepState()
{
    heading("4. State: written, read back, and its backup removed");
    const tl::Facade& facade = tl::Facade::instance();

    tell("state file written", write(facade.umStateFile(), "installing\n") ? "yes" : "no");
    tell("and read", quoted(firstLine(facade.umStateFile())));
    tell("backup written", write(facade.umStateBakFile(), "idle\n") ? "yes" : "no");
    tell("unlink(backup)", done(facade.unlink(facade.umStateBakFile(), "upman")));
    tell("unlink(backup), again", done(facade.unlink(facade.umStateBakFile(), "upman")));
}

// ------------------------------------------------------------------------------------- 5. commands

void runCommands()
{
    heading("5. Commands: in the sandbox system() skips them, rawSystem() runs them all the same");
    const tl::Facade& facade = tl::Facade::instance();

    const int skipped = facade.system("reboot", "upman");
    tell("system(\"reboot\")", skipped == 0 ? "0: skipped" : "not skipped");

    const std::string copy = "cp " + facade.umStateFile() + " " + facade.umStateBakFile();
    tell("rawSystem(\"cp ...\")", done(facade.rawSystem(copy, "upman")));
    tell("the backup is now", quoted(firstLine(facade.umStateBakFile())));

    const int status = facade.rawSystem("exit 3", "upman");
    tell("rawSystem(\"exit 3\")", "exit status " + std::to_string(WEXITSTATUS(status)));
}

// ---------------------------------------------------------------------------------- 6. supervision

/// Creates an install script in the sandbox.  \returns its path.
std::string installScript(const std::string& name, const std::string& text)
{
    const tl::Facade& facade = tl::Facade::instance();
    std::string path = facade.tollanDir() + name;
    write(path, text);
    tell("chmodX(" + name + ")", done(facade.chmodX(path, "upman")));
    return path;
}

void tellEvent(const tl::WatchProcess& job, tl::WatchProcessState_t state)
{
    tell("state", state);
    tell("  exit status", job.exitStatus());
    tell("  signal", withText(job.signal(), ::strsignal(job.signal())));
    tell("  error number", withText(job.errorNum(), std::strerror(job.errorNum())));
}

/// Polls until the program has ended, and prints each state on the way.
void watch(tl::WatchProcess& job)
{
    tl::WatchProcessState_t state = tl::WP_EXECUTING;
    tell("state", state);
    do {
        tluSleep(10000);                                       // 10 ms
        SimpleSingleton<CTimerManager>::Instance().Process();  // lets the time-out expire
        const tl::WatchProcessState_t seen = job.poll();
        if (seen != state)
            tellEvent(job, seen);  // before the next poll(), which forgets the event
        state = seen;
    } while (state == tl::WP_EXECUTING || state == tl::WP_TIMED_OUT_SIGKILL_SENT);
}

void tellOutput(const tl::WatchProcess& job)
{
    std::ifstream log(job.logFile());
    for (std::string line; std::getline(log, line);)
        tell("output", line);
}

void supervise(tl::WatchProcess& job, const std::string& program, int timeOut)
{
    const int started = job.startProcess(program, timeOut);
    if (started != 0) {
        tell("startProcess()", std::to_string(started) + ": it cannot be started");
        tell("  error number", withText(job.errorNum(), std::strerror(job.errorNum())));
        return;
    }
    tell("startProcess()", "0: it runs");
    watch(job);
    tellOutput(job);
    job.wait();  // forgets a killed program, so that the next one can start
}

void installUnderSupervision()
{
    tl::WatchProcess job;

    heading("6. An install script, with a minute to finish in");
    const std::string good =
        installScript("install", "#!/bin/sh\necho unpacking\nsleep 0.2\necho installed\nexit 0\n");
    supervise(job, good, 60);

    heading("7. One that hangs, and has two seconds");
    supervise(job, installScript("hang", "#!/bin/sh\necho unpacking\nexec sleep 600\n"), 2);

    heading("8. Two that cannot be executed: there is no such file, or its interpreter is missing");
    supervise(job, tl::Facade::instance().tollanDir() + "missing", 60);
    supervise(job, installScript("broken", "#!/no/such/interpreter\n"), 60);
}

}  // namespace

int main()
{
    std::cout << "miniUpman: a miniature update manager" << std::endl;

    showLog(true);
    if (!chooseSandbox())
        return 1;
    chooseUpdates(identify());
    keepState();
    runCommands();

    showLog(false);  // the supervisor itself also reports on standard error
    installUnderSupervision();

    heading("Done.  Everything was written below /tmp/upmand.");
}
