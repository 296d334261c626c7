// SPDX-License-Identifier: BSD-3-Clause
#include "apps/cli/Load.h"

#include "persist/archive/RecordFacts.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <filesystem>

namespace icawave::cli {

namespace {

constexpr const char* neitherKind = "neither a package nor a data set file";

// Opening a package without an index loads, searches and checks all of it.
constexpr int readingsOfScan = 3;

// Why a file that the system opens is none that can be read.
const char* refusal(const std::string& path) {
    return std::filesystem::is_directory(path) ? "is a directory" : "is not a regular file";
}

class InputFile : public CFile {
public:
    explicit InputFile(const std::string& path) {
        errno = 0;
        if (!OpenPath(path, modeRead)) throw Failure(path, errno ? systemError(errno) : refusal(path));
        m_progress.emplace("reading " + path, GetLength());
    }

    std::int64_t Read(void* buffer, std::int64_t count) override {
        m_progress->update(GetPosition());
        return CFile::Read(buffer, count);
    }

private:
    std::optional<Progress> m_progress;
};

// The text that a file begins with, if it is short enough for a keyword in any of its encodings.
CString firstText(const std::string& path) {
    InputFile file(path);
    std::array<char, 64> head{};
    CMemFile start(head.data(), static_cast<std::size_t>(file.Read(head.data(), head.size())));
    CArchive archive(&start, CArchive::load);
    CString text;
    try {
        archive >> text;
    } catch (const CException&) { // no text, or a longer one
    }
    return text;
}

// A number or a range, both ends included, as far as it can be read.
std::optional<std::pair<std::int32_t, std::int32_t>> rangeOf(std::string_view text) {
    std::pair<std::int32_t, std::int32_t> range;
    const char* const end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), end, range.first);
    auto last = first;
    range.second = range.first;
    if (first.ptr != end && *first.ptr == '-') last = std::from_chars(first.ptr + 1, end, range.second);
    const bool isWhole = first.ec == std::errc() && last.ec == std::errc() && last.ptr == end;
    if (!isWhole || range.first < 0 || range.second < range.first) return std::nullopt;
    return range;
}

std::string andMore(std::int64_t faults) {
    return faults > 0 ? "; " + counted(faults, "more fault") : "";
}

} // namespace

std::string describe(const ArchiveFault& fault) {
    std::string line = fault.text + " at byte " + std::to_string(fault.offset);
    if (!fault.record.empty()) line += " in " + fault.record;
    return line;
}

void requireNone(const std::string& path, const std::vector<ArchiveFault>& faults, int status) {
    if (!faults.empty())
        throw Failure(path, describe(faults.front()) + andMore(std::ssize(faults) - 1), status);
}

WholeFile::WholeFile(const std::string& path) {
    try {
        const CString keyword = firstText(path);
        isPackage = keyword == PackageRecord::keyword;
        if (!isPackage && keyword != DataSetRecord::keyword) throw Failure(path, neitherKind);
        InputFile file(path);
        bytes = file.GetLength();
        CArchive archive(&file, CArchive::load);
        load(archive);
        bytesBehind = archive.remainingBytes();
    } catch (const CException& e) {
        throw Failure(path, e.what());
    }
    if (!isPackage || bytesBehind == 0 || fault) return;
    const std::vector<ArchiveFault> faults = PackageFile(path).check();
    if (!faults.empty()) fault = describe(faults.front()) + andMore(std::ssize(faults) - 1);
}

void WholeFile::load(CArchive& archive) {
    Messages messages;
    std::int32_t result = 0;
    try {
        if (isPackage) {
            result = package.serialize(archive);
        } else {
            DataSetOwner dataSet = newDataSet();
            if (!dataSet) AfxThrowMemoryException();
            package.setIcaData(dataSet.get(), 0);
            result = dataSet.release()->serialize(archive);
        }
    } catch (const CException& e) {
        messages.messageBox(e.what());
        result = 0;
    }
    if (messages.count == 0 && result == 0) messages.messageBox("the record could not be read");
    if (messages.count == 0 && !archive.firstFault()) return;
    const ArchiveFault unplaced{archive.offset(), "", messages.first.utf8()};
    fault = describe(archive.firstFault().value_or(unplaced)) + andMore(messages.count - 1);
}

Input::Input(const std::string& path, int readings) : m_path(path), m_progress("reading " + path, 0) {
    const CString keyword = firstText(path);
    if (keyword == DataSetRecord::keyword) {
        m_single.emplace(path);
        m_row.push_back(entryOf(*m_single->package.getIcaData(0)));
        return;
    }
    try {
        const auto whenRead = [this](std::int64_t bytes) { m_progress.update(m_bytesRead = bytes); };
        m_progress.expect((readingsOfScan + readings) * bytesOf(path));
        m_package.emplace(path, whenRead);
        m_progress.expect(m_bytesRead + readings * m_package->size());
    } catch (const FileError&) {
        if (keyword == PackageRecord::keyword) throw;
        throw Failure(path, neitherKind); // nor are there data sets behind a damaged beginning
    }
}

PackageInfo Input::info() const {
    return isPackage() ? m_package->info() : infoOf(CFaceIcazq());
}

PackageSections Input::sections() const {
    return isPackage() ? m_package->readSections() : PackageSections();
}

std::vector<std::int32_t> Input::chosen(const std::vector<std::string>& words) const {
    std::vector<std::int32_t> indices;
    for (const std::string& word : words) {
        for (std::size_t begin = 0, end = 0; end != word.npos; begin = end + 1) {
            end = word.find(',', begin);
            const auto range = rangeOf(std::string_view(word).substr(begin, end - begin));
            if (!range)
                throw Failure("-d " + word, "is not a data set's number, a range (0-9) or several (0-9,12)");
            if (range->second >= count())
                throw Failure(m_path, "there is no data set " + std::to_string(range->second) +
                                          "; the file holds " + std::to_string(count()) + ", counted from 0");
            for (std::int32_t k = range->first; k <= range->second; ++k) indices.push_back(k);
        }
    }
    return indices;
}

std::int32_t Input::chosenOne(const std::vector<std::string>& words) const {
    if (words.empty() && !isPackage()) return 0;
    const std::vector<std::int32_t> indices = chosen(words);
    if (indices.size() != 1) throw Failure(m_path, "a package needs -d and the number of one data set");
    return indices.front();
}

CTrialIcaDatazq& Input::dataSet(std::int32_t index) {
    if (!isPackage()) return *m_single->package.getIcaData(index);
    m_dataSet.reset(); // before the next one needs memory
    m_dataSet = newDataSet();
    if (!m_dataSet) AfxThrowMemoryException();
    m_package->read(index, *m_dataSet);
    return *m_dataSet;
}

DataSetOwner Input::take(std::int32_t index) {
    dataSet(index);
    return std::move(m_dataSet);
}

void Input::copyTo(PackageWriter& writer, std::int32_t index) {
    isPackage() ? writer.copy(*m_package, index) : writer.add(&dataSet(index));
}

void Input::requireSound(int status) const {
    if (m_single && m_single->fault) throw Failure(m_path, *m_single->fault, status);
    if (m_package) requireNone(m_path, m_package->faults(), status);
}

} // namespace icawave::cli
