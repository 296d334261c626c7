// SPDX-License-Identifier: BSD-3-Clause
#include "exchange/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#ifdef __has_feature
#    if __has_feature(address_sanitizer)
#        define __SANITIZE_ADDRESS__ 1 // as GCC says it
#    endif
#endif

namespace icawave::formats {

namespace {

[[noreturn]] void fail() {
    throw std::system_error(errno, std::generic_category(), "cannot start a process");
}

// Of all pages that the process has.
std::uint64_t addressSpace() {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

void setLimits(const ChildLimits& limits) {
    const auto set = [](auto resource, std::uint64_t most) {
        const rlimit both{most, most};
        ::setrlimit(resource, &both);
    };
    set(RLIMIT_CORE, 0);
    set(RLIMIT_CPU, limits.seconds);
#ifndef __SANITIZE_ADDRESS__ // which reserves terabytes
    set(RLIMIT_AS, addressSpace() + limits.memoryBytes);
#else
    (void)addressSpace;
#endif
}

} // namespace

Channel::~Channel() {
    ::close(m_socket);
}

bool Channel::send(const void* bytes, std::size_t count) {
    const char* next = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t sent = ::send(m_socket, next, count, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        next += sent;
        count -= sent;
    }
    return true;
}

bool Channel::receive(void* bytes, std::size_t count) {
    char* next = static_cast<char*>(bytes);
    while (count > 0) {
        const ssize_t got = ::recv(m_socket, next, count, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        next += got;
        count -= got;
    }
    return true;
}

ChildProcess::Sockets::Sockets() {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) fail();
}

ChildProcess::ChildProcess(const Sockets& sockets, const ChildLimits& limits,
                           const std::function<void(Channel&)>& work)
    : m_channel(sockets.ends[0]), m_child(::fork()) {
    if (m_child == 0) {
        ::close(sockets.ends[0]);
        int status = 0;
        try {
            setLimits(limits);
            Channel channel(sockets.ends[1]);
            work(channel);
        } catch (...) {
            status = 1;
        }
        ::_exit(status);
    }
    ::close(sockets.ends[1]);
    if (m_child < 0) fail();
    // A child that sleeps does not reach its limit of computing.
    const timeval patience{static_cast<time_t>(60 + limits.seconds), 0};
    ::setsockopt(sockets.ends[0], SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
}

std::string ChildProcess::end() {
    int status = 0;
    for (int k = 0; k < 200 && m_child > 0; ++k) { // it closes its socket a little before it has ended
        if (::waitpid(m_child, &status, WNOHANG) != 0) return ended(status);
        ::usleep(500);
    }
    const bool running = m_child > 0;
    stop();
    return running ? "took too long" : "failed";
}

void ChildProcess::stop() {
    if (m_child < 0) return;
    ::kill(m_child, SIGKILL);
    while (::waitpid(m_child, nullptr, 0) < 0 && errno == EINTR) {
    }
    m_child = -1;
}

std::string ChildProcess::ended(int status) {
    m_child = -1;
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return signal == SIGXCPU || signal == SIGKILL ? "took too long" : "failed";
}

} // namespace icawave::formats
