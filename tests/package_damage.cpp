// SPDX-License-Identifier: BSD-3-Clause
// What an enemy does to package files: zeros, shifts, indexes that lie, bytes that look like others. No data
// set is lost unnoticed, none that is whole is lost, and none that was changed passes for whole.
#include "tests/Support.h"

#include <icawave/PackageFile.h>

#include "persist/packagefile/Crc32c.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>

using namespace icawave;
using test::Bytes;
using test::stored;

namespace {

namespace fs = std::filesystem;

constexpr std::string_view mark = "ICAW\x1A\r\n";

// A chunk of the tail: 24 bytes and its payload.
struct Chunk {
    char kind() const { return static_cast<char>((*bytes)[begin + 7]); }
    std::size_t payload() const { return begin + 24; }
    std::size_t end() const {
        std::int64_t length;
        std::memcpy(&length, &(*bytes)[begin + 8], 8);
        return payload() + static_cast<std::size_t>(length);
    }
    // Its checksums fit again.
    void seal() const {
        std::byte* const first = const_cast<std::byte*>(bytes->data()) + begin;
        const std::uint32_t checksum = crc32c(0, first + 24, end() - payload());
        std::memcpy(first + 16, &checksum, 4);
        const std::uint32_t guard = crc32c(0, first, 20);
        std::memcpy(first + 20, &guard, 4);
    }

    const Bytes* bytes;
    std::size_t begin;
};

std::vector<Chunk> chunksOf(const Bytes& bytes, std::size_t from) {
    std::vector<Chunk> chunks;
    for (; from < bytes.size(); from = chunks.back().end()) {
        EXPECT_EQ(std::memcmp(&bytes[from], mark.data(), mark.size()), 0);
        chunks.push_back({&bytes, from});
    }
    return chunks;
}

class PackageDamage : public ::testing::Test {
protected:
    PackageDamage() {
        for (int k = 0; k < dataSets; ++k) {
            test::DataSet dataSet = test::countingDataSet(1, 2 + k % 3);
            dataSet->m_icaName = CString::Format(u"trial %d", k);
            package.setIcaData(dataSet.release(), 0);
        }
        package.m_pkgName = u"sample";
        PackageFile::save(file, package, sections);
        bytes = test::contents(file);
        const PackageFile opened(file);
        rows = opened.dataSets();
        for (const PackageEntry& row : rows)
            recordBytes.push_back({bytes.begin() + row.offset, bytes.begin() + row.offset + row.length});
        recordEnd = stored(package).size();
        plain = {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(recordEnd)};
    }

    void write(const Bytes& changed) const {
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(changed.data()),
                   static_cast<std::streamsize>(changed.size()));
    }

    // Writes changed bytes, of which these data sets are whole: all are salvaged and no other but where it is
    // `unproven`; every loss is told.
    void expectSaved(const Bytes& changed, const std::vector<bool>& isWhole, bool isIndexed) const {
        write(changed);
        fs::remove(saved);
        const PackageFile opened(file);
        const PackageReport report = opened.salvage(saved);
        const PackageFile after(saved);
        ASSERT_TRUE(after.check().empty());
        const Bytes kept = test::contents(saved);
        std::size_t k = 0, wholeOnes = 0;
        for (const PackageEntry& row : after.dataSets()) {
            const Bytes record(kept.begin() + row.offset, kept.begin() + row.offset + row.length);
            while (k < recordBytes.size() && record != recordBytes[k]) {
                ASSERT_FALSE(isWhole[k]) << "data set " << k << " is lost";
                ++k;
            }
            ASSERT_LT(k, recordBytes.size()) << "a data set that was never stored";
            ++k;
            ++wholeOnes;
        }
        for (; k < recordBytes.size(); ++k) ASSERT_FALSE(isWhole[k]) << "data set " << k << " is lost";
        ASSERT_EQ(report.faults.empty(), wholeOnes == recordBytes.size() && changed.size() == bytes.size());
        CFaceIcazq loaded;
        ASSERT_EQ(opened.load(loaded).empty(), report.faults.empty());
        ASSERT_EQ(loaded.getTotalIca(), std::ssize(after.dataSets()));
        if (!isIndexed) return;
        for (const DataSetFinding& found : report.dataSets) {
            if (found.state != DataSetState::whole) continue;
            ASSERT_TRUE(found.number >= 0 && isWhole[static_cast<std::size_t>(found.number)]);
        }
    }

    static constexpr int dataSets = 6;
    const test::Folder temporary;
    const fs::path file = temporary.path / "sample.icpkg", saved = temporary.path / "saved.icpkg";
    const PackageSections sections = {{"marks", Bytes(700, std::byte{'m'})}, {"empty", {}}};
    CFaceIcazq package;
    Bytes bytes, plain;
    std::vector<PackageEntry> rows;
    std::vector<Bytes> recordBytes;
    std::size_t recordEnd = 0;
};

// What an interrupted copy leaves, and a page that was never written.
TEST_F(PackageDamage, ZerosLoseNoDataSetBesideThem) {
    for (const bool isIndexed : {true, false}) {
        const Bytes& sound = isIndexed ? bytes : plain;
        for (const std::size_t page : {std::size_t{200}, std::size_t{1} << 20}) {
            for (std::size_t begin = 0; begin < sound.size(); begin += 7) {
                const std::size_t end = std::min(begin + page, sound.size());
                Bytes zeroed = sound;
                std::fill(zeroed.begin() + static_cast<std::ptrdiff_t>(begin),
                          zeroed.begin() + static_cast<std::ptrdiff_t>(end), std::byte{0});
                write(zeroed);
                std::int64_t left = 0;
                for (std::size_t k = 0; k < rows.size(); ++k)
                    left += std::equal(recordBytes[k].begin(), recordBytes[k].end(),
                                       zeroed.begin() + rows[k].offset);
                SCOPED_TRACE(std::to_string(begin) + (isIndexed ? " indexed" : ""));
                CFaceIcazq loaded;
                try {
                    const PackageFile opened(file);
                    const auto faults = opened.load(loaded);
                    std::int64_t found = 0;
                    for (std::int32_t k = 0; k < loaded.getTotalIca(); ++k)
                        found += std::ranges::count(recordBytes, stored(*loaded.getIcaData(k)));
                    ASSERT_GE(found, left);
                    ASSERT_EQ(faults.empty() && left < dataSets, false);
                    if (zeroed != sound && (isIndexed || left < dataSets)) {
                        ASSERT_FALSE(opened.check().empty());
                    }
                } catch (const FileError&) {
                    ASSERT_EQ(left, 0);
                }
            }
        }
    }
}

TEST_F(PackageDamage, AShiftLosesTheDataSetItIsIn) {
    struct Case {
        std::size_t at;
        int bytes; // added, or lost
        int lost;  // data set; -1: none
    };
    const std::size_t inside = static_cast<std::size_t>(rows[2].offset + rows[2].length / 2);
    const std::size_t flag = static_cast<std::size_t>(rows[2].offset) - 4;
    for (const auto& [at, count, lost] : {Case{0, 1, -1},
                                          {0, -1, -1},
                                          {inside, 1, 2},
                                          {inside, -1, 2},
                                          {inside, -40, 2},
                                          {flag, -4, -1},
                                          {flag, 3, -1},
                                          {recordEnd, -1, -1},
                                          {recordEnd, 5, -1},
                                          {recordEnd + 100, -3, -1}}) {
        for (const bool isIndexed : {true, false}) {
            Bytes shifted = isIndexed ? bytes : plain;
            if (at + 5 > shifted.size()) continue;
            const auto place = shifted.begin() + static_cast<std::ptrdiff_t>(at);
            if (count > 0)
                shifted.insert(place, static_cast<std::size_t>(count), std::byte{'x'});
            else
                shifted.erase(place, place - count);
            std::vector<bool> whole(dataSets, true);
            if (lost >= 0) whole[static_cast<std::size_t>(lost)] = false;
            SCOPED_TRACE(std::to_string(at) + (isIndexed ? " indexed " : " ") + std::to_string(count));
            expectSaved(shifted, whole, isIndexed);
            if (!isIndexed) continue;
            const PackageFile opened(file); // each by itself, too
            for (std::size_t k = 0; k < opened.dataSets().size(); ++k) {
                const test::DataSet dataSet = test::newDataSet();
                opened.read(static_cast<std::int64_t>(k), *dataSet);
            }
        }
    }
}

// Any page of what stands behind the record is lost: every data set stays proven, and the sections that it does
// not reach stay.
TEST_F(PackageDamage, NoPlaceOfTheIndexTakesAChecksum) {
    for (std::size_t begin = recordEnd; begin < bytes.size(); begin += 61) {
        Bytes damaged = bytes;
        const std::size_t end = std::min(begin + 4096, bytes.size());
        std::fill(damaged.begin() + static_cast<std::ptrdiff_t>(begin),
                  damaged.begin() + static_cast<std::ptrdiff_t>(end), std::byte{0xA7});
        write(damaged);
        const PackageFile opened(file);
        const PackageReport report = opened.inspect();
        ASSERT_FALSE(report.faults.empty()) << begin;
        ASSERT_EQ(report.dataSets.size(), rows.size());
        for (const DataSetFinding& found : report.dataSets)
            ASSERT_EQ(found.state, DataSetState::whole) << begin << found.name.utf8();
        for (const Chunk& chunk : chunksOf(bytes, recordEnd)) {
            if (chunk.kind() != 'S') continue;
            const bool isReached = chunk.begin < end && chunk.end() > begin;
            const std::string name = chunk.end() - chunk.payload() > 100 ? "marks" : "empty";
            const auto isTold = [&](const ArchiveFault& f) { return f.record == "section " + name; };
            ASSERT_EQ(std::ranges::any_of(report.faults, isTold), isReached) << begin;
        }
    }
    // Changed data sets are known as such then.
    Bytes damaged = bytes;
    damaged[bytes.size() - 1] ^= std::byte{1};
    damaged[static_cast<std::size_t>(rows[3].offset + rows[3].length) - 200] ^= std::byte{1};
    std::vector<bool> whole(dataSets, true);
    whole[3] = false;
    expectSaved(damaged, whole, true);
}

// Whatever an index with right checksums says, nothing is believed that cannot be, and what is wrong is told.
TEST_F(PackageDamage, AnIndexIsNotTrusted) {
    const std::vector<Chunk> all = chunksOf(bytes, recordEnd);
    for (const Chunk& chunk : all) {
        if (chunk.kind() == 'P') continue;
        for (std::size_t at = 0; chunk.payload() + at + 8 <= std::min(chunk.end(), chunk.payload() + 200);
             at += 3) {
            for (const std::int64_t value : {std::int64_t{-1}, std::int64_t{1}, std::int64_t{1} << 40,
                                             std::numeric_limits<std::int64_t>::max() - 2}) {
                Bytes hostile = bytes;
                for (const Chunk& copy : chunksOf(hostile, recordEnd)) { // in both indexes
                    const bool isSame =
                        copy.kind() == chunk.kind() &&
                        std::equal(bytes.begin() + static_cast<std::ptrdiff_t>(chunk.payload()),
                                   bytes.begin() + static_cast<std::ptrdiff_t>(chunk.end()),
                                   bytes.begin() + static_cast<std::ptrdiff_t>(copy.payload()));
                    if (!isSame) continue;
                    std::memcpy(&hostile[copy.payload() + at], &value, 8);
                    copy.seal();
                }
                if (hostile == bytes) continue;
                SCOPED_TRACE(std::string(1, chunk.kind()) + std::to_string(at));
                write(hostile);
                const PackageFile opened(file);
                ASSERT_EQ(opened.check().empty(), false);
                for (std::size_t k = 0; k < opened.dataSets().size(); ++k) {
                    const test::DataSet dataSet = test::newDataSet();
                    try {
                        opened.read(static_cast<std::int64_t>(k), *dataSet);
                    } catch (const FileError&) {
                        continue;
                    }
                    ASSERT_TRUE(std::ranges::count(recordBytes, stored(*dataSet)) == 1);
                }
            }
        }
    }
}

// A checksum that fits is no proof that a record loads; an entry that is missing hides no data set.
TEST_F(PackageDamage, WhatAnIndexLeavesOutOrClaimsIsSeen) {
    PackageFile::save(file, package, PackageSections());
    Bytes omitting = test::contents(file);
    const std::vector<Chunk> sound = chunksOf(omitting, recordEnd);
    std::size_t gone = 0, begin = 0;
    std::uint32_t restBefore = 0; // the last data set
    for (const PackageEntry& row : rows) {
        restBefore = crc32c(restBefore, &omitting[begin], static_cast<std::size_t>(row.offset) - begin);
        begin = static_cast<std::size_t>(row.offset + row.length);
    }
    for (std::size_t k = sound.size(); k-- > 0;) { // from the end, so that places stay
        const Chunk& chunk = sound[k];
        std::int64_t number = 0;
        if (chunk.kind() == 'H') {
            number = dataSets - 1;
            const auto hidden = static_cast<std::size_t>(rows.back().offset);
            const std::uint32_t rest = crc32c(restBefore, &omitting[hidden], recordEnd - hidden);
            std::memcpy(&omitting[chunk.payload() + 12], &rest, 4);
            std::memcpy(&omitting[chunk.payload() + 16], &number, 4);
            chunk.seal();
        } else if (chunk.kind() == 'E') {
            std::memcpy(&number, &omitting[chunk.payload()], 4);
            if (number != dataSets - 1) continue;
            gone = chunk.end() - chunk.begin;
            omitting.erase(omitting.begin() + static_cast<std::ptrdiff_t>(chunk.begin),
                           omitting.begin() + static_cast<std::ptrdiff_t>(chunk.end()));
        }
    }
    const Chunk end{&omitting, omitting.size() - 40};
    for (const std::size_t k : {0u, 1u}) {
        std::int64_t distance;
        std::memcpy(&distance, &omitting[end.payload() + 8 * k], 8);
        distance -= static_cast<std::int64_t>(gone) * (k == 0 ? 2 : 1);
        std::memcpy(&omitting[end.payload() + 8 * k], &distance, 8);
    }
    end.seal();
    write(omitting);
    EXPECT_FALSE(PackageFile(file).hasIndex());
    EXPECT_EQ(PackageFile(file).dataSets().size(), rows.size());
    EXPECT_EQ(PackageFile(file).check().front().record, "index");

    Bytes unloadable = bytes;
    const auto at = static_cast<std::size_t>(rows[1].offset) + 28;
    unloadable[at] ^= std::byte{1}; // its version
    const std::uint32_t checksum = crc32c(0, &unloadable[at - 28], static_cast<std::size_t>(rows[1].length));
    for (const Chunk& chunk : chunksOf(unloadable, recordEnd)) {
        std::int32_t number;
        std::memcpy(&number, &unloadable[chunk.payload()], 4);
        if (chunk.kind() != 'E' || number != 1) continue;
        std::memcpy(&unloadable[chunk.payload() + 4 + 8 + 8], &checksum, 4);
        chunk.seal();
    }
    std::vector<bool> whole(dataSets, true);
    whole[1] = false;
    expectSaved(unloadable, whole, true);
    const PackageFile opened(file);
    CMemFile copied;
    EXPECT_THROW(opened.copyRecord(1, copied), FileError);
    EXPECT_TRUE(copied.bytes().empty());
}

// A text may hold anything; a slot's flag that is gone does not touch the record before it.
TEST_F(PackageDamage, AGuessNeverOverrulesWhatLoads) {
    std::u16string text(16, u' ');
    std::memcpy(text.data(), recordBytes[0].data(), 32);
    for (const int where : {0, 3}) {
        CTrialIcaDatazq& dataSet = *package.getIcaData(where);
        dataSet.m_icaName = u"x" + text + u"y";
        const Bytes sound = stored(package);
        write(sound);
        EXPECT_TRUE(PackageFile(file).check().empty());
        Bytes damaged = sound; // behind a damage, too
        damaged[20] ^= std::byte{1};
        write(damaged);
        CFaceIcazq loaded;
        EXPECT_FALSE(PackageFile(file).load(loaded).empty());
        ASSERT_EQ(loaded.getTotalIca(), dataSets);
        EXPECT_EQ(loaded.getIcaData(where)->m_icaName, dataSet.m_icaName);
        dataSet.m_icaName = u"plain";
    }
}

// Everything that rewrites a file keeps its sections.
TEST_F(PackageDamage, SectionsStay) {
    const auto keeps = [&](const fs::path& path) {
        const PackageFile opened(path);
        EXPECT_TRUE(opened.check().empty());
        return opened.readSections() == sections;
    };
    EXPECT_EQ(*PackageFile(file).section("marks"), sections.at("marks"));
    EXPECT_FALSE(PackageFile(file).section("other"));
    PackageFile opened(file);
    opened.replace(package);
    EXPECT_TRUE(keeps(file));
    PackageFile::save(file, package);
    EXPECT_TRUE(keeps(file));
    Bytes cut = bytes;
    cut.pop_back();
    write(cut);
    PackageFile::save(file, package);
    EXPECT_TRUE(keeps(file)) << "also those of a file whose end is damaged";
    PackageFile(file).salvage(saved);
    EXPECT_TRUE(keeps(saved));
    PackageFile other(saved);
    other.replaceSections({});
    EXPECT_TRUE(PackageFile(saved).sections().empty());
    EXPECT_EQ(stored(package), Bytes(plain));
    const Bytes withOne = {std::byte{1}};
    const PackageSections merged =
        mergeSections({sections, {{"marks", withOne}, {"own", withOne}}},
                      [](const std::string& name, const std::vector<std::vector<std::byte>>& blocks) {
                          EXPECT_EQ(name, "marks");
                          return blocks.back();
                      });
    EXPECT_EQ(merged, (PackageSections{{"marks", withOne}, {"empty", {}}, {"own", withOne}}));
    PackageWriter writer(*std::make_unique<CMemFile>(), 0, {});
    EXPECT_THROW(writer.finish({{"\xFF", {}}}), CInvalidArgException);
}

} // namespace
