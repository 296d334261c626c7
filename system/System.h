// SPDX-License-Identifier: BSD-3-Clause
// What the library needs of an operating system: a port implements what stands here, and nothing else calls
// the system. System_posix.cpp is the port for POSIX, with what Linux has beyond it.
//
// Nothing here raises or asks for memory, but for the texts. Results are 0 or the system's error number
// (errno); a call that a signal interrupted is repeated. Paths are bytes that end with a zero; an open file
// or folder is a number, -1 for none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace icawave::system {

std::string errorText(int error);

enum class Open {
    read,
    readAtOnce, // a pipe does not keep its reader waiting for a writer
    write,
    replace,   // for writing; created, or emptied
    createNew, // for writing; an error when the name is taken
    folder,
    lock,         // for reading and writing; created, but neither a link nor a pipe
    lockReadOnly, // the same for reading, not created
};
// `file` is set only when it is open. `permissions` of a created file, less what the process withholds from
// new ones.
int open(const char* path, Open how, int& file, std::uint32_t permissions = 0666) noexcept;

int open(int folder, const char* name, Open how, int& file, std::uint32_t permissions = 0666) noexcept;
int duplicate(int file, int& copy) noexcept; // the same open file, once more

// The file is closed in any case; the error is of bytes that were still on their way.
int close(int file) noexcept;

// Closes what it holds.
class Handle {
public:
    explicit Handle(int file = -1) noexcept : m_file(file) {}
    ~Handle() {
        if (m_file >= 0) close(m_file);
    }
    Handle(Handle&& other) noexcept : m_file(std::exchange(other.m_file, -1)) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    int get() const noexcept { return m_file; }

private:
    int m_file;
};

// Which file, and in which state.
struct Status {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;     // bytes
    std::int64_t modified = 0; // nanoseconds since 1970
    std::int64_t changed = 0;  // the same, of what else is said of it too
    std::uint64_t links = 0;   // its names
    std::uint32_t owner = 0;
    std::uint32_t group = 0;
    std::uint32_t permissions = 0;
    bool isFolder = false;
    bool isRegular = false;
};
int statusOf(const char* path, Status& status) noexcept; // of what a link leads to; ENOENT: there is none
int statusOf(int file, Status& status) noexcept;
int requireWritable(const char* path) noexcept; // by this process

// Bytes moved, as many as one call moves. Reading: 0 at the end.
struct Moved {
    std::int64_t bytes = 0;
    int error = 0;
};
Moved read(int file, void* to, std::int64_t count) noexcept;
Moved readAt(int file, std::int64_t offset, void* to, std::int64_t count) noexcept;
Moved write(int file, const void* from, std::int64_t count) noexcept;

enum class From { begin, end };
int seek(int file, std::int64_t offset, From from, std::int64_t& position) noexcept;

// Space on the disk for what will be written; the size stays. Not every file system can.
int reserve(int file, std::int64_t offset, std::int64_t count) noexcept;
void releaseReserved(int file) noexcept; // what lies behind the end

int setPermissions(int file, std::uint32_t permissions) noexcept;
int setOwner(int file, const std::uint32_t* owner, std::uint32_t group) noexcept; // null: stays
// Access control lists, and what users noted. What the system itself notes of a file stays its own.
int copyAttributes(const char* from, int to) noexcept;
int truncate(int file, std::int64_t size) noexcept;
int sync(int file) noexcept; // waits until the disk has it; a folder: its names

// In an open folder.
int renameOver(int folder, const char* from, const char* to) noexcept;
void remove(int folder, const char* name) noexcept; // may be called where a signal is handled
std::size_t longestName(int folder) noexcept;       // bytes
// Those that begin with `prefix`; none where the system does not tell.
std::vector<std::string> namesIn(int folder, const std::string& prefix);

// Of the whole file; ends when the file is closed as often as it was duplicated, or with the process. Closed
// files of one process that were opened for themselves exclude each other.
int tryLock(int file) noexcept; // EWOULDBLOCK: another one has it
void unlock(int file) noexcept;

std::uint64_t processNumber() noexcept;
std::string hostName();    // empty when there is none
std::string programName(); // of this process

// Memory. Addresses need not lie on a page's boundary.
bool isProvided(const void* address) noexcept; // whether its page is there already
void provide(void* begin, void* end) noexcept; // all pages at once, in huge ones where it can
void giveBackFreeMemory() noexcept;            // what the allocator holds and nobody uses
inline constexpr std::size_t pageBytes = 4096; // the least that a page has

} // namespace icawave::system
