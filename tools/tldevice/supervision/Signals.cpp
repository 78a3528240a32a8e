#include "supervision/Signals.h"

#include <sys/prctl.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace tool {

namespace {

constexpr suseconds_t MOMENT_US = 20000;
constexpr std::chrono::seconds LONGEST_WAIT(86400);  // fits the time type of every kernel

// Set by the handlers.
volatile std::sig_atomic_t childChanged = 0;
volatile std::sig_atomic_t stopAsked = 0;
volatile std::sig_atomic_t first = 0;
volatile std::sig_atomic_t came[_NSIG] = {};
volatile std::sig_atomic_t typed[_NSIG] = {};

// Read by the handlers.
volatile std::sig_atomic_t self = 0;
volatile std::sig_atomic_t released = 0;
volatile std::sig_atomic_t alarmIsOurs = 0;
volatile std::sig_atomic_t alarmIsIgnored = 0;

// PIPE or XFSZ from a write of ours, whose result reports the same.
bool isOurOwn(const siginfo_t* info)
{
    return info->si_code == SI_USER && info->si_pid == self;
}

// Handlers stay until the end, and in a child until execve(2), because restoring nearly every
// signal takes longer than everything else in run.  From then on, a signal acts as if there were no
// handler.
bool isNotHandledAnyMore()
{
    return released != 0 || ::getpid() != self;
}

void noteRequest(int signal, siginfo_t* info, void*)
{
    if (isOurOwn(info))
        return;
    if (signal == SIGALRM && alarmIsIgnored)
        return;
    if (isNotHandledAnyMore())
        return dieBy(signal);
    if (signal == SIGALRM && alarmIsOurs && info->si_code == SI_KERNEL)
        return;
    if (first == 0)
        first = signal;
    came[signal] = 1;
    typed[signal] = info->si_code == SI_KERNEL;
}

void noteChild(int, siginfo_t*, void*)
{
    childChanged = 1;
}

void noteStop(int signal, siginfo_t*, void*)
{
    if (isNotHandledAnyMore())
        return dieBy(signal);
    stopAsked = 1;
}

using Handler = void (*)(int, siginfo_t*, void*);

// Signals that by default do nothing, that stop a background process which uses the terminal, and
// that cannot be handled.
bool isLeftAlone(int signal)
{
    constexpr int OTHERS[] = {SIGKILL, SIGSTOP, SIGCONT, SIGURG, SIGWINCH, SIGTTIN, SIGTTOU};
    return std::find(std::begin(OTHERS), std::end(OTHERS), signal) != std::end(OTHERS);
}

Handler handlerOf(int signal)
{
    return signal == SIGCHLD ? noteChild : signal == SIGTSTP ? noteStop : noteRequest;
}

timespec inTimespec(std::chrono::nanoseconds duration)
{
    const auto clamped =
        std::clamp<std::chrono::nanoseconds>(duration, std::chrono::nanoseconds(0), LONGEST_WAIT);
    timespec time{};
    time.tv_sec = static_cast<decltype(time.tv_sec)>(clamped.count() / 1000000000);
    time.tv_nsec = static_cast<decltype(time.tv_nsec)>(clamped.count() % 1000000000);
    return time;
}

bool take(volatile std::sig_atomic_t& flag)
{
    const bool was = flag != 0;
    flag = 0;
    return was;
}

}  // namespace

Signals::Signals(bool stops)
{
    self = ::getpid();
    sigset_t all;
    (void)::sigfillset(&all);
    (void)::sigprocmask(SIG_SETMASK, &all, &callersMask_);

    for (int signal = 1; signal < COUNT; ++signal)
        if (!isLeftAlone(signal) && (signal != SIGTSTP || stops))
            takeOver(signal);

    // Output must not stop a background job: its time limit would not be enforced.
    waiting_ = callersMask_;
    (void)::sigaddset(&waiting_, SIGTTIN);
    (void)::sigaddset(&waiting_, SIGTTOU);
    (void)::sigdelset(&waiting_, SIGCHLD);
    writing_ = waiting_;
    (void)::sigdelset(&writing_, SIGALRM);
}

// After a request to end, only the result is left to report, and no signal may interrupt that.
// Otherwise every signal ends us at once again, except those that our own writes cause.
Signals::~Signals()
{
    if (first != 0)
        return;
    released = 1;
    (void)::sigprocmask(SIG_SETMASK, &callersMask_, nullptr);
}

// Two signals are handled even if the caller ignores them: CHLD, because otherwise the child's end
// is lost, and ALRM, which ends a write.
void Signals::takeOver(int signal)
{
    struct sigaction ours {};
    ours.sa_sigaction = handlerOf(signal);
    ours.sa_flags = SA_SIGINFO | (signal == SIGCHLD ? SA_NOCLDSTOP : 0);
    (void)::sigfillset(&ours.sa_mask);
    struct sigaction& callers = callers_[signal];
    if (::sigaction(signal, &ours, &callers) != 0)
        return;

    const bool ignored = callers.sa_handler == SIG_IGN;
    if (signal == SIGALRM)
        alarmIsIgnored = ignored;
    if (ignored && signal != SIGCHLD && signal != SIGALRM)
        (void)::sigaction(signal, &callers, nullptr);
}

// A signal may have come during a write; then there is nothing to wait for.
bool Signals::hasNews()
{
    return childChanged != 0 || stopAsked != 0 ||
           std::any_of(std::begin(came), std::end(came), [](int flag) { return flag != 0; });
}

void Signals::wait(pollfd* files, nfds_t count, Limit limit) const
{
    const timespec time = hasNews() ? timespec{} : inTimespec(limit.value_or(LONGEST_WAIT));
    if (::ppoll(files, count, &time, &waiting_) < 0)
        std::for_each(files, files + count, [](pollfd& file) { file.revents = 0; });
    letIn();
}

void Signals::letIn() const
{
    sigset_t held;
    (void)::sigprocmask(SIG_SETMASK, &waiting_, &held);
    (void)::sigprocmask(SIG_SETMASK, &held, nullptr);
}

ssize_t Signals::write(int fd, const void* bytes, std::size_t size) const
{
    const timeval moment{0, MOMENT_US};
    const itimerval again{moment, moment};  // repeats: the first may come before write() blocks
    itimerval callers{};
    sigset_t held;

    alarmIsOurs = 1;
    (void)::setitimer(ITIMER_REAL, &again, &callers);
    (void)::sigprocmask(SIG_SETMASK, &writing_, &held);
    const ssize_t count = ::write(fd, bytes, size);
    const int error = errno;
    (void)::sigprocmask(SIG_SETMASK, &held, nullptr);
    (void)::setitimer(ITIMER_REAL, &callers, nullptr);
    letIn();  // a last alarm of ours may be pending
    alarmIsOurs = 0;
    errno = error;
    return count;
}

bool Signals::takeChildChanged()
{
    return take(childChanged);
}

bool Signals::takeStop()
{
    return take(stopAsked);
}

int Signals::takeRequest()
{
    for (int signal = 1; signal < COUNT; ++signal)
        if (take(came[signal]))
            return signal;
    return 0;
}

int Signals::firstRequest() const
{
    return first;
}

bool Signals::wasTyped(int signal) const
{
    return (signal == SIGINT || signal == SIGQUIT) && typed[signal] != 0;
}

void Signals::stopOurselves() const
{
    struct sigaction ordinary {};
    struct sigaction ours {};
    ordinary.sa_handler = SIG_DFL;
    sigset_t held;
    (void)::sigaction(SIGTSTP, &ordinary, &ours);
    (void)::raise(SIGTSTP);
    (void)::sigprocmask(SIG_SETMASK, &waiting_, &held);
    (void)::sigprocmask(SIG_SETMASK, &held, nullptr);
    (void)::sigaction(SIGTSTP, &ours, nullptr);
}

// execve(2) itself resets the signals that have handlers.
void Signals::putBack() const
{
    for (const int signal : {SIGCHLD, SIGALRM})
        (void)::sigaction(signal, &callers_[signal], nullptr);
    (void)::sigprocmask(SIG_SETMASK, &callersMask_, nullptr);
}

void dieBy(int signal)
{
    (void)::prctl(PR_SET_DUMPABLE, 0);
    struct sigaction ordinary {};
    ordinary.sa_handler = SIG_DFL;
    (void)::sigaction(signal, &ordinary, nullptr);
    (void)::raise(signal);

    sigset_t one;
    (void)::sigemptyset(&one);
    (void)::sigaddset(&one, signal);
    (void)::sigprocmask(SIG_UNBLOCK, &one, nullptr);
}

}  // namespace tool
