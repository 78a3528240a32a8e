#include "supervision/Child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>

#include "system/program.h"

namespace tool {

namespace {

constexpr int NO_TIME_OUT = 0;  // the library's time-out has whole seconds, and sends only KILL
constexpr int PATIENCE_MS = 1000;

// Silences the library: its output file does not concern us, and we report all other failures
// ourselves.  The system log is silent, too: a log daemon that hangs would block us before the
// program's time starts to count.
class Silence {
public:
    Silence() : stream_(std::cerr.rdbuf(nullptr)), mask_(::setlogmask(LOG_MASK(LOG_DEBUG))) {}
    ~Silence()
    {
        (void)::setlogmask(mask_);
        (void)std::cerr.rdbuf(stream_);  // also clears the stream's error state
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    std::streambuf* const stream_;
    const int mask_;
};

// The library checks that it can read and execute the command it is given.  Our program may be
// unreadable, or elsewhere in PATH, so we give the library something that always passes: a
// directory.
const char* somethingToAskFor()
{
    for (const char* path : {"/", "/usr", "/dev", "."})
        if (::access(path, R_OK | X_OK) == 0)
            return path;
    return "/";
}

// The number that the library's output file will get, which the program must not inherit.
int nextDescriptor()
{
    const Descriptor next(::dup(STDIN_FILENO));
    return next.get();
}

std::string nameOf(const std::string& setting)
{
    return setting.substr(0, setting.find('=') + 1);
}

// Our environment, overridden by the settings; the last setting of a name wins.
std::vector<char*> environmentWith(std::vector<std::string>& settings)
{
    std::vector<char*> all;
    for (char** variable = environ; *variable != nullptr; ++variable)
        all.push_back(*variable);
    for (std::string& setting : settings) {
        const std::string name = nameOf(setting);
        bool replaced = false;
        for (char*& variable : all)
            if (std::strncmp(variable, name.c_str(), name.size()) == 0) {
                variable = setting.data();
                replaced = true;
            }
        if (!replaced)
            all.push_back(setting.data());
    }
    all.push_back(nullptr);
    return all;
}

const char* valueIn(const std::vector<char*>& environment, const std::string& name)
{
    for (const char* variable : environment)
        if (variable != nullptr && std::strncmp(variable, name.c_str(), name.size()) == 0)
            return variable + name.size();
    return nullptr;
}

std::vector<char*> vectorOf(std::vector<std::string>& words)
{
    std::vector<char*> all;
    all.reserve(words.size() + 1);
    for (std::string& word : words)
        all.push_back(word.data());
    all.push_back(nullptr);
    return all;
}

}  // namespace

Child::Child(const Launch& launch, const Signals& signals) : launch_(launch), signals_(signals) {}

int Child::start(Descriptor output)
{
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) != 0)
        return errno;
    words_ = Descriptor(pipe[0]);
    const Descriptor wordsTo(pipe[1]);
    (void)::fcntl(words_.get(), F_SETFL, O_NONBLOCK);

    ChildStep step;
    step.words_ = vectorOf(launch_.words_);
    step.environment_ = environmentWith(launch_.settings_);
    step.paths_ = pathsOf(launch_.words_[0], valueIn(step.environment_, "PATH="));
    step.ownGroup_ = launch_.ownGroup_;
    step.parent_ = ::getpid();
    step.output_ = output.get();
    step.wordsTo_ = wordsTo.get();
    step.surplus_ = nextDescriptor();
    step.signals_ = &signals_;
    const ArmedStep armed(step);
    return libraryStarts();
}

int Child::libraryStarts()
{
    const Silence silence;
    const int result = job_.startProcess(somethingToAskFor(), {launch_.words_[0]}, NO_TIME_OUT);
    const int error = job_.errorNum();
    job_.deleteLog();
    job_.resetLogFile();  // forgets the name, which another process may now reuse
    state_ = result == 0 ? tl::WP_EXECUTING : job_.poll();
    return result == 0 ? 0 : error;
}

// Reads what the child has written so far.
void Child::listen()
{
    ChildWord word{};
    while (words_.isOpen()) {
        const ssize_t count = ::read(words_.get(), &word, sizeof word);
        if (count == static_cast<ssize_t>(sizeof word))
            (word.what_ == ChildWord::PID ? pid_ : executionError_) = word.value_;
        else if (count < 0)
            return;
        else
            words_ = Descriptor();
    }
}

bool Child::isDecided()
{
    listen();
    return !words_.isOpen();
}

int Child::executionError()
{
    listen();
    return executionError_;
}

// A child reports its process id first.  On a busy machine that may take a moment.
void Child::listenForNumber()
{
    listen();
    pollfd file{words_.get(), POLLIN, 0};
    if (pid_ == 0 && words_.isOpen() && ::poll(&file, 1, PATIENCE_MS) > 0)
        listen();
}

int Child::send(int signal)
{
    listenForNumber();
    if (pid_ > 1)
        return ::kill(launch_.ownGroup_ ? -pid_ : pid_, signal) == 0 ? 0 : errno;

    job_.kill();
    state_ = job_.poll();
    return 0;
}

// waitid(2) looks without reaping.  If that is not possible, asks the library.
bool Child::mayBeReaped() const
{
    siginfo_t found{};
    return pid_ <= 1 ||
           ::waitid(P_PID, static_cast<id_t>(pid_), &found, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           found.si_pid != 0;
}

bool Child::reap(bool withRest)
{
    listen();
    if (!mayBeReaped())
        return false;
    if (withRest && pid_ > 1 && launch_.ownGroup_)
        (void)::kill(-pid_, SIGKILL);
    state_ = job_.poll();
    return state_ != tl::WP_EXECUTING && state_ != tl::WP_TIMED_OUT_SIGKILL_SENT;
}

}  // namespace tool
