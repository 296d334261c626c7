// SPDX-License-Identifier: BSD-3-Clause
// What a lock is made of.
#pragma once

#include "platform/FileTarget.h"

#include <string>
#include <thread>

namespace icawave {

struct WriterLock::Held {
    Held() = default;
    ~Held();
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

    bool isSame(const Held& other) const;                     // the same lock of the same thread
    void take(const std::filesystem::path& path, int folder); // sets `problem` when it cannot be taken
    int wait(const std::filesystem::path& path) const;        // 0 or the system's error
    void tellProblem(const std::filesystem::path& path);      // once

    std::uint64_t folderDevice = 0;
    std::uint64_t folderInode = 0;
    std::string name; // of the lock file in that folder
    std::uint64_t process = system::processNumber();
    std::thread::id thread = std::this_thread::get_id();
    int file = -1;
    std::string problem; // why nobody is kept away; empty once it was told
};

} // namespace icawave
