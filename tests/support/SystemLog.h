#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>

#include "CapturedLog.h"

/// The system log's end of /dev/log: receives what syslog(3) really sends while it lives.
///
/// The program needs a /dev of its own (tests/support/withPrivate).  A thread receives, since a
/// sender blocks when a handful of messages wait.
class SystemLog {
public:
    SystemLog() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        ::unlink(address().sun_path);
        const sockaddr_un here = address();
        if (::bind(socket_, reinterpret_cast<const sockaddr*>(&here), sizeof here) != 0)
            throw std::runtime_error(std::strerror(errno));
        receiver_ = std::thread([this] { receive(); });
        // A child that is forked now would inherit the locks that a starting thread holds, for ever.
        while (!receives_)
            std::this_thread::yield();
    }
    ~SystemLog()
    {
        stop();
        ::close(socket_);
        ::unlink(address().sun_path);
    }
    SystemLog(const SystemLog&) = delete;
    SystemLog& operator=(const SystemLog&) = delete;

    /// All that came: the number in front (facility and severity), and the text behind the
    /// sender's name.
    const LogLines& lines()
    {
        stop();
        return lines_;
    }

private:
    static sockaddr_un address()
    {
        sockaddr_un log{};
        log.sun_family = AF_UNIX;
        std::strcpy(log.sun_path, "/dev/log");
        return log;
    }

    // An empty message is ours: syslog(3) sends none.  It comes behind all the others.
    void stop()
    {
        if (!receiver_.joinable())
            return;
        const sockaddr_un here = address();
        ::sendto(socket_, "", 0, 0, reinterpret_cast<const sockaddr*>(&here), sizeof here);
        receiver_.join();
    }

    // "<11>Nov 20 19:29:52 program: text"
    void receive()
    {
        char message[65536];
        receives_ = true;
        for (;;) {
            const ssize_t length = ::recv(socket_, message, sizeof message, 0);
            if (length <= 0)
                return;
            const std::string line(message, static_cast<std::size_t>(length));
            const std::size_t name = line.find('>') + std::strlen(">Nov 20 19:29:52 ");
            lines_.push_back({std::stoi(line.substr(1)), line.substr(line.find(": ", name) + 2)});
        }
    }

    const int socket_;
    std::atomic<bool> receives_{false};
    std::thread receiver_;
    LogLines lines_;
};
