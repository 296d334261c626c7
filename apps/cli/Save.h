// Writing a file so that a failure leaves what was there before.
#pragma once

#include <icawave/icawave.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace icawave::cli {

// A file that takes its place once it is complete: until commit() it has another name in the same folder, and
// without commit() it vanishes. A target that is a link is followed; the permissions of a file that is
// replaced are kept. A target that cannot be replaced, such as a device, is written as it is.
class SafeFile {
public:
    explicit SafeFile(const std::string& path);

    CFile& file() { return *m_file; }
    void commit();

private:
    struct Temporary {
        ~Temporary();

        std::string name; // empty: there is none, or no longer
        int descriptor = -1;
    };

    [[noreturn]] void fail(int error) const;

    std::string m_path;
    std::filesystem::path m_target;
    std::uint32_t m_permissions = 0; // of the finished file
    Temporary m_temporary;
    std::unique_ptr<CFile> m_file;
};

// Lets `write` fill the file and puts it in its place. Whatever goes wrong is a Failure that names the path.
void save(const std::string& path, const std::function<void(CFile&)>& write);

// Stores a record.
template <class T>
void store(CFile& file, T& object) {
    CArchive archive(&file, CArchive::store);
    if (object.serialize(archive) == 0) AfxThrowArchiveException(CArchiveException::generic);
    archive.Close();
}

} // namespace icawave::cli
