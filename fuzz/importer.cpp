// SPDX-License-Identifier: BSD-3-Clause
// The import of any .set file of level 5: any bytes behind the header, or any structure that a .set can hold,
// with any bytes in the samples' file; plain or compressed.
#include "fuzz/Fuzz.h"

#include "exchange/EeglabImport.h"

#include <icawave/PackageFile.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>
#include <zlib.h>

namespace {

using fuzz::Input;

const char* names[] = {"setname", "nbchan",     "pnts",      "trials",      "srate",       "xmin",
                       "xmax",    "icaweights", "icasphere", "icawinv",     "icachansind", "data",
                       "datfile", "icaact",     "reject",    "gcompreject", "event"};
constexpr std::size_t lastRequired = 11; // what comes behind it is left out when the bytes are over

using Bytes = std::string;

template <class T>
Bytes bytesOf(const std::vector<T>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

Bytes element(std::uint32_t type, const Bytes& content) {
    const auto length = static_cast<std::uint32_t>(content.size());
    return bytesOf(std::vector<std::uint32_t>{type, length}) + content + Bytes((8 - length % 8) % 8, '\0');
}

Bytes array(const char* name, std::uint32_t type, const std::vector<std::int32_t>& sizes,
            const Bytes& content) {
    return element(14, element(6, bytesOf(std::vector<std::uint32_t>{type, 0})) + element(5, bytesOf(sizes)) +
                           element(1, name) + content);
}

Bytes variable(const char* name, Input& in, int depth);

Bytes numbers(const char* name, Input& in) {
    std::vector<std::int32_t> sizes;
    for (const std::size_t most : {4, 4, 3}) sizes.push_back(static_cast<std::int32_t>(1 + in.below(most)));
    if (in.below(3) > 0) sizes[2] = 1;
    if (in.below(3) == 0) sizes[0] = sizes[1] = 1;
    if (in.below(16) == 0) sizes[in.below(3)] = 0;
    const bool wild = in.below(4) == 0;
    std::vector<double> values(static_cast<std::size_t>(sizes[0]) * sizes[1] * sizes[2]);
    for (double& value : values) value = wild ? in.take<double>() : static_cast<double>(in.below(5));
    if (in.below(4) != 0) return array(name, 6, sizes, element(9, bytesOf(values)));
    std::vector<float> singles(values.size());
    std::ranges::transform(values, singles.begin(),
                           [](double v) { return std::abs(v) < 1e38 ? float(v) : 0.0F; });
    return array(name, 7, sizes, element(7, bytesOf(singles)));
}

Bytes text(const char* name, Input& in) {
    Bytes value = in.below(4) == 0 ? "in.fdt" : "";
    for (std::size_t k = value.empty() ? in.below(8) : 0; k > 0; --k)
        value += static_cast<char>(in.take<std::uint8_t>());
    return array(name, 4, {1, static_cast<std::int32_t>(value.size())}, element(2, value));
}

Bytes structure(const char* name, Input& in, int depth) {
    const std::size_t count = in.below(16) == 0 ? in.below(3) : 1;
    Bytes all, fields;
    for (const char* field : names) all += Bytes(field) + Bytes(16 - std::strlen(field), '\0');
    for (std::size_t k = 0; k < count * std::size(names); ++k) {
        const bool there = k % std::size(names) <= lastRequired || in.below(2) != 0;
        fields += there ? variable("", in, depth + 1) : element(14, {});
    }
    return array(name, 2, {1, static_cast<std::int32_t>(count)},
                 element(5, bytesOf(std::vector<std::int32_t>{16})) + element(1, all) + fields);
}

Bytes variable(const char* name, Input& in, int depth) {
    switch (in.below(12)) {
    case 0:
        return text(name, in);
    case 1:
        return depth < 3 ? structure(name, in, depth) : element(14, {});
    case 2:
        return element(14, {});
    default:
        return numbers(name, in);
    }
}

Bytes compressed(const Bytes& plain) {
    uLongf size = ::compressBound(plain.size());
    Bytes stream(size, '\0');
    ::compress2(reinterpret_cast<Bytef*>(stream.data()), &size, reinterpret_cast<const Bytef*>(plain.data()),
                plain.size(), 1);
    const std::vector<std::uint32_t> tag{15, static_cast<std::uint32_t>(size)};
    return bytesOf(tag) + stream.substr(0, size);
}

Bytes file(Input& in) {
    const std::size_t kind = in.below(8);
    Bytes content;
    if (kind < 2)
        content = Bytes(reinterpret_cast<const char*>(in.data()), in.size());
    else if (kind == 2)
        content = variable("EEG", in, 0);
    else
        content = structure("EEG", in, 0);
    if (kind >= 3 && in.below(2) == 0 && !content.empty()) // one word of a sound file
        content.replace(in.take<std::uint16_t>() % content.size() / 4 * 4, 4,
                        bytesOf(std::vector{in.take<std::uint32_t>()}));
    const bool compress = kind == 1 || in.below(4) == 0;
    return Bytes(124, ' ') + Bytes("\0\1IM", 4) + (compress ? compressed(content) : content);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::filesystem::path folder = "/dev/shm/icawave-fuzz-" + std::to_string(::getpid());
    std::filesystem::create_directory(folder);
    const std::string source = folder / "in.set", target = folder / "out.icpkg";
    Input in(data, size);
    const Bytes content = file(in);
    std::ofstream(source, std::ios::binary).write(content.data(), std::ssize(content));
    const std::vector<char> samples(in.take<std::uint8_t>());
    std::ofstream(folder / "in.fdt", std::ios::binary).write(samples.data(), std::ssize(samples));
    bool imported = false;
    try {
        icawave::formats::EeglabImport set(source);
        icawave::AtomicFile out(target);
        set.write(out);
        out.commit();
        imported = true;
    } catch (const std::runtime_error&) { // what is wrong with the file
    }
    fuzz::require(imported == std::filesystem::exists(target), "a failed import leaves no package");
    if (imported) fuzz::require(icawave::PackageFile(target).check().empty(), "an imported package is sound");
    std::filesystem::remove_all(folder);
    return 0;
}
