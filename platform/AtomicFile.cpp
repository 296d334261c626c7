// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/AtomicFile.h>

#include "platform/Alloc.h"
#include "platform/FileTarget.h"
#include "platform/SaveNotice.h"
#include "platform/TemporaryFile.h"
#include "platform/WriterLock.h"

#include <atomic>
#include <cerrno>
#include <vector>

namespace icawave {

namespace {

std::atomic<SaveNotice> currentNotice = nullptr;

} // namespace

SaveNotice setSaveNotice(SaveNotice notice) noexcept {
    return currentNotice.exchange(notice);
}

void giveNotice(const std::filesystem::path& path, const std::string& text) {
    if (const SaveNotice notice = currentNotice) notice(shownPath(path) + ": " + text);
}

struct AtomicFile::Parts {
    explicit Parts(const std::filesystem::path& named) : path(named) {}

    bool prepare(); // false: the path leads to what is no file, which is written as it is
    void inherit(); // from the file that is replaced
    int putInPlace();
    void requireExpected() const;
    [[noreturn]] void fail(int systemError) const;
    void require(int systemError) const {
        if (systemError != 0) fail(systemError);
    }

    const std::filesystem::path path;
    std::optional<FileState> expected;
    std::optional<WriterLock> lock;
    std::optional<FileTarget> target;
    std::optional<system::Status> old; // of the file that is replaced
    std::vector<std::string> losses;   // what does not pass on to the new file
    TemporaryFile temporary;           // ends before its folder does
};

AtomicFile::AtomicFile() noexcept = default;

AtomicFile::AtomicFile(const std::filesystem::path& path, std::optional<FileState> expected) {
    withMemoryException([&] {
        m_parts = std::make_unique<Parts>(path);
        m_parts->expected = expected;
        m_parts->lock.emplace(path);
        if (!m_parts->prepare()) {
            errno = EACCES;
            if (!OpenPath(path, modeWrite)) m_parts->fail(errno);
            return;
        }
        if (m_parts->lock->m_held) m_parts->lock->m_held->tellProblem(path);
        m_parts->require(adopt(m_parts->temporary.descriptor(), path));
    });
}

AtomicFile::~AtomicFile() {
    try {
        Close();
    } catch (const CException&) { // nobody will miss the bytes
    }
}

std::unique_ptr<AtomicFile> AtomicFile::unnoticed(const std::filesystem::path& path) {
    return withMemoryException([&]() -> std::unique_ptr<AtomicFile> {
        std::unique_ptr<AtomicFile> file(new AtomicFile);
        file->m_parts = std::make_unique<Parts>(path);
        try {
            if (!file->m_parts->prepare() || !file->m_parts->losses.empty()) return nullptr;
            file->m_parts->require(file->adopt(file->m_parts->temporary.descriptor(), path));
        } catch (const FileError&) {
            return nullptr;
        }
        return file;
    });
}

bool AtomicFile::Parts::prepare() {
    const std::string name = systemPath(path);
    system::Status status;
    const int found = system::statusOf(name.c_str(), status);
    if (found != ENOENT) require(found);
    if (status.isFolder) fail(EISDIR);
    if (found == 0) require(system::requireWritable(name.c_str()));
    requireExpected();
    if (found == 0 && !status.isRegular) return false;
    if (found == 0) old = status;
    target.emplace(path);
    if (target->name().empty()) fail(EISDIR);
    removeLeftFiles(target->folder());
    require(temporary.create(target->folder(), old ? 0600 : 0666));
    if (old) inherit();
    return true;
}

// Who may not give a file away may still give it to a group of their own.
void AtomicFile::Parts::inherit() {
    const int file = temporary.descriptor();
    system::Status now;
    require(system::statusOf(file, now));
    if (now.owner != old->owner || now.group != old->group) {
        if (system::setOwner(file, &old->owner, old->group) != 0) system::setOwner(file, nullptr, old->group);
        require(system::statusOf(file, now));
    }
    const auto change = [](const char* what, std::uint32_t from, std::uint32_t to) {
        return std::string("its ") + what + " is " + std::to_string(to) + " now, no longer " +
               std::to_string(from);
    };
    if (now.owner != old->owner) losses.push_back(change("owner", old->owner, now.owner));
    if (now.group != old->group) {
        losses.push_back(change("group", old->group, now.group));
        old->permissions = (old->permissions & ~070u) | (old->permissions & 07u)
                                                            << 3; // another group: as all
    }
    if (now.owner != old->owner || now.group != old->group) old->permissions &= 0777u;
    if (const int error = system::copyAttributes(path.c_str(), file))
        losses.push_back("its access list or attributes are lost (" + system::errorText(error) + ")");
    if (old->links > 1)
        losses.push_back("had " + std::to_string(old->links) +
                         " names (hard links); the others keep the old contents");
}

void AtomicFile::commit() {
    withMemoryException([this] {
        const std::filesystem::path& path = m_parts->path;
        try {
            Close();
        } catch (const CFileException& e) {
            throw FileError(path, std::string("cannot be written: ") + e.what());
        }
        if (!m_parts->temporary.isThere()) return;
        const int unsynchronised = m_parts->putInPlace();
        for (const std::string& loss : m_parts->losses) giveNotice(path, loss);
        if (unsynchronised != 0 && unsynchronised != EINVAL) // some file systems need no such thing
            throw FileError(path, "is saved, but its folder cannot be synchronised: " +
                                      system::errorText(unsynchronised));
    });
}

// What came of synchronising the folder.
int AtomicFile::Parts::putInPlace() {
    const int file = temporary.descriptor();
    if (old) require(system::setPermissions(file, old->permissions));
    require(system::sync(file));
    requireExpected();
    require(temporary.putInPlace(target->name()));
    return system::sync(target->folder());
}

void AtomicFile::Parts::requireExpected() const {
    if (!expected) return;
    const std::optional<FileState> now = FileState::of(path);
    if (!now || *now == *expected) return;
    const bool isNew = *expected == FileState{};
    throw FileError(path, isNew ? "was made by another program meanwhile"
                                : "was changed by another program since it was opened");
}

void AtomicFile::Parts::fail(int systemError) const {
    throw FileError(path, "cannot be written: " + system::errorText(systemError));
}

int AtomicFile::openWritten() const {
    const bool direct = !m_parts->temporary.isThere();
    int file = -1;
    m_parts->require(direct ? system::open(m_parts->path.c_str(), system::Open::readAtOnce, file)
                            : system::open(m_parts->target->folder(), m_parts->temporary.name().c_str(),
                                           system::Open::readAtOnce, file));
    return file;
}

} // namespace icawave
