#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "CapturedStream.h"
#include "ScriptedKernel.h"
#include "tl/WatchProcess.h"

constexpr int NO_TIME_OUT = 0;
constexpr int NORMAL_TIME_OUT = 30;
constexpr char LOG_TEMPLATE[] = "/tmp/watchprocess.XXXXXX";

/// A supervisor on a scripted kernel, with both of its outlets captured.
class SupervisorTest : public ::testing::Test {
protected:
    /// A child that does not exist: the test decides what waitpid() returns.
    void startMadeUpChild(int timeOut)
    {
        ASSERT_EQ(0, process.startProcess("/bin/madeUp", {"madeUp"}, timeOut));
        kernel.takeCalls();
    }

    /// The flags that only printState() shows.
    std::string flags()
    {
        const CapturedStream captured(std::cerr);
        process.printState();
        return captured.text();
    }

    static std::string flagsAre(bool expired, bool executing)
    {
        return std::string("waitTimer_.isExpired() is ") + (expired ? "1" : "0") +
               ", isExecuting_ is " + (executing ? "1" : "0");
    }

    void expectValues(int exitStatus, int errorNum, int signal) const
    {
        EXPECT_EQ(exitStatus, process.exitStatus()) << "exitStatus()";
        EXPECT_EQ(errorNum, process.errorNum()) << "errorNum()";
        EXPECT_EQ(signal, process.signal()) << "signal()";
    }

    /// Exactly these lines were reported, on both outlets.
    void expectReports(const std::vector<std::string>& texts) const
    {
        LogLines lines;
        std::string standardError;
        for (const std::string& text : texts) {
            lines.push_back({3, text});  // LOG_ERR
            standardError += text + "\n";
        }
        EXPECT_EQ(lines, syslog.lines);
        EXPECT_EQ(standardError, standardErrorStream.text());
    }

    std::string child() const { return std::to_string(kernel.lastChild()); }

    ScriptedKernel kernel;
    CapturedSyslog syslog;
    CapturedStream standardErrorStream{std::cerr};
    tl::WatchProcess process;
};
