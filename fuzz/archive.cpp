// SPDX-License-Identifier: BSD-3-Clause
// The archive's primitives and texts: any sequence of reads, and what was read is written and read again.
#include "fuzz/Fuzz.h"

using fuzz::require;

namespace {

// Reads values of the kinds that `kinds` lists until one fails, and writes them again.
void copyValues(fuzz::Input kinds, CArchive& in, CArchive& out) {
    const auto copy = [&]<class T>(T value) {
        in >> value;
        out << value;
    };
    while (!kinds.isEmpty()) {
        switch (kinds.below(8)) {
        case 0:
            copy(std::int32_t{});
            break;
        case 1:
            copy(std::uint32_t{});
            break;
        case 2:
            copy(std::int64_t{});
            break;
        case 3:
            copy(double{});
            break;
        case 4:
            copy(std::uint8_t{});
            break;
        case 5:
            copy(bool{});
            break;
        case 6:
            copy(CString());
            break;
        default: {
            const std::size_t count = kinds.below(100);
            std::vector<std::uint8_t> raw(count);
            const std::int64_t got = in.Read(raw.data(), count);
            require(got >= 0 && got <= static_cast<std::int64_t>(count), "a read keeps to its buffer");
            out.Write(raw.data(), got);
        }
        }
        require(in.remainingBytes() >= 0, "the position stays inside the file");
    }
}

// The bytes of the values that could be read.
fuzz::Bytes copied(const fuzz::Input& kinds, const fuzz::Bytes& bytes, std::int32_t bufferSize) {
    CMemFile source(bytes.data(), bytes.size()), target;
    CArchive in(&source, CArchive::load, bufferSize), out(&target, CArchive::store, bufferSize);
    try {
        copyValues(kinds, in, out);
    } catch (const CArchiveException&) {
    } catch (const CMemoryException&) {
    } catch (const COleException&) {
    }
    out.Close();
    return {target.bytes().data(), target.bytes().size()};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    std::size_t count = input.below(32);
    count = std::min(count, input.size());
    const fuzz::Input kinds(input.data(), count);
    const fuzz::Bytes bytes(input.data() + count, input.size() - count);
    const fuzz::Bytes once = copied(kinds, bytes, 16);
    require(copied(kinds, bytes, 4096) == once, "the size of the buffer does not matter");
    require(copied(kinds, once, 64) == once, "what was written is read again");
    return 0;
}
