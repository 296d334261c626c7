// SPDX-License-Identifier: BSD-3-Clause
// MAT-files of level 7.3, which are HDF5. Nothing can be promised of how the HDF5 library takes damaged
// bytes. So a child process asks it (Hdf5Child.cpp), under limits of memory and time, and reads only what is
// wanted; a child that dies is a file that is refused, and what it answers is checked like a file.
#include "exchange/ChildProcess.h"
#include "exchange/Hdf5Child.h"
#include "exchange/MatArray.h"
#include "exchange/Text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace icawave::formats {

namespace {

using namespace hdf5;

class Hdf5File : public MatSource {
public:
    Hdf5File(const std::string& path, std::uint64_t begin, std::uint64_t fileBytes)
        : m_path(path), m_allowance(inflatedAllowance(fileBytes)),
          m_child(limits(fileBytes), [&](Channel& channel) { serve(path, begin, fileBytes, channel); }) {}

    std::shared_ptr<const MatArray> variable(const std::string& name) override;

    // What the child answers; the values are of the number that the sizes say, of `storage` each.
    struct Reply {
        Answer answer;
        std::vector<std::int64_t> sizes;
        std::int64_t count = 0;
        std::unique_ptr<std::byte[]> values;
    };
    Reply ask(const std::string& array, bool withValues) {
        const Request request{withValues, static_cast<std::uint32_t>(array.size())};
        Reply reply;
        Answer& answer = reply.answer;
        if (!m_child.channel().send(&request, sizeof request) ||
            !m_child.channel().send(array.data(), array.size()))
            failed();
        receive(&answer, sizeof answer);
        if (answer.outcome == Outcome::missing) return reply;
        if (answer.outcome == Outcome::refused) {
            std::string what(std::min<std::uint64_t>(answer.bytes, 200), '\0');
            receive(what.data(), what.size());
            throw Failure(m_path,
                          "damaged MAT-file: " + (what.empty() ? "it asks for too much memory" : what));
        }
        if (answer.outcome != Outcome::found || answer.type < MatClass::cell ||
            answer.type > MatClass::opaque || answer.rank < 2 || answer.rank > maxDimensions)
            nonsense();
        reply.sizes.resize(answer.rank);
        receive(reply.sizes.data(), answer.rank * sizeof(std::int64_t));
        const bool negative = std::ranges::any_of(reply.sizes, [](std::int64_t size) { return size < 0; });
        if (negative || !multiply(reply.sizes, reply.count)) nonsense();
        const std::uint64_t each = bytesPerValue(answer.storage);
        if (each == 0 || answer.bytes > m_allowance || answer.bytes % each != 0 ||
            (withValues && answer.bytes / each != static_cast<std::uint64_t>(reply.count)))
            nonsense();
        m_allowance -= answer.bytes;
        reply.values = std::make_unique_for_overwrite<std::byte[]>(answer.bytes);
        receive(reply.values.get(), answer.bytes);
        return reply;
    }

private:
    static ChildLimits limits(std::uint64_t fileBytes) {
        return {(std::uint64_t{32} << 20) + 2 * inflatedAllowance(fileBytes), 5 + fileBytes / 1'000'000};
    }
    void receive(void* to, std::size_t bytes) {
        if (!m_child.channel().receive(to, bytes)) failed();
    }
    [[noreturn]] void nonsense() const {
        throw Failure(m_path, "damaged MAT-file: its HDF5 structure cannot be read");
    }
    [[noreturn]] void failed() { throw Failure(m_path, "damaged MAT-file: reading it " + m_child.end()); }

    std::string m_path;
    std::uint64_t m_allowance;
    ChildProcess m_child;
};

class Hdf5Array : public MatArray {
public:
    Hdf5Array(Hdf5File& file, std::string path, Hdf5File::Reply reply)
        : m_file(file), m_path(std::move(path)) {
        type = reply.answer.type;
        isComplex = reply.answer.isComplex != 0;
        sizes = std::move(reply.sizes);
        count = reply.count;
    }

    static std::shared_ptr<const MatArray> find(Hdf5File& file, const std::string& path) {
        Hdf5File::Reply reply = file.ask(path, false);
        if (reply.answer.outcome == Outcome::missing) return nullptr;
        return std::make_shared<Hdf5Array>(file, path, std::move(reply));
    }
    std::shared_ptr<const MatArray> field(const std::string& name) const override {
        return find(m_file, m_path + "/" + name);
    }
    MatData data() const override {
        if (!m_values) {
            Hdf5File::Reply reply = m_file.ask(m_path, true);
            m_storage = reply.answer.storage;
            m_bytes = reply.answer.bytes;
            m_values = std::move(reply.values);
        }
        return {m_storage, false, {m_values.get(), m_bytes}};
    }

private:
    Hdf5File& m_file;
    std::string m_path;
    mutable MatStorage m_storage = MatStorage::float64;
    mutable std::uint64_t m_bytes = 0;
    mutable std::unique_ptr<std::byte[]> m_values;
};

std::shared_ptr<const MatArray> Hdf5File::variable(const std::string& name) {
    return Hdf5Array::find(*this, name);
}

// HDF5 states where it ends; a file that was cut is told here, before anything reads it.
void requireWhole(const std::string& path, std::uint64_t begin, std::uint64_t fileBytes) {
    std::array<char, 64> block{};
    std::ifstream file(path, std::ios::binary);
    file.seekg(begin).read(block.data(), block.size());
    const bool old = block[8] < 2; // version of the superblock
    const bool wide = block[old ? 13 : 9] == 8;
    std::uint64_t end = 0;
    std::memcpy(&end, block.data() + (old ? 40 : 28), sizeof end);
    if (file.gcount() < 48 || !wide) throw Failure(path, "damaged MAT-file: its HDF5 header is incomplete");
    std::uint64_t base = 0;
    std::memcpy(&base, block.data() + (old ? 24 : 12), sizeof base);
    if (end > fileBytes || base > fileBytes)
        throw Failure(path, "damaged MAT-file: it ends early, at byte " + std::to_string(fileBytes) + " of " +
                                std::to_string(end));
}

} // namespace

std::unique_ptr<MatSource> openHdf5(const std::string& path, std::uint64_t begin) {
    const std::uint64_t fileBytes = std::filesystem::file_size(path);
    requireWhole(path, begin, fileBytes);
    return std::make_unique<Hdf5File>(path, begin, fileBytes);
}

} // namespace icawave::formats
