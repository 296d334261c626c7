// SPDX-License-Identifier: BSD-3-Clause
// A file under a name of its own, in the folder of the one whose place it is to take.
#pragma once

#include "system/System.h"

#include <cstdint>
#include <string>

namespace icawave {

// Vanishes unless it was put in its place. It is named `.icawave-HOST-PROCESS-NUMBER` and locked as long as
// its process lives: so another process of the same machine knows, and removes, what a killed one left.
class TemporaryFile {
public:
    TemporaryFile() = default;
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    // Results are 0 or the system's error. The folder stays open as long as this lives. The system takes from
    // the permissions what the process withholds from new files.
    int create(int folder, std::uint32_t permissions);
    int putInPlace(const std::string& name); // in the same folder; descriptor() stays open

    bool isThere() const { return !m_name.empty(); } // created, and not in its place yet
    int descriptor() const { return m_descriptor; }  // for writing
    const std::string& name() const { return m_name; }

private:
    int createNext(std::uint32_t permissions);
    void forget() noexcept;

    int m_folder = -1;
    int m_descriptor = -1;
    std::string m_name;
    int m_slot = -1; // among those that a signal removes
};

// Removes from a folder what processes of this machine left there that are gone.
void removeLeftFiles(int folder);

} // namespace icawave
