#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "TemporaryDirectory.h"
#include "sweepSubject.h"
#include "tl/Facade.h"
#include "tlshared/FileX.h"

namespace sweep {
namespace {

class Guarded : public Subject {
public:
    void operate() override
    {
        errno = 0;
        result_ = call();
        error_ = errno;
    }

    void check(Problems& problems) override
    {
        const std::vector<Call> calls = injection::calls(CALLER);
        const Call* failed = firstFailed(calls, callName());
        problems.expectEqual(failed != nullptr ? -1 : 0, result_, "result");
        problems.expectEqual(failed != nullptr ? failed->error : 0, error_, "errno");
        problems.expectEqual(
            failed != nullptr ? "3 " + message(failed->error) + "\n" : std::string(),
            joined(injection::logged(CALLER)), "the log");
    }

    void useAgain(Problems& problems) override { problems.expectEqual(0, call(), "the next use"); }

protected:
    virtual int call() = 0;
    virtual const char* callName() const = 0;
    virtual std::string message(int error) const = 0;

    const tl::Facade& facade_ = tl::Facade::instance();
    TemporaryDirectory directory_;

private:
    int result_ = 0;
    int error_ = 0;
};

class Unlink : public Guarded {
public:
    void prepare() override { file_ = directory_.file("state", ""); }
    void useAgain(Problems& problems) override
    {
        prepare();
        Guarded::useAgain(problems);
    }

private:
    int call() override { return facade_.unlink(file_, "upman"); }
    const char* callName() const override { return "unlink"; }
    std::string message(int) const override { return "upman: cannot remove " + file_; }

    std::string file_;
};

class ChmodX : public Guarded {
public:
    void prepare() override { file_ = directory_.file("script", ""); }

private:
    int call() override { return facade_.chmodX(file_, "upman"); }
    const char* callName() const override { return "chmod"; }
    std::string message(int error) const override
    {
        return "upman: chmod failed, " + reason(error);
    }

    std::string file_;
};

class RawSystem : public Guarded {
    int call() override { return facade_.rawSystem("true", "upman"); }
    const char* callName() const override { return "system"; }
    std::string message(int error) const override
    {
        return "upman: cmd = 'true', rc = -1, errno = (" + std::to_string(error) + ") " +
               reason(error);
    }
};

class System : public Guarded {
    int call() override { return facade_.system("true", ""); }
    const char* callName() const override { return "system"; }
    std::string message(int error) const override
    {
        return ": cmd = 'true', rc = -1, errno = (" + std::to_string(error) + ") " + reason(error);
    }
};

class MakeFullPath : public Subject {
public:
    void operate() override { result_ = tl::Facade::makeFullPath(directory_.path() + "a/b/c"); }
    void check(Problems& problems) override
    {
        problems.expectEqual(expectedResult(injection::calls(CALLER)), result_, "result");
        problems.expectEqual(std::string(), joined(injection::logged(CALLER)), "the log");
    }
    void useAgain(Problems& problems) override
    {
        problems.expectEqual(0, tl::Facade::makeFullPath(directory_.path() + "a/b/c"),
                             "the next use");
        problems.expect(::access((directory_.path() + "a/b/c").c_str(), F_OK) == 0,
                        "the path was not made");
    }

private:
    /// A probe for each slash; if it fails, the directory is created.  Only failures of these steps
    /// are reported, not that of the final step, after the last slash.
    int expectedResult(const std::vector<Call>& calls) const
    {
        const std::string path = directory_.path() + "a/b/c";
        std::size_t next = 0;
        for (long slash = std::count(path.begin(), path.end(), '/'); slash > 0; --slash)
            if (calls.at(next++).error != 0 && calls.at(next++).error != 0)
                return 1;
        return 0;
    }

    TemporaryDirectory directory_;
    int result_ = 0;
};

/// A private "/tmp", if the kernel allows it: other tests use the sandbox's fixed path, too.
void usePrivateTmp()
{
    if (::unshare(CLONE_NEWNS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0)
        if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0)
            (void)::mount("tmp", "/tmp", "tmpfs", 0, "mode=1777");
}

class InitializeSandbox : public Subject {
public:
    void prepare() override
    {
        usePrivateTmp();
        tl::Facade::instance().debug(true);
    }
    void operate() override { tl::Facade::instance().initializeSandbox(); }
    void check(Problems& problems) override
    {
        problems.expectEqual(std::string(), joined(injection::logged(CALLER)), "the log");
    }
    void useAgain(Problems& problems) override
    {
        tl::Facade::instance().initializeSandbox();
        problems.expect(::access("/tmp/upmand/var/cache/upman/", F_OK) == 0,
                        "the sandbox was not made");
    }
};

class Mkdir : public Subject {
public:
    void operate() override
    {
        result_ = FileX::mkdir(directory_.path() + "made", 0755);
        error_ = errno;
    }
    void check(Problems& problems) override
    {
        const std::vector<Call> calls = injection::calls(CALLER);
        const Call* failed = firstFailed(calls, "mkdir");
        problems.expectEqual(failed != nullptr ? -1 : 0, result_, "result");
        if (failed != nullptr)
            problems.expectEqual(failed->error, error_, "errno");
    }
    void useAgain(Problems& problems) override
    {
        problems.expectEqual(0, FileX::mkdir(directory_.path() + "again", 0755), "the next use");
    }

private:
    TemporaryDirectory directory_;
    int result_ = 0;
    int error_ = 0;
};

}  // namespace

std::vector<Operation> guardedOperations()
{
    return {
        operation<Unlink>("unlink"),
        operation<ChmodX>("chmodX"),
        operation<RawSystem>("rawSystem"),
        operation<System>("system"),
        operation<MakeFullPath>("makeFullPath"),
        operation<InitializeSandbox>("initializeSandbox"),
        operation<Mkdir>("mkdir"),
    };
}

}  // namespace sweep
