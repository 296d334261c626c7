// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/PackageFileParts.h"

#include "platform/Alloc.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace icawave {

namespace {

constexpr int mostLinks = 40; // as the system's own limit
constexpr int mostNames = 1000;

// Where a chain of symbolic links leads, to an existing file or not.
std::filesystem::path followLinks(std::filesystem::path path) {
    std::error_code ignored;
    for (int k = 0; k < mostLinks && std::filesystem::is_symlink(path, ignored); ++k)
        path = path.parent_path() / std::filesystem::read_symlink(path, ignored);
    return path;
}

std::string folderOf(const std::string& target) {
    const std::filesystem::path folder = std::filesystem::path(target).parent_path();
    return folder.empty() ? "." : folder.string();
}

} // namespace

AtomicFile::AtomicFile(const CString& path, std::optional<FileState> expected)
    : m_path(path), m_expected(expected) {
    withMemoryException([this] { prepare(); });
}

AtomicFile::~AtomicFile() {
    try {
        Close();
    } catch (const CException&) { // nobody will miss the bytes
    }
}

AtomicFile::Temporary::~Temporary() {
    if (descriptor >= 0) ::close(descriptor);
    if (!name.empty()) ::unlink(name.c_str());
}

void AtomicFile::prepare() {
    const std::string name = systemPath(m_path);
    struct stat status;
    const bool exists = ::stat(name.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) fail(errno);
    if (exists && S_ISDIR(status.st_mode)) fail(EISDIR);
    if (exists && ::access(name.c_str(), W_OK) != 0) fail(errno);
    requireExpected();
    if (!exists || S_ISREG(status.st_mode)) {
        if (exists) m_permissions = status.st_mode & 07777;
        m_target = followLinks(name).string();
        createTemporary(folderOf(m_target), exists ? 0600 : 0666);
    }
    errno = EACCES;
    const bool direct = m_target.empty(); // to a device
    if (!Open(direct ? m_path : CString(m_temporary.name), direct ? modeWrite : modeWrite | modeCreate))
        fail(errno);
}

// The system takes from the permissions what the process withholds from new files.
void AtomicFile::createTemporary(const std::string& folder, std::uint32_t permissions) {
    static std::atomic<std::uint32_t> next = 0;
    int descriptor = -1;
    std::string name;
    for (int k = 0; k < mostNames && descriptor < 0; ++k) {
        name = folder + "/.icawave-" + std::to_string(::getpid()) + "-" + std::to_string(next++);
        descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
        if (descriptor < 0 && errno != EEXIST) break;
    }
    if (descriptor < 0) fail(errno);
    m_temporary.descriptor = descriptor;
    m_temporary.name = std::move(name);
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
    if (m_permissions && ::fchmod(descriptor, *m_permissions) != 0) fail(errno);
    if (::fsync(descriptor) != 0) fail(errno);
    const Descriptor folder(::open(folderOf(m_target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.get() < 0) fail(errno);
    requireExpected();
    if (::rename(m_temporary.name.c_str(), m_target.c_str()) != 0) fail(errno);
    m_temporary.name.clear();
    const bool synced = ::fsync(folder.get()) == 0 || errno == EINVAL; // some file systems need no such thing
    if (!synced)
        throw FileError(m_path, "is saved, but its folder cannot be synchronised: " + systemText(errno));
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
    throw FileError(m_path, "cannot be written: " + systemText(systemError));
}

} // namespace icawave
