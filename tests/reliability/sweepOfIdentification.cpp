#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "TemporaryDirectory.h"
#include "sweepSubject.h"
#include "tl/DeviceProperties.h"
#include "tl/DeviceType.h"
#include "tl/Utilities.h"

namespace sweep {
namespace {

class Identify : public Subject {
public:
    void operate() override { type_ = tl::DeviceType::get(); }
    void check(Problems& problems) override
    {
        const bool failed = firstFailed(injection::calls(CALLER), "uname") != nullptr;
        if (failed)
            problems.expectEqual(static_cast<int>(DT_INVALID), static_cast<int>(type_), "type");
        problems.expectEqual("5 Device is " + tl::DeviceType::toServerName(type_) + "\n",
                             joined(injection::logged(CALLER)), "the log");
    }
    void useAgain(Problems& problems) override
    {
        // A failure is not cached: the next call searches again, as in a fresh process.
        problems.expectEqual(static_cast<int>(tl::DeviceType::get()),
                             static_cast<int>(tl::DeviceType::get()), "the next use");
    }

private:
    DeviceType_t type_ = DT_INVALID;
};

class KernelVersion : public Subject {
public:
    void operate() override { version_ = getKernelVersion(); }
    void check(Problems& problems) override
    {
        if (firstFailed(injection::calls(CALLER), "uname") != nullptr)
            problems.expectEqual(0, version_, "kernel version");
        problems.expectEqual(std::string(), joined(injection::logged(CALLER)), "the log");
    }

private:
    int version_ = 0;
};

class HostName : public Subject {
public:
    void operate() override { name_ = properties_.hostname(); }
    void check(Problems& problems) override
    {
        const bool failed = firstFailed(injection::calls(CALLER), "gethostname") != nullptr;
        problems.expectEqual(failed, name_ == "error_no_hostname", "the name is the error string");
        problems.expectEqual(
            failed ? std::string("3 Unable to get hostname from system.  Sending error string.\n")
                   : std::string(),
            joined(injection::logged(CALLER)), "the log");
    }
    void useAgain(Problems& problems) override
    {
        problems.expect(properties_.hostname() != "error_no_hostname", "the next use fails");
    }

private:
    tl::DeviceProperties properties_;
    std::string name_;
};

class IdentifierFile : public Subject {
public:
    void prepare() override { path_ = directory_.file("searchtype", "ridge\nrest\n"); }
    void operate() override { prefix_ = tl::DeviceType::readUuidFromFile(path_); }
    void check(Problems& problems) override
    {
        const std::vector<Call> calls = injection::calls(CALLER);
        const bool failed =
            firstFailed(calls, "fopen64") != nullptr || firstFailed(calls, "read") != nullptr;
        problems.expectEqual(std::string(failed ? "" : "ridge-"), prefix_, "prefix");
    }
    void useAgain(Problems& problems) override
    {
        problems.expectEqual(std::string("ridge-"), tl::DeviceType::readUuidFromFile(path_),
                             "the next use");
    }

private:
    TemporaryDirectory directory_;
    std::string path_;
    std::string prefix_;
};

// ---- small things

class Sleep : public Subject {
public:
    void operate() override { tluSleep(0); }
    void check(Problems& problems) override
    {
        std::string expected;
        const std::vector<Call> calls = injection::calls(CALLER);
        if (!calls.empty() && calls[0].error == EINTR)
            expected = calls[1].error != 0 ? "nanosleep returned error (4) after two tries\n" : "";
        else if (!calls.empty() && calls[0].error != 0)
            expected = "nanosleep returned error (" + std::to_string(calls[0].error) +
                       ")\n0 was delay time\n";
        problems.expectEqual(expected, output(), "standard output");
        problems.expect(calls.size() <= 2, "a third attempt");
    }
    void useAgain(Problems&) override { tluSleep(0); }

    static std::string output()
    {
        ::fflush(stdout);
        char text[1024] = {};
        (void)::pread(STDOUT_FILENO, text, sizeof text - 1, 0);
        return text;
    }
};

class CloseOnExec : public Subject {
public:
    void operate() override
    {
        result_ = set_cloexec_flag(STDOUT_FILENO, 0);
        error_ = errno;
    }
    void check(Problems& problems) override
    {
        const std::vector<Call> calls = injection::calls(CALLER);
        const Call* failed = firstFailed(calls, "fcntl");
        problems.expectEqual(failed != nullptr ? -1 : 0, result_, "result");
        if (failed != nullptr)
            problems.expectEqual(failed->error, error_, "errno");
    }
    void useAgain(Problems& problems) override
    {
        problems.expectEqual(0, set_cloexec_flag(STDOUT_FILENO, 0), "the next use");
    }

private:
    int result_ = 0;
    int error_ = 0;
};

}  // namespace

std::vector<Operation> operationsOfIdentification()
{
    return {
        operation<Identify>("identify"), operation<KernelVersion>("getKernelVersion"),
        operation<HostName>("hostname"), operation<IdentifierFile>("readUuidFromFile"),
        operation<Sleep>("tluSleep"),    operation<CloseOnExec>("set_cloexec_flag"),
    };
}

}  // namespace sweep
