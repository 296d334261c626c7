// SPDX-License-Identifier: BSD-3-Clause
// Package files as the project's own tools keep them: the record of a package (FaceIca.h) with an index
// behind it.
//
// The index says where each data set's record lies, its checksum and what a list shows of it. So a file of
// any size is listed and one data set is read without the rest, any changed byte is found, and the undamaged
// data sets of a damaged file are saved. Sections, named blocks of bytes, stand behind the record, too.
// Readers that know only the record stop before all that; a file without it opens too, by scanning its
// records. docs/FORMAT.md has the bytes.
//
//     PackageFile::save("trials.icpkg", package);
//
//     PackageFile file("trials.icpkg");
//     for (const PackageEntry& row : file.dataSets()) std::puts(row.name.utf8().c_str());
//     CTrialIcaDatazq* trial = new CTrialIcaDatazq;
//     package.setIcaData(trial, 0);
//     file.read(3, *trial);
//
// Paths are bytes, and the file that they name is opened, UTF-8 or not; pathOf gives that of a CString.
//
// Whatever keeps an operation from its result is raised as FileError (or CMemoryException). Damage that an
// operation is made to find is returned as a list of faults, each with its byte and its record: "FACEICA,
// TRIALICADATA 2" is data set 2, "FACEICA" the package's own bytes round its data sets, "index" the index,
// "section NAME" a section.
// Messages of records that fail while they are read become such faults and are never shown.
#pragma once

#include <icawave/Export.h>
#include <icawave/FaceIca.h>
#include <icawave/platform/Archive.h>
#include <icawave/platform/AtomicFile.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace icawave {

// What a list shows of one data set, and where its record lies. The fields are those of the record, as
// stored.
struct PackageEntry {
    std::int64_t offset = 0; // bytes from the beginning of the file
    std::int64_t length = 0; // bytes
    std::uint32_t checksum = 0;
    CString name;
    std::int64_t samples = 0;
    std::int64_t channels = 0;
    std::int64_t selectedChannel = 0;
    std::int32_t dataSetClass = 0;
    std::int64_t selectBegin = 0;
    std::int64_t selectEnd = 0;
    bool shown = false;

    bool operator==(const PackageEntry&) const = default;
};
// The row of a data set in memory; its place and checksum are 0.
ICAWAVE_EXPORT PackageEntry entryOf(const CTrialIcaData& dataSet);

// The fields of the package itself.
struct PackageInfo {
    std::int32_t current = 0; // the current data set; may name none
    std::int32_t type = 0;
    CString name;
    CString info;
    bool shown = false;
};
ICAWAVE_EXPORT PackageInfo infoOf(const CFaceIca& package);
ICAWAVE_EXPORT void setInfo(CFaceIca& package, const PackageInfo& info); // its list stays

// What is known of a data set of a file.
enum class DataSetState {
    whole,    // its bytes are those that were stored
    unproven, // it loads, and no checksum of it is there
    lost,
};
struct DataSetFinding {
    std::int64_t number = -1; // in the file as it was stored; -1: unknown
    CString name;
    DataSetState state = DataSetState::lost;
};
// What reading all of a file finds.
struct PackageReport {
    std::vector<ArchiveFault> faults;     // empty: none
    std::vector<DataSetFinding> dataSets; // those that are known, in their order
};

// A section of a package file: a block of bytes behind the record, whose meaning is its writer's. `offset`,
// `length` and `checksum` are those of its place in the file.
struct PackageSection {
    CString name;
    std::int64_t offset = 0; // bytes from the beginning of the file
    std::int64_t length = 0; // bytes
    std::uint32_t checksum = 0;
};
// Sections by their name, in UTF-8.
using PackageSections = std::map<std::string, std::vector<std::byte>>;
// The sections of several packages in one: `unite` makes one of all that have the same name.
ICAWAVE_EXPORT PackageSections mergeSections(
    const std::vector<PackageSections>& packages,
    const std::function<std::vector<std::byte>(const std::string& name,
                                               const std::vector<std::vector<std::byte>>& blocks)>& unite);

// A package file that is open for reading. Data sets are counted from 0; empty slots of a stored package do
// not count.
class ICAWAVE_EXPORT PackageFile {
public:
    // Reads the index, or scans the records of a file whose index is missing, damaged or wrong. Then data sets
    // that cannot be loaded are faults and not in the list. FileError for a file in which there is neither a
    // package nor a data set. `whenRead` is told the bytes read so far, now and then, as long as this file is
    // open.
    explicit PackageFile(const std::filesystem::path& path, std::function<void(std::int64_t)> whenRead = {});
    ~PackageFile();
    PackageFile(const PackageFile&) = delete;
    PackageFile& operator=(const PackageFile&) = delete;

    const std::filesystem::path& path() const;
    std::int64_t size() const; // bytes of the file
    bool hasIndex() const;     // a sound one
    const PackageInfo& info() const;
    const std::vector<PackageEntry>& dataSets() const;
    const std::vector<ArchiveFault>& faults() const;     // found when the file was opened
    const std::vector<PackageSection>& sections() const; // whose bytes are checked when they are read

    // Loads data set `number` into a new, empty one, reading nothing else unless it is not where the index
    // says. FileError names the fault when its bytes are not those that were stored; the data set then has
    // neither channels nor parameters. CInvalidArgException outside the list.
    void read(std::int64_t number, CTrialIcaDatazq& dataSet) const;
    // Appends the bytes of data set `number`'s record, which is loaded first, to a file as they are. FileError
    // as above.
    void copyRecord(std::int64_t number, CFile& file) const;
    // The bytes of a section; nothing when there is none of that name. FileError when they are not those that
    // were stored.
    std::optional<std::vector<std::byte>> section(const CString& name) const;
    PackageSections readSections() const; // all; FileError as above

    // Loads everything and compares it with the index. No fault: every byte is as it was stored; without an
    // index, as it was when the file was opened.
    PackageReport inspect() const;
    std::vector<ArchiveFault> check() const { return inspect().faults; }
    // Replaces the contents of a package by this file's: its own fields and every undamaged data set. The
    // current data set stays current; when it is damaged, the first is. Returns the faults.
    std::vector<ArchiveFault> load(CFaceIcazq& package) const;
    // Saves a package of every undamaged data set, their records byte for byte, and of every undamaged
    // section to another path, as `save` does. Current becomes what is after load. `expected` as of
    // AtomicFile.
    PackageReport salvage(const std::filesystem::path& path,
                          std::optional<FileState> expected = std::nullopt) const;

    // Stores a package at a path, whatever stands there. A failure leaves that as it was (see AtomicFile).
    // Where no sections are given, those of a package file at the path stay.
    static void save(const std::filesystem::path& path, CFaceIcazq& package,
                     const std::optional<PackageSections>& sections = std::nullopt);
    // Stores a package over the file that was opened; its sections stay. FileError when the file at the path
    // changed since, unless `force` is set; one that is gone is no change. From then on this object is open
    // on the new file.
    void replace(CFaceIcazq& package, bool force = false);
    // Stores the same record with these sections, as `replace` does. FileError when there are faults.
    void replaceSections(const PackageSections& sections, bool force = false);
    // Stores the same record and sections with an index of the present layout, as `replace` does; nothing
    // happens when there is one. FileError when there are faults.
    void addIndex(bool force = false);

private:
    friend class PackageWriter;
    struct Contents;

    void putInPlace(AtomicFile& file);

    std::unique_ptr<Contents> m_contents;
};

// Writes a package file data set by data set, so that none but the one being written needs memory. Raises
// what the file and the records raise; what was written then is no package.
//
//     AtomicFile file("all.icpkg");
//     PackageWriter writer(file, 2, first.info());
//     writer.copy(first, 0);
//     writer.copy(second, 0);
//     writer.finish();
//     file.commit();
class ICAWAVE_EXPORT PackageWriter {
public:
    // Begins a package of `slots` data sets in a file, which stays the caller's.
    PackageWriter(CFile& file, std::int32_t slots, const PackageInfo& info);
    ~PackageWriter();
    PackageWriter(const PackageWriter&) = delete;
    PackageWriter& operator=(const PackageWriter&) = delete;

    void add(CTrialIcaDatazq* dataSet);                        // null: an empty slot
    void copy(const PackageFile& source, std::int64_t number); // the record's bytes as they are
    // Writes the package's own fields, the index and the sections; CInvalidArgException unless all slots are
    // filled and the names of sections are UTF-8.
    void finish(const PackageSections& sections = {});

private:
    friend class PackageFile;
    struct Parts;

    std::unique_ptr<Parts> m_parts;
};

} // namespace icawave
