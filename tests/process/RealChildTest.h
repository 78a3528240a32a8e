#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "TemporaryDirectory.h"
#include "hooks.h"
#include "tl/WatchProcess.h"
#include "tlshared/TimerManager.h"

/// A pipe that a child inherits.
class Pipe {
public:
    Pipe()
    {
        if (::pipe(ends_) != 0)
            throw std::runtime_error("no pipe");
    }
    ~Pipe()
    {
        closeReading();
        closeWriting();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int reading() const { return ends_[0]; }
    int writing() const { return ends_[1]; }
    void closeReading() { closeEnd(ends_[0]); }
    void closeWriting() { closeEnd(ends_[1]); }

    void write(const std::string& text) const
    {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), ::write(writing(), text.data(), text.size()));
    }

    /// Closes our write end and reads until all other write ends are closed.
    std::string readToTheEnd()
    {
        closeWriting();
        std::string text;
        char buffer[512];
        for (;;) {
            const ssize_t length = ::read(reading(), buffer, sizeof buffer);
            if (length > 0)
                text.append(buffer, static_cast<size_t>(length));
            else if (length == 0 || errno != EINTR)
                return text;
        }
    }

private:
    static void closeEnd(int& end)
    {
        if (end != -1)
            ::close(end);
        end = -1;
    }

    int ends_[2];
};

/// A supervisor on the real kernel.  Kills and reaps what a test leaves running.
class RealChildTest : public ::testing::Test {
protected:
    static constexpr int LONG_ENOUGH = 1000;  // seconds; no test waits that long
    static constexpr int NO_TIME_OUT = 0;

    RealChildTest()
    {
        // A child that cannot execute its program would flush the test program's buffer again.
        std::fflush(nullptr);

        hooks::allocatingSetsErrno = false;  // here it comes from the kernel
        hooks::fork = [this] {
            const pid_t pid = hooks::real<pid_t()>("fork")();
            if (pid > 0)
                pid_ = pid;
            if (pid == 0 && inTheChild)
                inTheChild();
            return pid;
        };
    }

    ~RealChildTest() override
    {
        hooks::Reset();
        int status = 0;
        if (pid_ > 0 && ::waitpid(pid_, &status, WNOHANG) == 0) {
            ::kill(pid_, SIGKILL);
            (void)::waitpid(pid_, &status, 0);
        }
    }

    static std::string child(const std::string& name) { return CHILDREN_DIRECTORY + name; }

    int start(const std::string& name, const std::vector<std::string>& arguments = {},
              int timeOut = LONG_ENOUGH)
    {
        std::vector<std::string> args = {name};
        args.insert(args.end(), arguments.begin(), arguments.end());
        return process.startProcess(child(name), args, timeOut);
    }

    /// Sends the child a signal, and never another process, even after a failed start.
    void send(int number) const
    {
        ASSERT_GT(pid_, 1);
        ASSERT_EQ(0, ::kill(pid_, number)) << ::strerror(errno);
    }

    /// Waits until the child has ended or, if requested, stopped, without reaping it.
    void await(int event) const
    {
        ASSERT_GT(pid_, 1);
        siginfo_t info{};
        int result = 0;
        do
            result = ::waitid(P_PID, static_cast<id_t>(pid_), &info, event | WNOWAIT);
        while (result != 0 && errno == EINTR);
        ASSERT_EQ(0, result) << ::strerror(errno);
    }
    void awaitEnd() const { await(WEXITED); }

    void runToTheEnd(const std::string& name, const std::vector<std::string>& arguments = {},
                     int timeOut = LONG_ENOUGH)
    {
        ASSERT_EQ(0, start(name, arguments, timeOut));
        awaitEnd();
    }

    std::string output() const { return contentOf(process.logFile()); }

    void expectValues(int exitStatus, int errorNum, int signal) const
    {
        EXPECT_EQ(exitStatus, process.exitStatus()) << "exitStatus()";
        EXPECT_EQ(errorNum, process.errorNum()) << "errorNum()";
        EXPECT_EQ(signal, process.signal()) << "signal()";
    }

    /// No child is left, running or unreaped.
    void expectNoChild() const
    {
        EXPECT_EQ(-1, ::waitpid(-1, nullptr, WNOHANG));
        EXPECT_EQ(ECHILD, errno);
    }

    CapturedSyslog syslog;
    tl::WatchProcess process;
    pid_t pid_ = -1;                   // the latest child
    std::function<void()> inTheChild;  // called in the child, right after the fork
};
