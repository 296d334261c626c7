// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/PackageFileParts.h"

#include "platform/Alloc.h"
#include "system/System.h"

#include <atomic>
#include <cerrno>
#include <filesystem>

namespace icawave {

namespace {

constexpr int maxLinks = 40; // as the system's own limit
constexpr int maxNames = 1000;

// Where a chain of symbolic links leads, to an existing file or not.
std::filesystem::path followLinks(std::filesystem::path path) {
    std::error_code ignored;
    for (int k = 0; k < maxLinks && std::filesystem::is_symlink(path, ignored); ++k)
        path = path.parent_path() / std::filesystem::read_symlink(path, ignored);
    return path;
}

std::string folderOf(const std::string& target) {
    const std::filesystem::path folder = std::filesystem::path(target).parent_path();
    return folder.empty() ? "." : folder.string();
}

} // namespace

AtomicFile::AtomicFile(const std::filesystem::path& path, std::optional<FileState> expected)
    : m_path(withMemoryException([&] { return path; })), m_expected(expected) {
    withMemoryException([this] { prepare(); });
}

AtomicFile::~AtomicFile() {
    try {
        Close();
    } catch (const CException&) { // nobody will miss the bytes
    }
}

AtomicFile::Temporary::~Temporary() {
    if (descriptor >= 0) system::close(descriptor);
    if (!name.empty()) system::remove(name.c_str());
}

void AtomicFile::prepare() {
    const std::string name = systemPath(m_path);
    system::Status status;
    const int found = system::statusOf(name.c_str(), status);
    const bool exists = found == 0;
    if (!exists && found != ENOENT) fail(found);
    if (status.isFolder) fail(EISDIR);
    if (const int error = exists ? system::requireWritable(name.c_str()) : 0) fail(error);
    requireExpected();
    if (!exists || status.isRegular) {
        if (exists) m_permissions = status.permissions;
        m_target = followLinks(name).string();
        createTemporary(folderOf(m_target), exists ? 0600 : 0666);
    }
    errno = EACCES;
    const bool direct = m_target.empty(); // to a device
    if (!OpenPath(writtenPath(), direct ? modeWrite : modeWrite | modeCreate)) fail(errno);
}

// The system takes from the permissions what the process withholds from new files.
void AtomicFile::createTemporary(const std::string& folder, std::uint32_t permissions) {
    static std::atomic<std::uint32_t> next = 0;
    int error = EEXIST;
    std::string name;
    for (int k = 0; k < maxNames && error == EEXIST; ++k) {
        name = folder + "/.icawave-" + std::to_string(system::processNumber()) + "-" + std::to_string(next++);
        error = system::open(name.c_str(), system::Open::createNew, m_temporary.descriptor, permissions);
    }
    if (error != 0) fail(error);
    m_temporary.name = std::move(name);
}

std::filesystem::path AtomicFile::writtenPath() const {
    return m_temporary.name.empty() ? m_path : std::filesystem::path(m_temporary.name);
}

void AtomicFile::commit() {
    withMemoryException([this] {
        try {
            Close();
        } catch (const CFileException& e) {
            throw FileError(m_path, std::string("cannot be written: ") + e.what());
        }
        if (!m_temporary.name.empty()) finish();
    });
}

void AtomicFile::finish() {
    const int descriptor = m_temporary.descriptor;
    const auto require = [this](int error) {
        if (error != 0) fail(error);
    };
    if (m_permissions) require(system::setPermissions(descriptor, *m_permissions));
    require(system::sync(descriptor));
    int opened = -1;
    require(system::open(folderOf(m_target).c_str(), system::Open::folder, opened));
    const system::Handle folder(opened);
    requireExpected();
    require(system::renameOver(m_temporary.name.c_str(), m_target.c_str()));
    m_temporary.name.clear();
    const int error = system::sync(folder.get());
    if (error != 0 && error != EINVAL) // some file systems need no such thing
        throw FileError(m_path,
                        "is saved, but its folder cannot be synchronised: " + system::errorText(error));
}

void AtomicFile::requireExpected() const {
    if (!m_expected) return;
    const std::optional<FileState> now = FileState::of(m_path);
    if (!now || *now == *m_expected) return;
    const bool isNew = *m_expected == FileState{};
    throw FileError(m_path, isNew ? "was made by another program meanwhile"
                                  : "was changed by another program since it was opened");
}

void AtomicFile::fail(int systemError) const {
    throw FileError(m_path, "cannot be written: " + system::errorText(systemError));
}

} // namespace icawave
