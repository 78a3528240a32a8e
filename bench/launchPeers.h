#pragma once

// One launch, by this library and its peers: starts a program that prints a line and exits with 0,
// with its output in a new file in /tmp, and reaps it.  Before finish(), the caller waits for the
// end without reaping.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "columns.h"
#include "tl/WatchProcess.h"

#ifdef BENCH_UV
#include <uv.h>
#endif
#ifdef BENCH_BOOST_PROCESS
#include <boost/process.hpp>
#endif
#ifdef BENCH_GLIB
#include <gio/gio.h>
#endif
#ifdef BENCH_QT
#include <QtCore/QProcess>
#endif
#ifdef BENCH_POCO
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#endif

extern char** environ;

/// A new file in /tmp, open for writing; deleted by the destructor.
class LogFile {
public:
    LogFile() : fd(::mkstemp(path_)) {}
    ~LogFile()
    {
        ::close(fd);
        ::unlink(path_);
    }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    const char* path() const { return path_; }

private:
    char path_[25] = "/tmp/launchpeers.XXXXXX";

public:
    const int fd;
};

// Waits until the child has ended, without reaping it.
inline void awaitEnd(pid_t pid)
{
    siginfo_t info{};
    ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
}

inline int reaped(pid_t pid)
{
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Each of these starts `program`, waits, reaps, and returns its exit status.

inline int launchOwn(const std::string& program)
{
    static tl::WatchProcess process;
    const std::vector<std::string> arguments = {program};
    if (process.startProcess(program, arguments, 0) != 0)
        return -1;
    siginfo_t info{};
    ::waitid(P_ALL, 0, &info, WEXITED | WNOWAIT);
    return process.poll() == tl::WP_FINISHED ? process.exitStatus() : -1;
}

// The least that a launch costs: the kernel's part, in its plainest form.
inline int launchBare(const std::string& program)
{
    const LogFile log;
    char* arguments[] = {const_cast<char*>(program.c_str()), nullptr};
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(log.fd, STDOUT_FILENO);
        ::dup2(log.fd, STDERR_FILENO);
        ::execv(program.c_str(), arguments);
        ::_exit(127);
    }
    awaitEnd(pid);
    return reaped(pid);
}

// The C library's, which shares the parent's memory until the exec.
inline int launchSpawn(const std::string& program)
{
    const LogFile log;
    char* arguments[] = {const_cast<char*>(program.c_str()), nullptr};
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, log.fd, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, log.fd, STDERR_FILENO);
    pid_t pid = -1;
    ::posix_spawn(&pid, program.c_str(), &actions, nullptr, arguments, environ);
    ::posix_spawn_file_actions_destroy(&actions);
    awaitEnd(pid);
    return reaped(pid);
}

#ifdef BENCH_UV
inline int launchUv(const std::string& program)
{
    const LogFile log;
    uv_loop_t* loop = uv_default_loop();
    char* arguments[] = {const_cast<char*>(program.c_str()), nullptr};
    uv_stdio_container_t stdio[3] = {};
    stdio[0].flags = UV_INHERIT_FD;
    stdio[0].data.fd = STDIN_FILENO;
    for (int i = 1; i < 3; ++i) {
        stdio[i].flags = UV_INHERIT_FD;
        stdio[i].data.fd = log.fd;
    }
    static std::int64_t exitStatus;
    exitStatus = -1;
    uv_process_options_t options = {};
    options.file = program.c_str();
    options.args = arguments;
    options.stdio_count = 3;
    options.stdio = stdio;
    options.exit_cb = [](uv_process_t* process, std::int64_t status, int) {
        exitStatus = status;
        uv_close(reinterpret_cast<uv_handle_t*>(process), nullptr);
    };
    uv_process_t process;
    if (uv_spawn(loop, &process, &options) != 0)
        return -1;
    uv_run(loop, UV_RUN_DEFAULT);
    return static_cast<int>(exitStatus);
}
#endif

#ifdef BENCH_BOOST_PROCESS
inline int launchBoost(const std::string& program)
{
    namespace process = boost::process;
    const LogFile log;
    std::FILE* file = ::fdopen(::dup(log.fd), "w");
    process::child child(program, (process::std_out & process::std_err) > file);
    awaitEnd(child.id());
    child.wait();
    std::fclose(file);
    return child.exit_code();
}
#endif

#ifdef BENCH_GLIB
inline int launchGlib(const std::string& program)
{
    const LogFile log;
    GSubprocessLauncher* launcher = g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDERR_MERGE);
    g_subprocess_launcher_set_stdout_file_path(launcher, log.path());
    GSubprocess* process = g_subprocess_launcher_spawn(launcher, nullptr, program.c_str(), nullptr);
    int status = -1;
    if (process != nullptr) {
        g_subprocess_wait(process, nullptr, nullptr);
        status = g_subprocess_get_exit_status(process);
        g_object_unref(process);
    }
    g_object_unref(launcher);
    return status;
}
#endif

#ifdef BENCH_QT
inline int launchQt(const std::string& program)
{
    const LogFile log;
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardOutputFile(QString::fromLatin1(log.path()));
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    process.start(QString::fromStdString(program), QStringList());
    process.waitForFinished(-1);
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}
#endif

#ifdef BENCH_POCO
// Poco offers only a pipe, so its contents are copied to the file here.
inline int launchPoco(const std::string& program)
{
    const LogFile log;
    Poco::Pipe output;
    const Poco::ProcessHandle process =
        Poco::Process::launch(program, {}, nullptr, &output, &output);
    char buffer[4096];
    for (int length = 0; (length = output.readBytes(buffer, sizeof buffer)) > 0;)
        if (::write(log.fd, buffer, static_cast<std::size_t>(length)) != length)
            return -1;
    return process.wait();
}
#endif
