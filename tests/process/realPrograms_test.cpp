// Starting programs on the real kernel: only the clock is replaced.

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "CapturedDescriptor.h"
#include "RealChildTest.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class RealChildProgram : public RealChildTest {
protected:
    TemporaryDirectory directory;

    std::string executable(const std::string& name, const std::string& content) const
    {
        const std::string path = directory.file(name, content);
        EXPECT_EQ(0, ::chmod(path.c_str(), 0755));
        return path;
    }
};

TEST_F(RealChildProgram, SeesTheArgumentsItWasGiven)
{
    ASSERT_EQ(0, process.startProcess(child("printsArguments"),
                                      {"another name", "", "a b", "\xff*$(x)"}, LONG_ENOUGH));
    awaitEnd();

    EXPECT_EQ("[another name]\n[]\n[a b]\n[\xff*$(x)]\n", output());
}

TEST_F(RealChildProgram, SeesTenArguments)
{
    runToTheEnd("printsArguments", {"1", "2", "3", "4", "5", "6", "7", "8", "9"});

    EXPECT_EQ("[printsArguments]\n[1]\n[2]\n[3]\n[4]\n[5]\n[6]\n[7]\n[8]\n[9]\n", output());
}

class RealChildArguments : public RealChildTest, public ::testing::WithParamInterface<size_t> {};

TEST_P(RealChildArguments, AreAsManyAsWereGiven)
{
    std::vector<std::string> args;
    std::string expected;
    for (size_t i = 0; i < GetParam(); ++i) {
        args.push_back("argument " + std::to_string(i));
        expected += "[" + args.back() + "]\n";
    }

    ASSERT_EQ(0, process.startProcess(child("printsArguments"), args, LONG_ENOUGH));
    awaitEnd();

    EXPECT_EQ(expected, output());
}

INSTANTIATE_TEST_SUITE_P(, RealChildArguments, ::testing::Range(size_t{1}, size_t{11}));

TEST_F(RealChildProgram, IsTheFirstWordOfACommandLineWithoutAShell)
{
    const std::string link = directory.path() + "program";
    std::filesystem::create_symlink(child("printsArguments"), link);

    ASSERT_EQ(0, process.startProcess(link + " 'a  b' $HOME * >x", LONG_ENOUGH));
    awaitEnd();

    EXPECT_EQ("[" + link + "]\n['a]\n[]\n[b']\n[$HOME]\n[*]\n[>x]\n", output());
}

TEST_F(RealChildProgram, MayBeAScriptThatNamesItsInterpreter)
{
    const std::string script = executable("script", "#!/bin/sh\necho \"$0 $1\"; exit 12\n");

    ASSERT_EQ(0, process.startProcess(script, {"ignored", "argument"}, LONG_ENOUGH));
    awaitEnd();

    EXPECT_EQ(tl::WP_FINISHED, process.poll());
    EXPECT_EQ(12, process.exitStatus());
    EXPECT_EQ(script + " argument\n", output());
}

TEST_F(RealChildProgram, SeesTheCallersEnvironment)
{
    process.setEnvironment("TLDEVICE_CHILD", "first");
    process.setEnvironment("TLDEVICE_CHILD", "a second = value");

    runToTheEnd("printsEnvironment", {"TLDEVICE_CHILD"});

    EXPECT_EQ("a second = value\n", output());
    EXPECT_STREQ("a second = value", std::getenv("TLDEVICE_CHILD"));
    ::unsetenv("TLDEVICE_CHILD");
}

TEST_F(RealChildProgram, SeesWhatAnotherObjectPutIntoTheEnvironment)
{
    tl::WatchProcess another;
    another.setEnvironment("TLDEVICE_CHILD", "");

    runToTheEnd("printsEnvironment", {"TLDEVICE_CHILD"});

    EXPECT_EQ("\n", output());
    ::unsetenv("TLDEVICE_CHILD");
}

TEST_F(RealChildProgram, SeesNoVariableWithoutAName)
{
    process.setEnvironment("", "value");
    process.setEnvironment("TLDEVICE=CHILD", "value");

    runToTheEnd("printsEnvironment", {"TLDEVICE"});

    EXPECT_EQ("(unset)\n", output());
    EXPECT_TRUE(syslog.lines.empty());
}

TEST_F(RealChildProgram, ReadsTheCallersInput)
{
    Pipe input;
    input.write("hello\n");
    input.closeWriting();
    const int saved = ::dup(STDIN_FILENO);
    ASSERT_EQ(STDIN_FILENO, ::dup2(input.reading(), STDIN_FILENO));

    runToTheEnd("copiesItsInput");

    ASSERT_EQ(STDIN_FILENO, ::dup2(saved, STDIN_FILENO));
    ::close(saved);
    EXPECT_EQ("hello\n", output());
}

TEST_F(RealChildProgram, InheritsDescriptorsSignalsAndDirectory)
{
    const std::string kept = directory.file("kept", "");
    const std::string closed = directory.file("closed", "");
    const int keptFd = ::open(kept.c_str(), O_RDONLY);
    const int closedFd = ::open(closed.c_str(), O_RDONLY | O_CLOEXEC);
    inTheChild = [&] {
        sigset_t usr1;
        ::sigemptyset(&usr1);
        ::sigaddset(&usr1, SIGUSR1);
        ::sigprocmask(SIG_BLOCK, &usr1, nullptr);
        ::signal(SIGUSR2, SIG_IGN);
        (void)!::chdir(directory.path().c_str());
    };

    runToTheEnd("printsWhatItInherited");
    ::close(keptFd);
    ::close(closedFd);

    const std::string log = process.logFile();
    EXPECT_THAT(output(), HasSubstr("fd 1 " + log + "\n"));
    EXPECT_THAT(output(), HasSubstr("fd 2 " + log + "\n"));
    EXPECT_TRUE(std::regex_search(output(), std::regex("fd ([3-9]|[0-9]{2,}) " + log + "\n")))
        << "the log's own descriptor stays open\n"
        << output();
    EXPECT_THAT(output(), HasSubstr("fd " + std::to_string(keptFd) + " " + kept + "\n"));
    EXPECT_THAT(output(), Not(HasSubstr(closed)));
    EXPECT_THAT(output(), HasSubstr("blocked " + std::to_string(SIGUSR1) + "\n"));
    EXPECT_THAT(output(), HasSubstr("ignored " + std::to_string(SIGUSR2) + "\n"));
    EXPECT_THAT(output(),
                HasSubstr("in " + directory.path().substr(0, directory.path().size() - 1)));
}

// Executable by its mode, but execve() fails: the child writes the reason to the output file and
// exits with 255.
class RealChildExecFailure : public RealChildProgram {
protected:
    void expectExecFailure(const std::string& path, const std::vector<std::string>& args, int error)
    {
        ASSERT_EQ(0, process.startProcess(path, args, LONG_ENOUGH));
        awaitEnd();

        EXPECT_EQ(tl::WP_FINISHED, process.poll());
        expectValues(255, 0, 0);
        EXPECT_EQ("exec failed: errno = " + std::to_string(error) + ", " + ::strerror(error) + "\n",
                  output());
        expectNoChild();
    }
};

TEST_F(RealChildExecFailure, OfADirectory)
{
    expectExecFailure(directory.path(), {"directory"}, EACCES);
}

TEST_F(RealChildExecFailure, OfATextWithoutAnInterpreter)
{
    expectExecFailure(executable("text", "echo never\n"), {"text"}, ENOEXEC);
}

TEST_F(RealChildExecFailure, OfAnEmptyFile)
{
    expectExecFailure(executable("empty", ""), {"empty"}, ENOEXEC);
}

TEST_F(RealChildExecFailure, OfAScriptWhoseInterpreterIsMissing)
{
    expectExecFailure(executable("script", "#!/no/such/interpreter\n"), {"script"}, ENOENT);
}

TEST_F(RealChildExecFailure, OfAProgramThatIsBeingWritten)
{
    const std::string path = executable("busy", "#!/bin/sh\n");
    const std::ofstream writer(path, std::ios::app);

    expectExecFailure(path, {"busy"}, ETXTBSY);
}

TEST_F(RealChildExecFailure, OfNoArgumentsAtAll)
{
    expectExecFailure(child("exitsWith"), {}, 0);
}

TEST_F(RealChildExecFailure, IsReportedThroughSyslogToo)
{
    Pipe report;
    hooks::syslog = [&](int priority, const std::string& text) {
        report.write(std::to_string(priority) + " " + text);
    };

    expectExecFailure(directory.path(), {"directory"}, EACCES);

    EXPECT_EQ("3 exec failed: errno = 13, Permission denied", report.readToTheEnd());
}

TEST_F(RealChildExecFailure, RunsTheCallersExitHandlersAndFlushesItsBuffersInTheChild)
{
    ASSERT_EQ(0, start("failsToExecute", {child("exitsWith"), directory.path()}));
    process.wait();

    EXPECT_EQ(0, process.exitStatus());
    EXPECT_EQ(
        "not flushed\n"
        "statuses 5 255\n"
        "the log of the one that ran is there\n"
        "the log of the one that failed is there and holds:\n"
        "exec failed: errno = 13, Permission denied\n"
        "exit handler\n"
        "end of log\n"
        "not flushed\n"
        "exit handler\n",
        output());
}

// access() goes by the real user.  The superuser may read anything, and execute whatever has any x
// bit.
class RealProgramCheck : public RealChildProgram {
protected:
    void expectRefused(const std::string& path, int error)
    {
        const CapturedDescriptor standardError(STDERR_FILENO);
        EXPECT_EQ(1, process.startProcess(path, {"tool"}, LONG_ENOUGH));

        const std::string text = "WatchProcess:runProcess: " + path + ", " + ::strerror(error);
        EXPECT_EQ(text + "\n", standardError.text());
        EXPECT_EQ((LogLines{{3, text}}), syslog.lines);
        expectValues(1, error, 0);
        EXPECT_EQ(tl::WP_NOT_STARTED, process.poll());
        EXPECT_STREQ("/tmp/watchprocess.XXXXXX", process.logFile());
        expectNoChild();
    }
};

TEST_F(RealProgramCheck, MissesAMissingProgram)
{
    expectRefused(directory.path() + "missing", ENOENT);
}

TEST_F(RealProgramCheck, FollowsALinkToNothing)
{
    std::filesystem::create_symlink("missing", directory.path() + "link");
    expectRefused(directory.path() + "link", ENOENT);
}

TEST_F(RealProgramCheck, FollowsNoLinkForEver)
{
    std::filesystem::create_symlink("loop", directory.path() + "loop");
    expectRefused(directory.path() + "loop", ELOOP);
}

TEST_F(RealProgramCheck, FindsNothingBelowAFile)
{
    expectRefused(directory.file("file", "") + "/tool", ENOTDIR);
}

TEST_F(RealProgramCheck, TakesNoNameThatIsTooLong)
{
    expectRefused(directory.path() + std::string(300, 'n'), ENAMETOOLONG);
}

TEST_F(RealProgramCheck, TakesNoPathThatIsTooLong)
{
    std::string path = directory.path();
    while (path.size() < 5000)
        path += "a/";
    expectRefused(path, ENAMETOOLONG);
}

TEST_F(RealProgramCheck, LooksInNoSearchPath)
{
    expectRefused("sh", ENOENT);
}

TEST_F(RealProgramCheck, RefusesAFileWithoutAnXBit)
{
    const std::string path = directory.file("data", "#!/bin/sh\n");
    ASSERT_EQ(0, ::chmod(path.c_str(), 0644));

    expectRefused(path, EACCES);
}

TEST_F(RealProgramCheck, RefusesAFileThatMayBeExecutedButNotReadUnlessTheCallerIsTheSuperuser)
{
    const std::string path = directory.path() + "unreadable";
    std::filesystem::copy_file(child("exitsWith"), path);
    ASSERT_EQ(0, ::chmod(path.c_str(), 0111));

    if (::getuid() != 0) {
        expectRefused(path, EACCES);
        return;
    }
    EXPECT_EQ(0, process.startProcess(path, {"unreadable", "2"}, LONG_ENOUGH));
    process.wait();
    EXPECT_EQ(2, process.exitStatus());
}

}  // namespace
