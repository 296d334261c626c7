// SPDX-License-Identifier: BSD-3-Clause
// Runs a fuzz target on every file of the folders that are named, without a fuzzer.
#include "fuzz/Fuzz.h"

#include <filesystem>
#include <fstream>
#include <iterator>

int main(int argc, char** argv) {
    int count = 0;
    for (int k = 1; k < argc; ++k) {
        if (!std::filesystem::is_directory(argv[k])) continue; // a target without inputs of its own
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[k])) {
            if (!entry.is_regular_file()) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(in), {}};
            const fuzz::Bytes exact(bytes.data(), bytes.size());
            LLVMFuzzerTestOneInput(exact.data(), exact.size());
            ++count;
        }
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
