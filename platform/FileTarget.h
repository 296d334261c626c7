// SPDX-License-Identifier: BSD-3-Clause
// Where a file that is to be written lies.
#pragma once

#include <icawave/platform/AtomicFile.h>

#include "system/System.h"

#include <filesystem>
#include <string>

namespace icawave {

std::string systemPath(const std::filesystem::path& path); // FileError when the system would see another one
FileState stateOf(const system::Status& status);

// A name in an open folder: what is done there by its name knows no limit of a path's length, and stays in
// the folder even when that is renamed.
class FileTarget {
public:
    // Follows symbolic links, also those that lead to no file. FileError when there is no such folder.
    explicit FileTarget(const std::filesystem::path& path);

    int folder() const { return m_folder.get(); }
    const std::string& name() const { return m_name; }

private:
    FileTarget(const std::filesystem::path& path, const std::filesystem::path& followed);

    std::string m_name;
    system::Handle m_folder;
};

} // namespace icawave
