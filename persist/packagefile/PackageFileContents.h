// SPDX-License-Identifier: BSD-3-Clause
// What a package file that is open for reading knows.
#pragma once

#include "persist/packagefile/PackageFileRecovery.h"

namespace icawave {

struct PackageFile::Contents {
    // `file` as of InputFile; it may not be in its place yet.
    Contents(const std::filesystem::path& path, system::Handle file,
             std::function<void(std::int64_t)> whenRead = {});

    const PackageEntry& entry(std::int64_t number) const; // CInvalidArgException outside the list
    std::int64_t count() const { return std::ssize(index.entries); }
    std::optional<ArchiveFault> read(const PackageEntry& row, std::int64_t number,
                                     CTrialIcaDatazq& dataSet) const;
    // Reads a data set from where it is, which is not always where the index says; FileError where that fails.
    // Returns its row with the place.
    PackageEntry readFound(std::int64_t number, CTrialIcaDatazq& dataSet) const;
    // Writes the bytes of a record that was read.
    void write(const PackageEntry& row, std::int64_t number, CFile& target) const;
    std::vector<ArchiveFault> loadAll(const PackageIndex& from, CFaceIcazq& package) const;
    bool isRestWhole() const;
    const VerifiedPackage& verified() const; // by reading all of the file once

    InputFile file;
    bool hasIndex = false;
    PackageIndex index; // as stored, or as reading all of the file found it
    std::vector<ArchiveFault> faults;

private:
    mutable std::optional<VerifiedPackage> m_verified;
};

} // namespace icawave
