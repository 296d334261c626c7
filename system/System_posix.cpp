// SPDX-License-Identifier: BSD-3-Clause
#include "system/System.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#ifdef __GLIBC__
#    include <malloc.h>
#endif
#ifdef __linux__
#    include <cstring>
#    include <linux/limits.h>
#    include <sys/xattr.h>
#endif

namespace icawave::system {

namespace {

// One system call moves at most 2^31 - 4096 bytes.
constexpr std::int64_t largestTransfer = std::int64_t{1} << 30;

// Repeats a call while a signal interrupts it.
template <class Call>
auto repeated(Call&& call) noexcept {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

int errorOf(int result) noexcept {
    return result < 0 ? errno : 0;
}

Moved moved(ssize_t count) noexcept {
    return count < 0 ? Moved{0, errno} : Moved{count, 0};
}

std::size_t oneTransfer(std::int64_t count) noexcept {
    return static_cast<std::size_t>(std::min(count, largestTransfer));
}

std::int64_t nanoseconds(const timespec& time) noexcept {
    return time.tv_sec * std::int64_t{1'000'000'000} + time.tv_nsec;
}

Status takenFrom(const struct stat& found) noexcept {
    return {.device = found.st_dev,
            .inode = found.st_ino,
            .size = found.st_size,
            .modified = nanoseconds(found.st_mtim),
            .changed = nanoseconds(found.st_ctim),
            .links = found.st_nlink,
            .owner = found.st_uid,
            .group = found.st_gid,
            .permissions = found.st_mode & 07777u,
            .isFolder = S_ISDIR(found.st_mode),
            .isRegular = S_ISREG(found.st_mode)};
}

int flagsOf(Open how) noexcept {
    switch (how) {
    case Open::read:
        return O_RDONLY;
    case Open::readAtOnce:
        return O_RDONLY | O_NONBLOCK;
    case Open::write:
        return O_WRONLY;
    case Open::replace:
        return O_WRONLY | O_CREAT | O_TRUNC;
    case Open::createNew:
        return O_WRONLY | O_CREAT | O_EXCL;
    case Open::folder:
        return O_RDONLY | O_DIRECTORY;
    case Open::lock:
        return O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK;
    case Open::lockReadOnly:
        return O_RDONLY | O_NOFOLLOW | O_NONBLOCK;
    }
    return O_RDONLY;
}

void* pageOf(const void* address) noexcept {
    return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(address) & ~(pageBytes - 1));
}

} // namespace

std::string errorText(int error) {
    return std::system_category().message(error);
}

int open(const char* path, Open how, int& file, std::uint32_t permissions) noexcept {
    return open(AT_FDCWD, path, how, file, permissions);
}

int open(int folder, const char* name, Open how, int& file, std::uint32_t permissions) noexcept {
    const int descriptor =
        repeated([&] { return ::openat(folder, name, flagsOf(how) | O_CLOEXEC, permissions); });
    if (descriptor < 0) return errno;
    file = descriptor;
    return 0;
}

int duplicate(int file, int& copy) noexcept {
    const int descriptor = ::fcntl(file, F_DUPFD_CLOEXEC, 0);
    if (descriptor < 0) return errno;
    copy = descriptor;
    return 0;
}

int close(int file) noexcept {
    return ::close(file) < 0 && errno != EINTR ? errno : 0;
}

int statusOf(const char* path, Status& status) noexcept {
    struct stat found;
    if (::stat(path, &found) != 0) return errno;
    status = takenFrom(found);
    return 0;
}

int statusOf(int file, Status& status) noexcept {
    struct stat found;
    if (::fstat(file, &found) != 0) return errno;
    status = takenFrom(found);
    return 0;
}

int requireWritable(const char* path) noexcept {
    return errorOf(::access(path, W_OK));
}

Moved read(int file, void* to, std::int64_t count) noexcept {
    return moved(repeated([&] { return ::read(file, to, oneTransfer(count)); }));
}

Moved readAt(int file, std::int64_t offset, void* to, std::int64_t count) noexcept {
    return moved(repeated([&] { return ::pread(file, to, oneTransfer(count), offset); }));
}

Moved write(int file, const void* from, std::int64_t count) noexcept {
    return moved(repeated([&] { return ::write(file, from, oneTransfer(count)); }));
}

int seek(int file, std::int64_t offset, From from, std::int64_t& position) noexcept {
    const off_t reached = ::lseek(file, offset, from == From::end ? SEEK_END : SEEK_SET);
    if (reached < 0) return errno;
    position = reached;
    return 0;
}

int reserve(int file, std::int64_t offset, std::int64_t count) noexcept {
#ifdef FALLOC_FL_KEEP_SIZE
    return errorOf(::fallocate(file, FALLOC_FL_KEEP_SIZE, offset, count));
#else
    (void)file, (void)offset, (void)count;
    return EOPNOTSUPP;
#endif
}

void releaseReserved(int file) noexcept {
    struct stat found;
    if (::fstat(file, &found) != 0) return;
    [[maybe_unused]] const int result = ::ftruncate(file, found.st_size);
}

int setPermissions(int file, std::uint32_t permissions) noexcept {
    return errorOf(::fchmod(file, permissions));
}

int setOwner(int file, const std::uint32_t* owner, std::uint32_t group) noexcept {
    return errorOf(::fchown(file, owner ? *owner : static_cast<uid_t>(-1), group));
}

int copyAttributes(const char* from, int to) noexcept {
#ifdef __linux__
    std::array<char, XATTR_LIST_MAX> names;
    std::array<char, XATTR_SIZE_MAX> value;
    const ssize_t length = ::listxattr(from, names.data(), names.size());
    if (length < 0) return errno == EOPNOTSUPP ? 0 : errno;
    for (const char* name = names.data(); name < names.data() + length; name += std::strlen(name) + 1) {
        if (std::strncmp(name, "user.", 5) != 0 && std::strncmp(name, "system.", 7) != 0) continue;
        const ssize_t size = ::getxattr(from, name, value.data(), value.size());
        if (size < 0 || ::fsetxattr(to, name, value.data(), static_cast<std::size_t>(size), 0) != 0)
            return errno;
    }
#else
    (void)from, (void)to;
#endif
    return 0;
}

int truncate(int file, std::int64_t size) noexcept {
    return errorOf(repeated([&] { return ::ftruncate(file, size); }));
}

int sync(int file) noexcept {
    return errorOf(::fsync(file));
}

int renameOver(int folder, const char* from, const char* to) noexcept {
    return errorOf(::renameat(folder, from, folder, to));
}

void remove(int folder, const char* name) noexcept {
    ::unlinkat(folder, name, 0);
}

std::size_t longestName(int folder) noexcept {
    const long longest = ::fpathconf(folder, _PC_NAME_MAX);
    return longest > 0 ? static_cast<std::size_t>(longest) : NAME_MAX;
}

std::vector<std::string> namesIn(int folder, const std::string& prefix) {
    std::vector<std::string> names;
    int again = -1;
    if (open(folder, ".", Open::folder, again) != 0) return names;
    const auto closed = [](DIR* opened) { ::closedir(opened); };
    const std::unique_ptr<DIR, decltype(closed)> entries(::fdopendir(again));
    if (!entries) close(again);
    while (const dirent* entry = entries ? ::readdir(entries.get()) : nullptr) {
        if (std::string_view(entry->d_name).starts_with(prefix)) names.emplace_back(entry->d_name);
    }
    return names;
}

int tryLock(int file) noexcept {
    return errorOf(repeated([&] { return ::flock(file, LOCK_EX | LOCK_NB); }));
}

void unlock(int file) noexcept {
    ::flock(file, LOCK_UN);
}

std::uint64_t processNumber() noexcept {
    return static_cast<std::uint64_t>(::getpid());
}

std::string hostName() {
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

std::string programName() {
#ifdef __GLIBC__
    return program_invocation_short_name;
#else
    return "a program";
#endif
}

bool isProvided(const void* address) noexcept {
    unsigned char pages = 0;
    return ::mincore(pageOf(address), pageBytes, &pages) == 0 && (pages & 1) != 0;
}

void provide(void* begin, void* end) noexcept {
#ifdef MADV_POPULATE_WRITE
    void* const pages = pageOf(begin);
    const auto count = static_cast<std::size_t>(static_cast<char*>(end) - static_cast<char*>(pages));
    ::madvise(pages, count, MADV_HUGEPAGE);
    ::madvise(pages, count, MADV_POPULATE_WRITE); // either may fail: pages come when they are touched
#else
    (void)begin, (void)end;
#endif
}

void giveBackFreeMemory() noexcept {
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

} // namespace icawave::system
