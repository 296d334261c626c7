// SPDX-License-Identifier: BSD-3-Clause
// What stands behind the record of a package file: a row of chunks with the index, twice, and the sections.
#pragma once

#include "persist/packagefile/PackageFileParts.h"

#include <map>

namespace icawave {

struct PackageIndex {
    PackageInfo info;
    std::int64_t recordLength = 0;
    std::uint32_t rest = 0; // checksum of the package record's bytes outside of its data sets
    std::vector<PackageEntry> entries;
    std::vector<PackageSection> sections;
    bool isOld = false; // of the older layout
};

// Appends a whole tail. The index's record length and places of sections are set.
void storeTail(ChecksumFile& file, PackageIndex& index, const PackageSections& sections);

// The index of a file whose tail and own fields are what they should be, as far as that is seen without
// reading the data sets and sections; nothing else otherwise.
std::optional<PackageIndex> loadIndex(const InputFile& file);
// Of the older layout; nothing unless its checksum is right.
std::optional<PackageIndex> loadOldIndex(const InputFile& file);
bool isOldIndexAt(const InputFile& file, std::int64_t offset); // or as much as the file still has
// Whether the file ends as a tail does, in this layout or the older one.
bool endsWithTail(const InputFile& file);
// Whether a tail begins at an offset, in this layout or the older one, or as much of its first bytes as the
// file still has.
bool beginsLikeTail(const InputFile& file, std::int64_t offset);

// What stands of a tail, each chunk whose checksums are right.
struct Tail {
    struct Extent {
        std::int64_t begin = 0;
        std::int64_t end = 0;
    };

    std::optional<PackageIndex> head; // without its entries
    std::int32_t count = 0;           // of the data sets, as the head has it
    std::map<std::int32_t, PackageEntry> entries;
    std::vector<Extent> chunks; // ascending
    std::int64_t begin = 0;     // where the record ends, as far as the tail tells
    // Whether the index is there twice, the same, and nothing else but sections up to the end of the file;
    // a section of which bytes are changed is left to whoever reads sections.
    bool isWhole = false;
};
Tail readTail(const InputFile& file);

// The bytes of a section; nothing unless they are those that were stored.
std::optional<std::vector<std::byte>> readSection(const InputFile& file, const PackageSection& section);

// The checksum of the package record's bytes outside of its data sets, which ascend inside it.
std::uint32_t checksumOfRest(const InputFile& file, const std::vector<PackageEntry>& entries,
                             std::int64_t recordLength);

} // namespace icawave
