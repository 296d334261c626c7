// SPDX-License-Identifier: BSD-3-Clause
// What the tests share: objects whose values encode their own index, records as bytes, and bytes that end
// where their heap block ends.
#pragma once

#include <icawave/icawave.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// How failures print a text.
inline void PrintTo(const CString& text, std::ostream* out) {
    *out << '"' << text.utf8() << '"';
}

namespace test {

using Bytes = std::vector<std::byte>;
using Values = std::vector<double>;
using Results = std::vector<std::int64_t>; // of calls one after the other

// A loading archive over a heap block of exactly the bytes' size, so that the address sanitizer sees a read
// past their end.
class Reader {
public:
    explicit Reader(const Bytes& bytes, std::int32_t bufferSize = 4096)
        : m_block(new std::byte[bytes.size()]), m_file(copy(bytes), bytes.size()),
          archive(&m_file, CArchive::load, bufferSize) {}

private:
    const std::byte* copy(const Bytes& bytes) {
        std::copy(bytes.begin(), bytes.end(), m_block.get());
        return m_block.get();
    }
    std::unique_ptr<std::byte[]> m_block;
    CMemFile m_file;

public:
    CArchive archive;
};

inline Bytes contents(const CMemFile& file) {
    return {file.bytes().begin(), file.bytes().end()};
}

// A folder of its own for a test's files.
class Folder {
public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "icawave-test-XXXXXX").string();
        path = ::mkdtemp(name.data());
    }
    ~Folder() { std::filesystem::remove_all(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    CString operator/(const char* name) const { return (path / name).string(); }

    std::filesystem::path path;
};

// What saves that are going on, or were killed, have in a folder.
inline std::vector<std::filesystem::path> temporaryFiles(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().filename().native().starts_with(".icawave-")) found.push_back(entry.path());
    }
    return found;
}

inline Bytes contents(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    const auto* first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

inline Bytes golden(const char* name) {
    Bytes bytes = contents(std::filesystem::path(ICAWAVE_GOLDEN) / name);
    EXPECT_FALSE(bytes.empty()) << name;
    return bytes;
}

template <class T>
Bytes stored(T& object, std::int32_t bufferSize = 4096) {
    CMemFile file;
    CArchive archive(&file, CArchive::store, bufferSize);
    EXPECT_EQ(object.serialize(archive), 1);
    archive.Close();
    return contents(file);
}

// What came of loading: the messages shown, the result or the exception's text, and where the first fault
// lies.
struct Outcome {
    std::vector<CString> messages;
    std::int32_t result = -1; // -1: an exception came
    std::string exception;
    std::optional<icawave::ArchiveFault> fault;
    std::int64_t bytesLeft = 0;
};

template <class T>
Outcome load(T& object, const Bytes& bytes, std::int32_t bufferSize = 4096) {
    Outcome outcome;
    icawave::ScriptedFrontEnd ui;
    Reader reader(bytes, bufferSize);
    try {
        outcome.result = object.serialize(reader.archive);
    } catch (const CException& e) {
        outcome.exception = e.what();
    }
    outcome.messages = ui.messages;
    outcome.fault = reader.archive.firstFault();
    outcome.bytesLeft = reader.archive.remainingBytes();
    return outcome;
}

using DataSet = icawave::DataSetOwner;
using icawave::newDataSet;

// Channels of given values; channel k's sample i of `countingDataSet` is 100 k + i.
inline DataSet dataSetOf(const std::vector<std::vector<double>>& channels) {
    DataSet dataSet = newDataSet();
    dataSet->checkInitSnsIcaData(channels.size(), channels[0].size(), true);
    for (std::size_t k = 0; k < channels.size(); ++k)
        dataSet->m_chnlIcaData[k].copy2Mtx(channels[k].data(), channels[k].size());
    return dataSet;
}

inline DataSet countingDataSet(int nChnl, int nSample) {
    std::vector<std::vector<double>> channels(nChnl);
    for (int k = 0; k < nChnl; ++k) {
        for (int i = 0; i < nSample; ++i) channels[k].push_back(100.0 * k + i);
    }
    return dataSetOf(channels);
}

inline std::vector<double> values(const CChnlIcaData& channel) {
    return {channel.m_data, channel.m_data + channel.m_size};
}

// The rows of a row-major matrix, as the library takes them.
class Rows {
public:
    Rows(std::vector<double> values, std::size_t columns) : m_values(std::move(values)) {
        for (std::size_t k = 0; k < m_values.size(); k += columns) m_rows.push_back(&m_values[k]);
    }
    const double* const* get() const { return m_rows.data(); }

private:
    std::vector<double> m_values;
    std::vector<const double*> m_rows;
};

// While it lives, the n-th allocation from now (from 0) fails, and no other. Defined in Allocations.cpp.
class FailAllocation {
public:
    explicit FailAllocation(long n);
    ~FailAllocation();
    bool failed() const; // whether that allocation was reached
};

// The most memory that was in use since it began, beyond what was in use then. Defined in Allocations.cpp.
class PeakMemory {
public:
    PeakMemory();
    std::size_t bytes() const;

private:
    std::size_t m_before;
};

} // namespace test
