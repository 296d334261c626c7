// The import of any structure that a .set file can hold. The file is written by the library that reads it, so
// that its own reading of damaged files is left out.
#include "fuzz/Fuzz.h"

#include "apps/cli/Commands.h"

#include <icawave/PackageFile.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <matio.h>
#include <unistd.h>

namespace {

using fuzz::Input;

const char* names[] = {"setname", "nbchan",     "pnts",      "trials",      "srate",       "xmin",
                       "xmax",    "icaweights", "icasphere", "icawinv",     "icachansind", "data",
                       "datfile", "icaact",     "reject",    "gcompreject", "event"};
constexpr std::size_t lastRequired = 11; // what comes behind it is left out when the bytes are over

matvar_t* variable(const char* name, Input& in, int depth);

matvar_t* numbers(const char* name, Input& in) {
    std::size_t sizes[3] = {1 + in.below(4), 1 + in.below(4), 1 + in.below(3)};
    if (in.below(3) > 0) sizes[2] = 1;
    if (in.below(3) == 0) sizes[0] = sizes[1] = 1;
    if (in.below(16) == 0) sizes[in.below(3)] = 0;
    const std::size_t count = sizes[0] * sizes[1] * sizes[2];
    const bool wild = in.below(4) == 0;
    std::vector<double> values(count);
    for (double& value : values) value = wild ? in.take<double>() : static_cast<double>(in.below(5));
    const bool single = in.below(4) == 0;
    std::vector<float> singles(values.begin(), values.end());
    return Mat_VarCreate(name, single ? MAT_C_SINGLE : MAT_C_DOUBLE, single ? MAT_T_SINGLE : MAT_T_DOUBLE, 3,
                         sizes, single ? static_cast<void*>(singles.data()) : values.data(), 0);
}

matvar_t* text(const char* name, Input& in) {
    std::string value = in.below(4) == 0 ? "in.fdt" : "";
    for (std::size_t k = value.empty() ? in.below(8) : 0; k > 0; --k)
        value += static_cast<char>(in.take<std::uint8_t>());
    std::size_t sizes[2] = {1, value.size()};
    return Mat_VarCreate(name, MAT_C_CHAR, MAT_T_UINT8, 2, sizes, value.data(), 0);
}

matvar_t* structure(const char* name, Input& in, int depth) {
    std::size_t sizes[2] = {1, in.below(16) == 0 ? in.below(3) : 1};
    matvar_t* made = Mat_VarCreateStruct(name, 2, sizes, names, static_cast<unsigned>(std::size(names)));
    if (sizes[1] != 1) return made;
    for (std::size_t k = 0; k < std::size(names); ++k) {
        if (k > lastRequired && in.below(2) == 0) continue;
        if (matvar_t* field = variable(names[k], in, depth + 1))
            Mat_VarSetStructFieldByName(made, names[k], 0, field);
    }
    return made;
}

matvar_t* variable(const char* name, Input& in, int depth) {
    switch (in.below(12)) {
    case 0:
        return text(name, in);
    case 1:
        return depth < 3 ? structure(name, in, depth) : nullptr;
    case 2:
        return nullptr;
    default:
        return numbers(name, in);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::filesystem::path folder = "/dev/shm/icawave-fuzz-" + std::to_string(::getpid());
    std::filesystem::create_directory(folder);
    const std::string source = folder / "in.set", target = folder / "out.icpkg";
    Input in(data, size);
    if (mat_t* file = Mat_CreateVer(source.c_str(), nullptr, MAT_FT_MAT5)) {
        matvar_t* made = in.below(16) == 0 ? variable("EEG", in, 0) : structure("EEG", in, 0);
        if (made) Mat_VarWrite(file, made, MAT_COMPRESSION_NONE);
        Mat_VarFree(made);
        Mat_Close(file);
    }
    const std::vector<char> samples(in.take<std::uint8_t>());
    std::ofstream(folder / "in.fdt", std::ios::binary).write(samples.data(), std::ssize(samples));
    std::cout.setstate(std::ios::failbit); // its report is not wanted
    bool imported = false;
    try {
        icawave::cli::importSet(source, {target, false});
        imported = true;
    } catch (const std::runtime_error&) { // what is wrong with the file
    }
    fuzz::require(imported == std::filesystem::exists(target), "a failed import leaves no package");
    if (imported) fuzz::require(icawave::PackageFile(target).check().empty(), "an imported package is sound");
    std::filesystem::remove_all(folder);
    return 0;
}
