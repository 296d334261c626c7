// SPDX-License-Identifier: BSD-3-Clause
// Writing a file so that a failure leaves what was there before, and nothing is replaced that nobody meant
// to.
#pragma once

#include <icawave/PackageFile.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace icawave::cli {

// The one rule for what every command writes: a Failure when the file exists, unless `force` is set, and when
// it is one of those that are read, under whatever name. A file that changes from here on is refused when it
// would be replaced, and until then no other writer is let near it, so that a command may read the file that
// it replaces. A device or a pipe is no file in this sense: it loses nothing.
class Output {
public:
    Output(std::string path, bool force, const std::vector<std::string>& read = {});

    const std::string& path() const { return m_path; }
    const std::optional<FileState>& expected() const { return m_expected; }
    bool isThere() const { return m_expected && *m_expected != FileState{}; }
    void mustNotBe(const std::string& read) const;

private:
    std::string m_path;
    std::optional<WriterLock> m_lock;
    std::optional<FileState> m_expected;
};

// Lets `write` fill the file and puts it in its place (see AtomicFile). What cannot be written is a Failure
// that names the path.
void save(const Output& target, const std::function<void(CFile&)>& write);

// Lets `write` fill the slots of a package, and saves it with these sections.
void savePackage(const Output& target, std::int32_t slots, const PackageInfo& info,
                 const PackageSections& sections, const std::function<void(PackageWriter&)>& write);

// Stores a record.
template <class T>
void store(CFile& file, T& object) {
    CArchive archive(&file, CArchive::store);
    if (object.serialize(archive) == 0) AfxThrowArchiveException(CArchiveException::generic);
    archive.Close();
}

} // namespace icawave::cli
