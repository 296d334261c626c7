// Writing a file so that a failure leaves what was there before.
#pragma once

#include <icawave/PackageFile.h>

#include <functional>
#include <string>

namespace icawave::cli {

// Lets `write` fill the file and puts it in its place (see AtomicFile). What cannot be written is a Failure
// that names the path.
void save(const std::string& path, const std::function<void(CFile&)>& write);

// Lets `write` fill the slots of a package, and saves it.
void savePackage(const std::string& path, std::int32_t slots, const PackageInfo& info,
                 const std::function<void(PackageWriter&)>& write);

// Stores a record.
template <class T>
void store(CFile& file, T& object) {
    CArchive archive(&file, CArchive::store);
    if (object.serialize(archive) == 0) AfxThrowArchiveException(CArchiveException::generic);
    archive.Close();
}

} // namespace icawave::cli
