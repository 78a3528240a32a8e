#include "supervision/signalNames.h"

#include <algorithm>
#include <cctype>
#include <csignal>

namespace tool {

namespace {

struct SignalRow {
    int number_;
    const char* name_;
};

// If a number has two names, the first one is shown.
constexpr SignalRow SIGNALS[] = {
    {SIGHUP, "HUP"},       {SIGINT, "INT"},       {SIGQUIT, "QUIT"}, {SIGILL, "ILL"},
    {SIGTRAP, "TRAP"},     {SIGABRT, "ABRT"},     {SIGIOT, "IOT"},   {SIGBUS, "BUS"},
    {SIGFPE, "FPE"},       {SIGKILL, "KILL"},     {SIGUSR1, "USR1"}, {SIGSEGV, "SEGV"},
    {SIGUSR2, "USR2"},     {SIGPIPE, "PIPE"},     {SIGALRM, "ALRM"}, {SIGTERM, "TERM"},
#ifdef SIGSTKFLT  // not on MIPS and SPARC
    {SIGSTKFLT, "STKFLT"},
#endif
    {SIGCHLD, "CHLD"},     {SIGCONT, "CONT"},     {SIGSTOP, "STOP"}, {SIGTSTP, "TSTP"},
    {SIGTTIN, "TTIN"},     {SIGTTOU, "TTOU"},     {SIGURG, "URG"},   {SIGXCPU, "XCPU"},
    {SIGXFSZ, "XFSZ"},     {SIGVTALRM, "VTALRM"}, {SIGPROF, "PROF"}, {SIGWINCH, "WINCH"},
    {SIGIO, "IO"},         {SIGPOLL, "POLL"},     {SIGPWR, "PWR"},   {SIGSYS, "SYS"},
#ifdef SIGEMT  // on MIPS, SPARC and Alpha
    {SIGEMT, "EMT"},
#endif
};

constexpr int LAST_SIGNAL = _NSIG - 1;

std::string inCapitals(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

// A number of at most three digits; -1 for anything else.
int smallNumber(const std::string& text)
{
    const bool digits = !text.empty() && text.size() <= 3 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
    return digits ? std::stoi(text) : -1;
}

int inRange(int number, int first, int last)
{
    return number >= first && number <= last ? number : 0;
}

// "RTMIN", "RTMIN+3", "RTMAX-3"; 0 for anything else.
int realTimeSignal(const std::string& name)
{
    const std::string base = name.substr(0, 5);
    const bool up = base == "RTMIN";
    if (!up && base != "RTMAX")
        return 0;
    int distance = 0;
    if (name.size() > base.size()) {
        if (name[base.size()] != (up ? '+' : '-'))
            return 0;
        distance = smallNumber(name.substr(base.size() + 1));
        if (distance < 0)
            return 0;
    }
    return inRange(up ? SIGRTMIN + distance : SIGRTMAX - distance, SIGRTMIN, SIGRTMAX);
}

}  // namespace

int signalNumbered(const std::string& text)
{
    const int number = smallNumber(text);
    if (number >= 0)
        return inRange(number, 1, LAST_SIGNAL);

    std::string name = inCapitals(text);
    if (name.rfind("SIG", 0) == 0)
        name.erase(0, 3);
    for (const SignalRow& row : SIGNALS)
        if (name == row.name_)
            return row.number_;
    return realTimeSignal(name);
}

std::string signalName(int signal)
{
    for (const SignalRow& row : SIGNALS)
        if (signal == row.number_)
            return row.name_;
    if (signal >= SIGRTMIN && signal <= SIGRTMAX)
        return "RTMIN+" + std::to_string(signal - SIGRTMIN);
    return std::to_string(signal);
}

}  // namespace tool
