// SPDX-License-Identifier: BSD-3-Clause
#include "apps/cli/Save.h"

#include "apps/cli/Text.h"

#include <filesystem>

namespace icawave::cli {

Output::Output(std::string path, bool force, const std::vector<std::string>& read) : m_path(std::move(path)) {
    for (const std::string& file : read) mustNotBe(file);
    std::error_code ignored;
    std::optional<FileState> now = FileState::of(m_path);
    if (now && !std::filesystem::is_regular_file(m_path, ignored)) return;
    if (now && !force) throw Failure(m_path, "exists already; --force replaces it");
    if (now) {
        m_lock.emplace(m_path);
        now = FileState::of(m_path);
    }
    m_expected = now.value_or(FileState{});
}

void Output::mustNotBe(const std::string& read) const {
    std::error_code ignored;
    if (std::filesystem::equivalent(m_path, read, ignored))
        throw Failure(m_path, "is a file that is read here; write to another one");
}

void save(const Output& target, const std::function<void(CFile&)>& write) {
    try {
        AtomicFile file(target.path(), target.expected());
        write(file);
        file.commit();
    } catch (const FileError&) { // names its file, which may be one that was read
        throw;
    } catch (const CException& e) {
        throw Failure(target.path(), std::string("cannot be written: ") + e.what());
    }
}

void savePackage(const Output& target, std::int32_t slots, const PackageInfo& info,
                 const PackageSections& sections, const std::function<void(PackageWriter&)>& write) {
    save(target, [&](CFile& file) {
        PackageWriter writer(file, slots, info);
        write(writer);
        writer.finish(sections);
    });
}

} // namespace icawave::cli
