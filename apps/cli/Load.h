// SPDX-License-Identifier: BSD-3-Clause
// Reading a package or a data set file, whatever its state.
#pragma once

#include "apps/cli/Progress.h"
#include "apps/cli/Text.h"

#include <icawave/PackageFile.h>
#include <icawave/icawave.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace icawave::cli {

// The library's messages while it lives. A damaged record can bring thousands: the first text and the count
// are kept.
class Messages : public UiFrontEnd {
public:
    void messageBox(const CString& text) override {
        if (count++ == 0) first = text;
    }

    CString first;
    std::int64_t count = 0;

private:
    InstalledFrontEnd m_installed{*this};
};

// All that the library's own loaders take from a file, which keep what they can of a damaged one. What stands
// behind the record of a package is checked as well.
struct WholeFile {
    explicit WholeFile(const std::string& path); // a Failure for what is neither kind of file

    bool isPackage = false;
    CFaceIcazq package; // of a data set file: a list of the one
    std::int64_t bytes = 0;
    std::int64_t bytesBehind = 0;     // behind the record
    std::optional<std::string> fault; // the first, where it lies and how many follow

private:
    void load(CArchive& archive);
};

// A file whose data sets are read one at a time: of a package, no other is in memory.
class Input {
public:
    // A Failure for what is neither kind of file. `readings`: how often the data sets will be gone through,
    // for the time that is left.
    explicit Input(const std::string& path, int readings = 1);

    bool isPackage() const { return m_package.has_value(); }
    CString kind() const { return isPackage() ? "package" : "dataset"; }
    const PackageFile& package() const { return *m_package; } // of a package only
    std::int64_t bytes() const { return isPackage() ? m_package->size() : m_single->bytes; }
    // Behind the record of a data set file; of a package they are a fault.
    std::int64_t bytesBehind() const { return isPackage() ? 0 : m_single->bytesBehind; }
    // What a list shows, one row for each data set that the file has undamaged.
    const std::vector<PackageEntry>& rows() const { return isPackage() ? m_package->dataSets() : m_row; }
    std::int32_t count() const { return static_cast<std::int32_t>(rows().size()); }
    // A package's own fields; of a data set file, those of a new package.
    PackageInfo info() const;
    PackageSections sections() const; // those of a package; a FileError when one is damaged

    // The data sets that the user named, such as 3 or 0-9,12; a Failure when there is no such data set.
    std::vector<std::int32_t> chosen(const std::vector<std::string>& words) const;
    // The only one; of a data set file it need not be named.
    std::int32_t chosenOne(const std::vector<std::string>& words) const;
    CTrialIcaDatazq& dataSet(std::int32_t index); // until the next call
    DataSetOwner take(std::int32_t index);        // of a package; the caller's from now on
    // Adds a data set to a package, as the bytes that the file has where it is a package itself.
    void copyTo(PackageWriter& writer, std::int32_t index);

    void requireSound(int status = trouble) const; // a Failure when a fault was found so far

private:
    std::string m_path;
    Progress m_progress;
    std::int64_t m_bytesRead = 0;
    std::optional<PackageFile> m_package;
    std::optional<WholeFile> m_single;
    std::vector<PackageEntry> m_row; // of the single data set
    DataSetOwner m_dataSet;
};

std::string describe(const ArchiveFault& fault); // text, place and record
// A Failure with the first fault and how many more there are.
void requireNone(const std::string& path, const std::vector<ArchiveFault>& faults, int status = trouble);

} // namespace icawave::cli
