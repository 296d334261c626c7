// SPDX-License-Identifier: BSD-3-Clause
#include "platform/FileTarget.h"

#include "platform/Alloc.h"
#include "platform/PathBytes.h"

#include <cerrno>

namespace icawave {

namespace {

constexpr int maxLinks = 40; // as the system's own limit

std::string escaped(char byte) {
    constexpr const char* digits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    return {'\\', 'x', digits[value >> 4], digits[value & 15]};
}

// Where a chain of symbolic links leads, to an existing file or not.
std::filesystem::path followLinks(std::filesystem::path path) {
    std::error_code ignored;
    for (int k = 0; k < maxLinks && std::filesystem::is_symlink(path, ignored); ++k)
        path = path.parent_path() / std::filesystem::read_symlink(path, ignored);
    return path;
}

int openFolder(const std::filesystem::path& path, const std::filesystem::path& folder) {
    int opened = -1;
    if (const int error = system::open(folder.c_str(), system::Open::folder, opened))
        throw FileError(path, "cannot be written: " + system::errorText(error));
    return opened;
}

} // namespace

const char* FileError::what() const noexcept {
    return m_text.what();
}

std::filesystem::path pathOf(const CString& text) {
    return withMemoryException([&]() -> std::filesystem::path {
        std::optional<std::string> bytes = pathBytes(text);
        if (!bytes) throw FileError(text.utf8(), "not a path");
        return std::move(*bytes);
    });
}

std::string shownPath(const std::filesystem::path& path) {
    return withMemoryException([&] {
        const std::string& bytes = path.native();
        const auto isText = [](const std::string& piece) { return pathBytes(piece) == piece; };
        if (isText(bytes)) return bytes;
        std::string shown;
        for (std::size_t at = 0; at < bytes.size();) {
            std::size_t length = 1; // of the character that begins here
            while (length <= 4 && !isText(bytes.substr(at, length))) ++length;
            if (length <= 4)
                shown += bytes.substr(at, length);
            else
                shown += escaped(bytes[at]);
            at += length <= 4 ? length : 1;
        }
        return shown;
    });
}

std::string systemPath(const std::filesystem::path& path) {
    if (path.native().find('\0') != std::string::npos) throw FileError(path, "not a path");
    return path.native();
}

FileState stateOf(const system::Status& status) {
    return {status.device, status.inode, status.size, status.modified, status.changed};
}

std::optional<FileState> FileState::of(const std::filesystem::path& path) {
    system::Status status;
    const int error = system::statusOf(systemPath(path).c_str(), status);
    if (error == ENOENT) return std::nullopt;
    if (error != 0) throw FileError(path, system::errorText(error));
    return stateOf(status);
}

FileTarget::FileTarget(const std::filesystem::path& path) : FileTarget(path, followLinks(systemPath(path))) {}

FileTarget::FileTarget(const std::filesystem::path& path, const std::filesystem::path& followed)
    : m_name(followed.filename().native()),
      m_folder(openFolder(path, followed.has_parent_path() ? followed.parent_path() : ".")) {}

} // namespace icawave
