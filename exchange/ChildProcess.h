// SPDX-License-Identifier: BSD-3-Clause
// Work that may crash, hang or take any memory, done by a child process that is asked over a socket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>

namespace icawave::formats {

// One end of a connection. Both calls take all of the bytes; false when the other end is gone or silent.
class Channel {
public:
    explicit Channel(int socket) : m_socket(socket) {}
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    bool send(const void* bytes, std::size_t count);
    bool receive(void* bytes, std::size_t count);

private:
    int m_socket;
};

struct ChildLimits {
    std::uint64_t memoryBytes = 0; // beyond what the program has when the child starts
    std::uint64_t seconds = 0;     // of computing
};

class ChildProcess {
public:
    // The child runs `work` and ends; it never returns from here. A std::system_error when none can start.
    ChildProcess(const ChildLimits& limits, const std::function<void(Channel&)>& work)
        : ChildProcess(Sockets(), limits, work) {}
    ~ChildProcess() { stop(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    Channel& channel() { return m_channel; }
    // Once the channel has failed: how the child ended ("took too long", "failed"). Ends it where it has not.
    std::string end();

private:
    struct Sockets {
        Sockets();
        int ends[2];
    };
    ChildProcess(const Sockets& sockets, const ChildLimits& limits,
                 const std::function<void(Channel&)>& work);
    std::string ended(int status);
    void stop();

    Channel m_channel;
    pid_t m_child;
};

} // namespace icawave::formats
