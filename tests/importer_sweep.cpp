// SPDX-License-Identifier: BSD-3-Clause
// Damages a copy of a .set file in many ways; each import of it is refused, or gives what the whole file
// gives.
//     importer_sweep FILE.set FOLDER STEP [WORD or FILE...]
// The copy is made in FOLDER, beside what lies there. It is cut at every byte of its first 64 KiB and at
// every STEP-th after that, its .fdt file more seldom. Each word ("OFFSET:BYTES") is set to 0, half, one more
// and 2^31 - 1.
#include "exchange/EeglabSet.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

// Everything that becomes a package, bit by bit; nothing when the file is refused.
std::optional<std::string> import(const fs::path& path) {
    try {
        icawave::formats::EeglabSet set(path);
        std::string all = set.name.utf8();
        const auto add = [&](const auto& values) {
            all.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof *values.data());
        };
        add(std::vector<double>{set.samplingRate, set.begin, set.end});
        add(std::vector<std::int64_t>{set.channels, set.sampleCount, set.trials, set.weights.rows()});
        for (const Eigen::MatrixXd* matrix : {&set.weights, &set.sphere, &set.mixing}) add(*matrix);
        add(set.sensors);
        for (const bool hidden : set.hidden) all += hidden ? '1' : '0';
        for (const std::int64_t trial : {std::int64_t{0}, set.trials / 2, set.trials - 1})
            add(set.samples(trial, 0, set.sampleCount));
        return all;
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

class Sweep {
public:
    explicit Sweep(const fs::path& path) : m_path(path), m_whole(import(path)) {}

    bool isReadable() const { return m_whole.has_value(); }
    void check(const std::string& damage) { check(m_path, damage); }
    void check(const fs::path& path, const std::string& damage) {
        ++m_tried;
        const std::optional<std::string> found = import(path);
        if (!found) return;
        ++m_same;
        if (found == m_whole) return;
        if (++m_wrong < 20) std::printf("imported as something else: %s\n", damage.c_str());
    }
    int report() const {
        std::printf("%d tried, %d imported, %d of them wrong\n", m_tried, m_same, m_wrong);
        return m_wrong > 0;
    }

private:
    fs::path m_path;
    std::optional<std::string> m_whole;
    int m_tried = 0, m_same = 0, m_wrong = 0;
};

void cutEverywhere(Sweep& sweep, const fs::path& path, std::uint64_t dense, std::uint64_t step) {
    const fs::path saved = path.string() + ".whole";
    fs::copy_file(path, saved);
    for (std::uint64_t size = fs::file_size(path); size-- > 0;) {
        if (size >= dense && size % step != 0) continue;
        fs::resize_file(path, size);
        sweep.check("cut to " + std::to_string(size));
    }
    fs::rename(saved, path);
}

void changeWord(Sweep& sweep, const fs::path& path, const std::string& word) {
    const auto colon = word.find(':');
    const std::uint64_t offset = std::stoull(word), bytes = std::stoull(word.substr(colon + 1));
    std::uint64_t value = 0;
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(offset);
    file.read(reinterpret_cast<char*>(&value), bytes);
    const auto put = [&](std::uint64_t changed) {
        file.seekp(offset).write(reinterpret_cast<const char*>(&changed), bytes).flush();
    };
    for (const std::uint64_t changed : {std::uint64_t{0}, value / 2, value + 1, std::uint64_t{0x7FFFFFFF}}) {
        put(changed);
        if (changed != value)
            sweep.check("bytes " + word + " from " + std::to_string(value) + " to " +
                        std::to_string(changed));
    }
    put(value);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) return 2;
    const fs::path source = argv[1], copy = fs::path(argv[2]) / source.filename();
    const fs::path samples = fs::path(source).replace_extension(".fdt");
    fs::copy_file(source, copy);
    if (fs::exists(samples)) fs::copy_file(samples, fs::path(argv[2]) / samples.filename());
    for (const fs::directory_entry& file : fs::directory_iterator(argv[2]))
        fs::permissions(file, fs::perms::owner_write, fs::perm_options::add);
    Sweep sweep(copy);
    if (!sweep.isReadable()) return 2;
    const std::uint64_t step = std::stoull(argv[3]);
    cutEverywhere(sweep, copy, 65536, step);
    const fs::path sampleCopy = fs::path(argv[2]) / samples.filename();
    if (fs::exists(sampleCopy)) cutEverywhere(sweep, sampleCopy, 1024, 97 * step);
    for (int k = 4; k < argc; ++k) {
        if (*argv[k] == '/')
            sweep.check(argv[k], argv[k]);
        else
            changeWord(sweep, copy, argv[k]);
    }
    return sweep.report();
}
