// SPDX-License-Identifier: BSD-3-Clause
#include "tests/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

test::SystemCalls test::systemCalls;

namespace {

using test::systemCalls;

bool refuses(const char* change = "") {
    systemCalls.changes += change;
    if (systemCalls.left < 0 || systemCalls.left-- != 0) return false;
    errno = EIO;
    return true;
}

size_t piece(size_t count) {
    return std::min<size_t>(count, systemCalls.largest);
}

} // namespace

extern "C" {
int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return ::openat(AT_FDCWD, path, flags, mode);
}
int openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return refuses() ? -1 : static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode));
}
ssize_t read(int file, void* to, size_t count) {
    return refuses() ? -1 : ::syscall(SYS_read, file, to, piece(count));
}
ssize_t pread(int file, void* to, size_t count, off_t offset) {
    const ssize_t got = refuses() ? -1 : ::syscall(SYS_pread64, file, to, piece(count), offset);
    if (got > 0) systemCalls.bytesRead += got;
    return got;
}
ssize_t write(int file, const void* from, size_t count) {
    return refuses() ? -1 : ::syscall(SYS_write, file, from, piece(count));
}
int fsync(int file) {
    systemCalls.whileSyncing();
    return refuses("sync ") || file < 0 ? -1 : 0; // a disk is too slow for thousands of tests
}
int close(int file) {
    ::syscall(SYS_close, file); // the system releases it in any case
    return refuses() ? -1 : 0;
}
int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    const auto call = SYS_renameat2;
    return refuses("rename ") ? -1 : static_cast<int>(::syscall(call, fromFolder, from, toFolder, to, 0));
}
int fchmod(int file, mode_t mode) noexcept {
    return refuses() ? -1 : static_cast<int>(::syscall(SYS_fchmod, file, mode));
}
int stat(const char* path, struct stat* status) noexcept {
    return refuses() ? -1 : ::fstatat(AT_FDCWD, path, status, 0);
}
int fstat(int file, struct stat* status) noexcept {
    return refuses() ? -1 : ::fstatat(file, "", status, AT_EMPTY_PATH);
}
}
