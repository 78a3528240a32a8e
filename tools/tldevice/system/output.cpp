#include "system/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "system/Failure.h"
#include "text/bytes.h"

namespace tool {

void holdStandardDescriptors()
{
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(fd, F_GETFD) == -1 && errno == EBADF)
            // Takes the lowest free number: `fd`.  Input is opened for writing and output for
            // reading, so that using it fails with EBADF, as if it were closed.
            (void)::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

int writeAll(int fd, const std::string& bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (count >= 0)
            done += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

void print(const std::string& bytes)
{
    const int error = writeAll(STDOUT_FILENO, bytes);
    if (error != 0)
        throw Failure{EXIT_TROUBLE, FailureCode::OUTPUT,
                      "cannot write to standard output: " + reason(error)};
}

std::string diagnostic(const std::string& text)
{
    return "tldevice: " + escaped(text) + "\n";
}

void complain(const std::string& text)
{
    (void)writeAll(STDERR_FILENO, diagnostic(text));
}

std::string reason(int error)
{
    const char* text = ::strerror(error);
    return text != nullptr ? text : "";
}

bool isCapableTerminal(int fd)
{
    const char* kind = ::getenv("TERM");
    return ::isatty(fd) == 1 && kind != nullptr && std::strcmp(kind, "dumb") != 0 && *kind != '\0';
}

}  // namespace tool
