// SPDX-License-Identifier: BSD-3-Clause
// What the fuzz targets share. Each target is one function: it takes any bytes and ends the program when the
// library breaks a promise. libFuzzer looks for such bytes; replay.cpp runs the ones that are kept.
#pragma once

#include <icawave/icawave.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

inline void require(bool promise, const char* what) {
    if (promise) return;
    std::fprintf(stderr, "broken promise: %s\n", what);
    std::abort();
}

// The input, taken from the front; zeros behind its end.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    template <class T>
    T take() {
        T value{};
        const std::size_t count = std::min(sizeof value, m_size);
        if (count > 0) std::memcpy(&value, m_data, count);
        m_data += count;
        m_size -= count;
        return value;
    }
    std::size_t below(std::size_t bound) { return take<std::uint8_t>() % bound; }
    // The last bytes, at most `count` of them: for what a file's own bytes shall be followed by.
    static Input tail(const std::uint8_t* data, std::size_t size, std::size_t count) {
        const std::size_t taken = std::min(size, count);
        return {data + (size - taken), taken};
    }
    bool isEmpty() const { return m_size == 0; }
    const std::uint8_t* data() const { return m_data; }
    std::size_t size() const { return m_size; }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
};

// Counts the library's messages.
class Messages : public icawave::UiFrontEnd {
public:
    void messageBox(const CString&) override { ++count; }

    std::int64_t count = 0;

private:
    icawave::InstalledFrontEnd m_installed{*this};
};

// The bytes in a heap block of exactly their size, so that the address sanitizer sees a read past their end.
class Bytes {
public:
    Bytes(const void* data, std::size_t size) : m_size(size), m_block(new std::uint8_t[size]) {
        if (size > 0) std::memcpy(m_block.get(), data, size);
    }
    const std::uint8_t* data() const { return m_block.get(); }
    std::size_t size() const { return m_size; }
    bool operator==(const Bytes& other) const {
        return m_size == other.m_size && std::equal(data(), data() + m_size, other.data());
    }

private:
    std::size_t m_size;
    std::unique_ptr<std::uint8_t[]> m_block;
};

// Whether everything was as it should be. A result of 0, a message and an exception each say that it was not;
// a projection item that does not load is only known to the archive.
template <class T>
bool load(T& object, const Bytes& bytes) {
    const Messages messages;
    CMemFile file(bytes.data(), bytes.size());
    CArchive archive(&file, CArchive::load, 64);
    std::int32_t result = 0;
    try {
        result = object.serialize(archive);
        require(archive.offset() <= static_cast<std::int64_t>(bytes.size()), "no more is read than there is");
    } catch (const CArchiveException&) {
    } catch (const CMemoryException&) {
    } catch (const COleException&) {
    }
    return result != 0 && messages.count == 0 && !archive.firstFault();
}

template <class T>
Bytes store(T& object) {
    CMemFile file;
    CArchive archive(&file, CArchive::store);
    require(object.serialize(archive) == 1, "what was loaded can be stored");
    archive.Close();
    return {file.bytes().data(), file.bytes().size()};
}

} // namespace fuzz
