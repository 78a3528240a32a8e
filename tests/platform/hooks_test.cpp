// If the library's calls do not reach a stand-in, nothing complains: the test that relies on it
// just tests the real function.  So this makes the library call each function of libc and
// libtlshared that it uses, and checks that the call arrives in this program.

#include "hooks.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "tl/DeviceProperties.h"
#include "tl/DeviceType.h"
#include "tl/Facade.h"
#include "tl/Utilities.h"
#include "tl/WatchProcess.h"
#include "tl/tlTimer.h"
#include "tlshared/AssertWrite.h"

namespace {

// Stand-ins that only this test needs.
int snprintfCalls = 0;
int instanceCalls = 0;
int stackTraces = 0;
bool exitIsTaken = false;

constexpr int TAKEN = 42;  // the exit status of a child that reached a stand-in
constexpr pid_t MADE_UP = 999999;

}  // namespace

extern "C" int snprintf(char* text, size_t size, const char* format, ...) noexcept
{
    ++snprintfCalls;
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, size, format, arguments);
    va_end(arguments);
    return length;
}

extern "C" void exit(int status) noexcept
{
    if (exitIsTaken)
        ::_exit(TAKEN);
    hooks::real<void(int)>("exit")(status);
    std::abort();  // like the real one, does not return
}

template <>
CTimerManager& SimpleSingleton<CTimerManager>::Instance()
{
    ++instanceCalls;
    return hooks::real<CTimerManager&()>("_ZN15SimpleSingletonI13CTimerManagerE8InstanceEv")();
}

tl::StackTrace::StackTrace()
{
    ++stackTraces;
}

namespace {

// Starts a program whose child exits in a stand-in, or else runs normally.
bool childIsTaken()
{
    tl::WatchProcess job;
    if (job.startProcess("/bin/true", 0) != 0)
        return false;
    while (job.poll() == tl::WP_EXECUTING)
        ::usleep(1000);
    return job.exitStatus() == TAKEN;
}

// Starts a program with stand-ins for everything, so that there is no process.
void startMadeUpChild(tl::WatchProcess& job)
{
    hooks::fork = [] { return MADE_UP; };
    job.startProcess("/bin/true", 0);
}

int childIsGone(pid_t, int*, int)
{
    errno = ECHILD;
    return -1;
}

struct Call {
    const char* name;
    const char* symbol;
    bool (*reaches)();
};

const Call CALLS[] = {
    {"access", "access",
     [] {
         bool taken = false;
         hooks::access = [&](const char*, int) { return taken = true, -1; };
         tl::Facade::makeFullPath("/");
         hooks::access = nullptr;
         return taken;
     }},
    {"chmod", "chmod",
     [] {
         hooks::chmod = [](const char*, mode_t) { return TAKEN; };
         return tl::Facade::instance().chmodX("/nowhere/x", "") == TAKEN;
     }},
    {"close", "close",
     [] {
         bool taken = false;
         hooks::close = [&](int fd) {
             taken = true;
             return hooks::real<int(int)>("close")(fd);
         };
         hooks::fork = [] { return -1; };
         tl::WatchProcess().startProcess("/bin/true", 0);
         hooks::close = nullptr;
         return taken;
     }},
    {"dup2", "dup2",
     [] {
         hooks::dup2 = [](int, int) -> int { ::_exit(TAKEN); };
         return childIsTaken();
     }},
    {"execv", "execv",
     [] {
         hooks::execv = [](const char*, char* const*) -> int { ::_exit(TAKEN); };
         return childIsTaken();
     }},
    {"exit", "exit",
     [] {
         exitIsTaken = true;
         hooks::execv = [](const char*, char* const*) { return -1; };
         const bool taken = childIsTaken();
         exitIsTaken = false;
         return taken;
     }},
    {"fcntl", "fcntl",
     [] {
         hooks::fcntl = [](int, int, int) { return -TAKEN; };
         return set_cloexec_flag(0, 1) == -TAKEN;
     }},
    {"fork", "fork",
     [] {
         bool taken = false;
         hooks::fork = [&] { return taken = true, -1; };
         tl::WatchProcess().startProcess("/bin/true", 0);
         return taken;
     }},
    {"gethostname", "gethostname",
     [] {
         hooks::gethostname = [](char* name, size_t) { return *name = 'x', 0; };
         return tl::DeviceProperties().hostname() == "x";
     }},
    {"kill", "kill",
     [] {
         pid_t killed = 0;
         hooks::kill = [&](pid_t pid, int) { return killed = pid, 0; };
         hooks::waitpid = [](pid_t, int*, int) { return 0; };
         tl::WatchProcess job;
         startMadeUpChild(job);
         job.kill();
         job.poll();
         return killed == MADE_UP;
     }},
    {"mkstemp", "mkstemp",
     [] {
         bool taken = false;
         hooks::mkstemp = [&](char*) { return taken = true, -1; };
         hooks::fork = [] { return -1; };
         tl::WatchProcess().startProcess("/bin/true", 0);
         return taken;
     }},
    {"nanosleep", "nanosleep",
     [] {
         bool taken = false;
         hooks::nanosleep = [&](const timespec*, timespec*) { return taken = true, 0; };
         tluSleep(1);
         return taken;
     }},
    {"setenv", "setenv",
     [] {
         bool taken = false;
         hooks::setenv = [&](const char*, const char*, int) { return taken = true, 0; };
         tl::WatchProcess().setEnvironment("X", "x");
         return taken;
     }},
    {"snprintf", "snprintf",
     [] {
         const int before = snprintfCalls;
         std::string id = "abc";
         createGUIDString(id);
         return snprintfCalls > before;
     }},
    {"strerror", "strerror",
     [] {
         bool taken = false;
         hooks::LogXMessage = [](unsigned int, const std::string&) {};
         hooks::strerror = [&](int) -> char* { return taken = true, nullptr; };
         tl::Facade::instance().chmodX("/nowhere/x", "");
         return taken;
     }},
    {"syslog", "syslog",
     [] {
         bool taken = false;
         hooks::uname = [](utsname*) { return -1; };
         hooks::syslog = [&](int, const std::string&) { taken = true; };
         tl::DeviceType::get();
         return taken;
     }},
    {"uname", "uname",
     [] {
         hooks::uname = [](utsname* kernel) { return std::strcpy(kernel->release, "2.4"), 0; };
         return getKernelVersion() == 2;
     }},
    {"unlink", "unlink",
     [] {
         hooks::unlink = [](const char*) { return TAKEN; };
         return tl::Facade::instance().unlink("/nowhere/x", "") == TAKEN;
     }},
    {"usleep", "usleep",
     [] {
         int polls = 0;
         bool taken = false;
         hooks::kill = [](pid_t, int) { return 0; };
         hooks::waitpid = [&](pid_t pid, int* status, int options) {
             return ++polls < 3 ? 0 : childIsGone(pid, status, options);
         };
         hooks::usleep = [&](useconds_t) { return taken = true, 0; };
         tl::WatchProcess job;
         startMadeUpChild(job);
         job.wait();
         return taken;
     }},
    {"waitpid", "waitpid",
     [] {
         pid_t waitedFor = 0;
         hooks::waitpid = [&](pid_t pid, int* status, int options) {
             waitedFor = pid;
             return childIsGone(pid, status, options);
         };
         tl::WatchProcess job;
         startMadeUpChild(job);
         job.poll();
         return waitedFor == MADE_UP;
     }},
    {"LogXMessage", "_Z11LogXMessagejRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
     [] {
         bool taken = false;
         hooks::LogXMessage = [&](unsigned int, const std::string&) { taken = true; };
         tl::DevicePropertiesMap::instance().get(DT_IRX);
         return taken;
     }},
    {"FileXMkdir", "_ZN5FileX5mkdirERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEj",
     [] {
         bool taken = false;
         hooks::FileX_mkdir = [&](const std::string&, unsigned int) { return taken = true, 0; };
         tl::Facade::makeFullPath("plain");
         return taken;
     }},
    {"TlSystem", "_ZN2tl6systemEPKc",
     [] {
         hooks::tl_system = [](const char*) { return TAKEN; };
         return tl::Facade::instance().rawSystem("exit 3", "") == TAKEN;
     }},
    {"AssertWrite", "_ZN2tl11AssertWriteEPKciRKNS_10StackTraceE",
     [] {
         bool taken = false;
         hooks::syslog = [](int, const std::string&) {};
         hooks::AssertWrite = [&](const char*, int, const tl::StackTrace&) { taken = true; };
         TlTimer().OnTimerExpired(TAKEN, 0);
         return taken;
     }},
    {"StackTrace", "_ZN2tl10StackTraceC1Ev",
     [] {
         const int before = stackTraces;
         hooks::syslog = [](int, const std::string&) {};
         TlTimer().OnTimerExpired(TAKEN, 0);
         return stackTraces > before;
     }},
    {"TimerManagerInstance", "_ZN15SimpleSingletonI13CTimerManagerE8InstanceEv",
     [] {
         const int before = instanceCalls;
         TlTimer().startTimerSec(1);
         return instanceCalls > before;
     }},
    {"AddTimer", "_ZN13CTimerManager8AddTimerEjjP21ITimerManagerCallback",
     [] {
         bool taken = false;
         hooks::AddTimer = [&](unsigned int, unsigned int, ITimerManagerCallback*) {
             taken = true;
             return 0UL;
         };
         TlTimer().startTimerSec(1);
         return taken;
     }},
    {"KillTimer", "_ZN13CTimerManager9KillTimerERm",
     [] {
         bool taken = false;
         hooks::AddTimer = [](unsigned int, unsigned int, ITimerManagerCallback*) { return 1UL; };
         hooks::KillTimer = [&](unsigned long&) { taken = true; };
         TlTimer().startTimerSec(1);
         return taken;
     }},
    {"ProcessTimers", "_ZN13CTimerManager7ProcessEv",
     [] {
         bool taken = false;
         hooks::Process = [&] { taken = true; };
         hooks::kill = [](pid_t, int) { return 0; };
         hooks::waitpid = childIsGone;
         tl::WatchProcess job;
         startMadeUpChild(job);
         job.wait();
         return taken;
     }},
};

// Symbols that the compiler and the C++ headers add to any library.
const char* const OF_THE_COMPILER[] = {
    "__cxa_atexit",
    "__cxa_finalize",
    "__errno_location",
    "__gmon_start__",
    "__stack_chk_fail",
    "__tls_get_addr",
    "abort",
    "bcmp",
    "memchr",
    "memcmp",
    "memcpy",
    "memmove",
    "memset",
    "strcmp",
    "strlen",
};

bool isOfTheCompiler(const std::string& symbol)
{
    return symbol.rfind("_ITM_", 0) == 0 || symbol.rfind("__aeabi_", 0) == 0 ||
           std::find(std::begin(OF_THE_COMPILER), std::end(OF_THE_COMPILER), symbol) !=
               std::end(OF_THE_COMPILER);
}

// The library that defines the symbol.
std::string originOf(const std::string& symbol)
{
    Dl_info info{};
    const void* address = ::dlsym(RTLD_NEXT, symbol.c_str());
    if (address == nullptr || ::dladdr(address, &info) == 0)
        return "";
    const std::string file = info.dli_fname;
    return file.substr(file.rfind('/') + 1);
}

bool isOfTheRuntime(const std::string& symbol)
{
    for (const char* library :
         {"libstdc++.so", "libgcc_s.so", "libasan.so", "libubsan.so", "libtsan.so"})
        if (originOf(symbol).rfind(library, 0) == 0)
            return true;
    return false;
}

int takePath(dl_phdr_info* library, size_t, void* path)
{
    if (std::strstr(library->dlpi_name, "/libtldevice.so") == nullptr)
        return 0;
    *static_cast<std::string*>(path) = library->dlpi_name;
    return 1;
}

std::string theLibrarysFile()
{
    std::string path;
    ::dl_iterate_phdr(takePath, &path);
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

template <class Structure>
const Structure* at(const std::string& file, std::size_t offset)
{
    return static_cast<const Structure*>(static_cast<const void*>(file.data() + offset));
}

// The name of a call that the C library's headers redirect to 64-bit time: nanosleep() may be
// __nanosleep_time64.
std::string nameInTheSource(const std::string& symbol)
{
    const std::size_t end = symbol.rfind("_time64");
    return symbol.rfind("__", 0) == 0 && end != std::string::npos ? symbol.substr(2, end - 2)
                                                                  : symbol;
}

// The undefined symbols in the library's dynamic symbol table.  From its file: which addresses of
// the table in memory are absolute differs between processors, and so does the hash table.
std::vector<std::string> undefinedSymbols()
{
    const std::string file = theLibrarysFile();
    const auto* elf = at<ElfW(Ehdr)>(file, 0);
    const auto* sections = at<ElfW(Shdr)>(file, elf->e_shoff);
    std::vector<std::string> undefined;
    for (const auto* section = sections; section != sections + elf->e_shnum; ++section) {
        if (section->sh_type != SHT_DYNSYM)
            continue;
        const auto* symbols = at<ElfW(Sym)>(file, section->sh_offset);
        const char* names = at<char>(file, sections[section->sh_link].sh_offset);
        for (std::size_t i = 1; i < section->sh_size / section->sh_entsize; ++i)
            if (symbols[i].st_shndx == SHN_UNDEF && symbols[i].st_name != 0)  // SPARC: registers
                undefined.push_back(nameInTheSource(names + symbols[i].st_name));
    }
    return undefined;
}

bool isTried(const std::string& symbol)
{
    return std::any_of(std::begin(CALLS), std::end(CALLS),
                       [&](const Call& call) { return call.symbol == symbol; });
}

}  // namespace

class Hooks : public ::testing::TestWithParam<Call> {
protected:
    hooks::Reset reset;
};

TEST_P(Hooks, ReachTheLibrary)
{
    EXPECT_TRUE(GetParam().reaches());
}

INSTANTIATE_TEST_SUITE_P(, Hooks, ::testing::ValuesIn(CALLS),
                         [](const auto& test) { return test.param.name; });

TEST(HooksTable, TriesEveryCallThatTheLibraryMakes)
{
    const auto symbols = undefinedSymbols();

    ASSERT_LT(std::size(CALLS), symbols.size());
    for (const std::string& symbol : symbols)
        EXPECT_TRUE(isTried(symbol) || isOfTheCompiler(symbol) || isOfTheRuntime(symbol))
            << symbol << ", of " << originOf(symbol);
}

TEST(HooksTable, TriesNoCallThatTheLibraryDoesNotMake)
{
    const auto symbols = undefinedSymbols();

    for (const Call& call : CALLS)
        EXPECT_EQ(1, std::count(symbols.begin(), symbols.end(), call.symbol)) << call.symbol;
}
