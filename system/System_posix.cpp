// SPDX-License-Identifier: BSD-3-Clause
#include "system/System.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#ifdef __GLIBC__
#    include <malloc.h>
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

Status takenFrom(const struct stat& found) noexcept {
    return {.device = found.st_dev,
            .inode = found.st_ino,
            .size = found.st_size,
            .modified = found.st_mtim.tv_sec * std::int64_t{1'000'000'000} + found.st_mtim.tv_nsec,
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
    const int descriptor = repeated([&] { return ::open(path, flagsOf(how) | O_CLOEXEC, permissions); });
    if (descriptor < 0) return errno;
    file = descriptor;
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

int sync(int file) noexcept {
    return errorOf(::fsync(file));
}

int renameOver(const char* from, const char* to) noexcept {
    return errorOf(::rename(from, to));
}

void remove(const char* path) noexcept {
    ::unlink(path);
}

std::uint64_t processNumber() noexcept {
    return static_cast<std::uint64_t>(::getpid());
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
