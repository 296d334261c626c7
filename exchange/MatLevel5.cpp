// SPDX-License-Identifier: BSD-3-Clause
// MAT-files of level 5, plain or compressed. A file is a header and elements; an element is a type, a length
// and that many bytes; the bytes of an array are elements again. Each must fill what it lies in to the last
// byte, and values must be as many as the sizes say, so that no length can be wrong unnoticed.
#include "exchange/Inflate.h"
#include "exchange/MatArray.h"
#include "exchange/Text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <fstream>
#include <string_view>

namespace icawave::formats {

namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t headerBytes = 128;
constexpr std::uint32_t typeInt8 = 1, typeInt32 = 5, typeUint32 = 6, typeMatrix = 14, typeCompressed = 15;
constexpr std::uint32_t complexFlag = 0x0800;
constexpr std::size_t maxFields = 65536; // of one structure

struct Element {
    std::uint32_t type = 0;
    Bytes bytes;
};

std::string_view textOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Reads elements one behind the other.
class Elements {
public:
    Elements(const std::string& path, bool swapped, Bytes bytes)
        : m_path(path), m_swapped(swapped), m_rest(bytes) {}

    bool atEnd() const { return m_rest.empty(); }
    bool swapped() const { return m_swapped; }
    const std::string& path() const { return m_path; }

    Element next() {
        const std::uint32_t word = take<std::uint32_t>();
        // Up to four bytes share the eight of the tag.
        if (const std::uint32_t length = word >> 16; length > 0) {
            if (length > 4) damaged("an element states a wrong length");
            return {word & 0xFFFF, take(4).first(length)};
        }
        const std::uint32_t length = take<std::uint32_t>();
        const Bytes bytes = take(length);
        if (word != typeCompressed) take((8 - length % 8) % 8); // filled up to a multiple of eight
        return {word, bytes};
    }
    Element next(std::uint32_t type) {
        const Element element = next();
        if (element.type != type) damaged("an element is of another type than its place asks for");
        return element;
    }

    template <class T>
    T number(Bytes bytes, std::size_t index) const {
        std::array<std::byte, sizeof(T)> copy;
        std::memcpy(copy.data(), bytes.data() + index * sizeof(T), sizeof(T));
        if (m_swapped) std::ranges::reverse(copy);
        return std::bit_cast<T>(copy);
    }

    [[noreturn]] void damaged(const std::string& what) const {
        throw Failure(m_path, "damaged MAT-file: " + what);
    }

private:
    Bytes take(std::size_t count) {
        if (count > m_rest.size()) damaged("it ends early, or an element states a wrong length");
        const Bytes taken = m_rest.first(count);
        m_rest = m_rest.subspan(count);
        return taken;
    }
    template <class T>
    T take() {
        return number<T>(take(sizeof(T)), 0);
    }

    const std::string& m_path;
    bool m_swapped;
    Bytes m_rest;
};

class Level5Array : public MatArray {
public:
    // From the elements of an array, all of them. No bytes are an empty array.
    explicit Level5Array(Elements elements) : m_elements(elements) {
        sizes = {0, 0};
        if (elements.atEnd()) return;
        const Element flags = elements.next(typeUint32);
        if (flags.bytes.size() != 8) elements.damaged("an array's flags are incomplete");
        const auto word = elements.number<std::uint32_t>(flags.bytes, 0);
        type = static_cast<MatClass>(word & 0xFF);
        isComplex = word & complexFlag;
        if (type < MatClass::cell || type > MatClass::opaque)
            elements.damaged("an array is of an unknown class");
        readSizes(elements);
        name = textOf(elements.next(typeInt8).bytes);
        if (isNumeric(type))
            readNumbers(elements);
        else if (type == MatClass::text)
            readText(elements);
        else if (type == MatClass::structure)
            readFields(elements);
        else
            return; // nobody asks what is in it
        if (!elements.atEnd()) elements.damaged("an array holds more than it states");
    }

    std::shared_ptr<const MatArray> field(const std::string& wanted) const override {
        const auto found = std::ranges::find(m_names, wanted);
        if (found == m_names.end()) return nullptr;
        if (std::find(found + 1, m_names.end(), wanted) != m_names.end())
            m_elements.damaged("two fields are named " + wanted);
        const Bytes bytes = m_fields[found - m_names.begin()];
        return std::make_shared<Level5Array>(Elements(m_elements.path(), m_elements.swapped(), bytes));
    }
    MatData data() const override { return m_data; }

    std::string_view name;

private:
    void readSizes(Elements& elements) {
        if (type == MatClass::opaque) { // states none
            sizes = {1, 1};
        } else {
            const Bytes stated = elements.next(typeInt32).bytes;
            if (stated.size() < 8 || stated.size() % 4 != 0)
                elements.damaged("an array's sizes are incomplete");
            sizes.clear();
            for (std::size_t k = 0; k < stated.size() / 4; ++k)
                sizes.push_back(elements.number<std::int32_t>(stated, k));
        }
        const bool negative = std::ranges::any_of(sizes, [](std::int64_t size) { return size < 0; });
        if (negative || !multiply(sizes, count)) elements.damaged("an array states impossible sizes");
    }

    void readNumbers(Elements& elements) {
        for (int part = 0; part < (isComplex ? 2 : 1); ++part) {
            const Element values = elements.next();
            const auto storage = static_cast<MatStorage>(values.type);
            const std::uint64_t each = values.type < 16 ? bytesPerValue(storage) : 0;
            if (each == 0) elements.damaged("values of an unknown type");
            if (values.bytes.size() % each != 0 ||
                values.bytes.size() / each != static_cast<std::uint64_t>(count))
                elements.damaged("an array's values are not as many as its sizes say");
            if (part == 0) m_data = {storage, elements.swapped(), values.bytes};
        }
    }

    void readText(Elements& elements) {
        const Element text = elements.next();
        const auto storage = static_cast<MatStorage>(text.type);
        const std::uint64_t each = text.type < 5 || text.type > 15 ? bytesPerValue(storage) : 0;
        if (each == 0) elements.damaged("text of an unknown encoding");
        bool whole = text.bytes.size() == each * static_cast<std::uint64_t>(count);
        if (storage == MatStorage::utf8 && !whole) { // writers count code points, or the units of UTF-16
            std::int64_t points = 0, units = 0;
            for (const std::byte byte : text.bytes) {
                points += (byte & std::byte{0xC0}) != std::byte{0x80};
                units += byte >= std::byte{0xF0};
            }
            whole = count == points || count == points + units;
        }
        if (!whole) elements.damaged("a text is not as long as its sizes say");
        m_data = {storage, elements.swapped(), text.bytes};
    }

    void readFields(Elements& elements) {
        const Bytes nameBytes = elements.next(typeInt32).bytes;
        const std::int32_t length = nameBytes.size() == 4 ? elements.number<std::int32_t>(nameBytes, 0) : 0;
        const std::string_view names = textOf(elements.next(typeInt8).bytes);
        if (length < 1 || names.size() % length != 0)
            elements.damaged("a structure's field names are incomplete");
        const std::size_t fields = names.size() / length;
        if (fields > maxFields) elements.damaged("a structure has too many fields");
        for (std::size_t k = 0; k < fields && count == 1; ++k) {
            const std::string_view padded = names.substr(k * length, length);
            m_names.push_back(padded.substr(0, padded.find('\0')));
        }
        for (std::int64_t element = 0; element < count && fields > 0; ++element) {
            for (std::size_t k = 0; k < fields; ++k) {
                const Bytes bytes = elements.next(typeMatrix).bytes;
                if (count == 1) m_fields.push_back(bytes);
            }
        }
    }

    Elements m_elements; // of the array, all of them: for the path, and the order of its bytes
    MatData m_data;
    std::vector<std::string_view> m_names; // of a single structure
    std::vector<Bytes> m_fields;
};

class Level5File : public MatSource {
public:
    explicit Level5File(const std::string& path) : m_path(path) {
        const Bytes file = readFile();
        if (file.size() < headerBytes) throw Failure(path, "not a MAT-file");
        const std::string_view mark = textOf(file.subspan(headerBytes - 4, 4));
        const bool swapped = mark == std::string_view("\1\0MI", 4);
        if (!swapped && mark != std::string_view("\0\1IM", 4))
            throw Failure(path, "not a MAT-file of level 5 or 7.3");
        std::uint64_t allowance = inflatedAllowance(file.size());
        for (Elements elements(m_path, swapped, file.subspan(headerBytes)); !elements.atEnd();) {
            const Element element = elements.next();
            Bytes bytes = element.bytes;
            if (element.type == typeCompressed)
                bytes = inflated(bytes, elements, allowance);
            else if (element.type != typeMatrix)
                elements.damaged("what should be a variable is none");
            m_variables.push_back(std::make_shared<Level5Array>(Elements(m_path, swapped, bytes)));
        }
    }

    std::shared_ptr<const MatArray> variable(const std::string& name) override {
        std::shared_ptr<const MatArray> found;
        for (const std::shared_ptr<const Level5Array>& variable : m_variables) {
            if (variable->name != name) continue;
            if (found) throw Failure(m_path, "holds two variables named " + name);
            found = variable;
        }
        return found;
    }

private:
    struct Buffer {
        explicit Buffer(std::size_t count)
            : size(count), block(std::make_unique_for_overwrite<std::byte[]>(count)) {}
        std::size_t size;
        std::unique_ptr<std::byte[]> block;
        std::span<std::byte> bytes() const { return {block.get(), size}; }
    };

    Bytes readFile() {
        std::ifstream file(m_path, std::ios::binary | std::ios::ate);
        const std::streamoff size = file.tellg();
        if (size < 0) throw Failure(m_path, "cannot be read");
        const std::span<std::byte> bytes = m_buffers.emplace_back(size).bytes();
        if (!file.seekg(0).read(reinterpret_cast<char*>(bytes.data()), size))
            throw Failure(m_path, "cannot be read");
        return bytes;
    }

    // A compressed element is one array, whose own length says what memory it takes.
    Bytes inflated(Bytes compressed, const Elements& elements, std::uint64_t& allowance) {
        std::array<std::byte, 8> tag;
        if (!inflateStart(compressed, tag)) elements.damaged("a compressed variable is incomplete");
        const std::uint64_t size = tag.size() + elements.number<std::uint32_t>(tag, 1);
        if (elements.number<std::uint32_t>(tag, 0) != typeMatrix)
            elements.damaged("what should be a variable is none");
        if (size > allowance)
            throw Failure(m_path, "states compressed variables that are too large for a file of this size");
        allowance -= size;
        const std::span<std::byte> bytes = m_buffers.emplace_back(size).bytes();
        if (!inflateExactly(compressed, bytes))
            elements.damaged("a compressed variable is damaged or states a wrong length");
        return bytes.subspan(tag.size());
    }

    std::string m_path;
    std::vector<Buffer> m_buffers; // of the file, and of each compressed variable
    std::vector<std::shared_ptr<const Level5Array>> m_variables;
};

} // namespace

std::unique_ptr<MatSource> openLevel5(const std::string& path) {
    return std::make_unique<Level5File>(path);
}

} // namespace icawave::formats
