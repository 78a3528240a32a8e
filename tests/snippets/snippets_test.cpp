#include <gtest/gtest.h>

#include <iostream>

#include "CapturedLog.h"
#include "CapturedStream.h"
#include "KernelStrings.h"
#include "ScriptedKernel.h"
#include "freshDeviceType.h"
#include "tl/DeviceProperties.h"
#include "tl/DeviceType.h"
#include "tl/Facade.h"
#include "tl/Utilities.h"
#include "tl/WatchProcess.h"

namespace {

DeviceType_t askTheFiveQuestions()
{
#include "questions.inc"
    return type;
}

int timedOutInTheExample()
{
#include "watchedProgram.inc"
    (void)exitStatus;
    (void)signal;
    return timedOut ? 1 : 0;
}

class Snippets : public ::testing::Test {
protected:
    ScriptedKernel kernel;
    CapturedSyslog syslog;
    CapturedLogX log;
};

}  // namespace

TEST_F(Snippets, FiveQuestionsCanBeAskedOnEveryMachine)
{
    forgetDetection();
    KernelStrings strings;
    EXPECT_EQ(DT_INVALID, askTheFiveQuestions());

    strings.nodename = "irx";  // identified, but without a record
    EXPECT_EQ(DT_IRX, askTheFiveQuestions());
}

TEST_F(Snippets, AWatchedProgramTellsThatItsTimeRanOut)
{
    int passes = 0;
    kernel.whileProcessing = [&] {
        ++passes;
        if (passes == 1)
            kernel.expireTimer();
        if (passes == 2)
            kernel.childEndsWith(SIGKILL);
    };

    EXPECT_EQ(1, timedOutInTheExample());
}
