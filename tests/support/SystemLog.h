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

/// Listens on /dev/log while it lives, and so receives what syslog(3) really sends.
///
/// The program needs a private /dev (tests/support/withPrivate).  A thread receives, because a
/// sender blocks after a few unread messages.
class SystemLog {
public:
    SystemLog() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        ::unlink(address().sun_path);
        const sockaddr_un here = address();
        if (::bind(socket_, reinterpret_cast<const sockaddr*>(&here), sizeof here) != 0)
            throw std::runtime_error(std::strerror(errno));
        receiver_ = std::thread([this] { receive(); });
        // A child forked now would inherit locks that the starting thread holds, and never get
        // them.
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

    /// All messages: the number (facility and severity), and the text after the sender's name.
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

    // syslog(3) sends no empty message, so this one is ours, and the last.
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
            std::string line(message, static_cast<std::size_t>(length));
#ifndef __GLIBC__
            if (line.back() == '\n')  // musl and uClibc end each message with one
                line.pop_back();
#endif
            const std::size_t name = line.find('>') + std::strlen(">Nov 20 19:29:52 ");
            lines_.push_back({std::stoi(line.substr(1)), line.substr(line.find(": ", name) + 2)});
        }
    }

    const int socket_;
    std::atomic<bool> receives_{false};
    std::thread receiver_;
    LogLines lines_;
};
