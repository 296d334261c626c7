#include "apps/cli/Save.h"

#include "apps/cli/Progress.h"
#include "apps/cli/Text.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace icawave::cli {

namespace {

class OutputFile : public CFile {
public:
    explicit OutputFile(const std::string& path) : m_progress("writing " + path, 0) {}

    void Write(const void* buffer, std::int64_t count) override {
        CFile::Write(buffer, count);
        m_progress.update(GetPosition());
    }

private:
    Progress m_progress;
};

constexpr int mostLinks = 40; // as the system's own limit

// Where a chain of symbolic links leads, to an existing file or not.
std::filesystem::path followLinks(std::filesystem::path path) {
    std::error_code ignored;
    for (int k = 0; k < mostLinks && std::filesystem::is_symlink(path, ignored); ++k)
        path = path.parent_path() / std::filesystem::read_symlink(path, ignored);
    return path;
}

mode_t permissionsOfNewFiles() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

SafeFile::SafeFile(const std::string& path)
    : m_path(path), m_target(followLinks(path)), m_file(std::make_unique<OutputFile>(path)) {
    struct stat status;
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) fail(EISDIR);
    if (exists && ::access(path.c_str(), W_OK) != 0) fail(errno);
    std::string opened = path;
    if (!exists || S_ISREG(status.st_mode)) {
        m_permissions = exists ? status.st_mode & 07777 : permissionsOfNewFiles();
        opened = m_target.parent_path() / ".icawave-XXXXXX";
        m_temporary.descriptor = ::mkstemp(opened.data());
        if (m_temporary.descriptor < 0) fail(errno);
        m_temporary.name = opened;
    }
    errno = 0;
    if (!m_file->Open(opened, CFile::modeCreate | CFile::modeWrite)) fail(errno);
}

SafeFile::Temporary::~Temporary() {
    if (descriptor >= 0) ::close(descriptor);
    if (!name.empty()) ::unlink(name.c_str());
}

void SafeFile::commit() {
    m_file->Close();
    if (m_temporary.name.empty()) return;
    if (::fchmod(m_temporary.descriptor, m_permissions) != 0) fail(errno);
    if (::fsync(m_temporary.descriptor) != 0) fail(errno);
    if (::rename(m_temporary.name.c_str(), m_target.c_str()) != 0) fail(errno);
    m_temporary.name.clear();
}

void SafeFile::fail(int error) const {
    throw Failure(m_path, "cannot be written: " + systemError(error));
}

void save(const std::string& path, const std::function<void(CFile&)>& write) {
    try {
        SafeFile target(path);
        write(target.file());
        target.commit();
    } catch (const CException& e) {
        throw Failure(path, std::string("cannot be written: ") + e.what());
    }
}

} // namespace icawave::cli
