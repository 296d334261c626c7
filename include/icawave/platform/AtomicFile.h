// SPDX-License-Identifier: BSD-3-Clause
// Files that are replaced as a whole, by one writer at a time.
//
//     AtomicFile file("trials.icpkg");
//     CArchive archive(&file, CArchive::store);
//     package.serialize(archive);
//     archive.Close();
//     file.commit();
//
// Paths are bytes, and the file that they name is opened, UTF-8 or not. Whatever goes wrong is FileError.
#pragma once

#include <icawave/platform/Exception.h>
#include <icawave/platform/File.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace icawave {

// The path that a text says in UTF-8. FileError for a text that is none: with a lone surrogate or a zero unit.
ICAWAVE_EXPORT std::filesystem::path pathOf(const CString& text);
// A path as UTF-8; bytes that are none, and zeros, as \xNN.
ICAWAVE_EXPORT std::string shownPath(const std::filesystem::path& path);

// A file cannot be read or written, or is not what it should be; what() is "PATH: what is wrong".
class ICAWAVE_EXPORT FileError : public CException {
public:
    FileError(const std::filesystem::path& path, const std::string& text)
        : m_text(shownPath(path) + ": " + text) {}
    const char* what() const noexcept override;

private:
    std::runtime_error m_text; // its copies cannot fail
};

// Which file a path led to, and in which state.
struct FileState {
    // Nothing when there is no file. FileError when the system does not tell.
    ICAWAVE_EXPORT static std::optional<FileState> of(const std::filesystem::path& path);

    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;     // bytes
    std::int64_t modified = 0; // nanoseconds since 1970
    std::int64_t changed = 0;  // the same, of owner, permissions and names too

    bool operator==(const FileState&) const = default;
};

// What a save says beside its result, one line "PATH: what" each: whom it waits for; that no lock can be
// made; that a file has another owner or that its other names (hard links) keep the old contents. The
// function is called on the thread that saves and must not raise; null, as at first, is silence. Returns the
// one before.
using SaveNotice = void (*)(const std::string& line);
ICAWAVE_EXPORT SaveNotice setSaveNotice(SaveNotice notice) noexcept;

// Keeps other writers of a file away while it lives: for a change that begins with reading the file and ends
// with replacing it. Readers never wait.
//
// A file `.NAME.lock` beside the file that a link leads to is locked and says who writes. It is never
// deleted, since another program may be about to lock it. What has no lock (a device, a folder that takes no
// new names) is not kept from anyone. The thread that holds a lock may take it again; other threads are
// other writers. Copies share the lock.
class ICAWAVE_EXPORT WriterLock {
public:
    // Waits up to 10 s for another writer, and says so after one. Then FileError names it.
    explicit WriterLock(const std::filesystem::path& path);

    struct Held;

private:
    friend class AtomicFile;

    std::shared_ptr<Held> m_held; // null: nothing to lock
};

// A file that takes its place once it is complete. Until commit() it has another name in the same folder;
// destroyed without it, it vanishes and what stood at the path is untouched. It holds the path's WriterLock
// as long as it lives.
//
// A symbolic link is followed, also one that leads to no file yet; a file that is replaced passes its
// permissions on, and its owner and group where the system lets it. What cannot be replaced, such as a
// device, is written as it is.
class ICAWAVE_EXPORT AtomicFile : public CFile {
public:
    // Open for writing. With `expected`, a file at the path that is in another state is refused here and by
    // commit; FileState{} expects that there is none.
    explicit AtomicFile(const std::filesystem::path& path, std::optional<FileState> expected = std::nullopt);
    ~AtomicFile() override;

    // For who promised to write the very file that is there: takes its place only where nobody could tell
    // one from the other, and without a lock. Null where the file itself must be written.
    static std::unique_ptr<AtomicFile> unnoticed(const std::filesystem::path& path);

    // Waits until the disk has the bytes, and puts the file in its place. When that fails the old file stays,
    // but for the last step: if the folder's disk fails then, the new file stands there already.
    void commit();

private:
    friend class PackageFile;
    struct Parts;

    AtomicFile() noexcept;
    int openWritten() const; // a descriptor of the system that reads what was flushed so far

    std::unique_ptr<Parts> m_parts;
};

// Removes what saves of this process that are going on have in their folders: for a handler of the signals
// that end a program, where little else may be called.
ICAWAVE_EXPORT void removeTemporaryFiles() noexcept;

} // namespace icawave
