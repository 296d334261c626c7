// icawave salvage, index, extract and merge: package files, record by record.
#include "apps/cli/Commands.h"
#include "apps/cli/Load.h"
#include "apps/cli/Save.h"
#include "apps/cli/Text.h"

#include <filesystem>
#include <iostream>

namespace icawave::cli {

namespace {

void report(const std::string& target, std::int64_t dataSets) {
    std::cout << printable(target) << ": " << counted(dataSets, "data set") << '\n';
}

} // namespace

void salvage(const std::string& source, const std::string& target) {
    std::error_code ignored;
    if (std::filesystem::equivalent(source, target, ignored))
        throw Failure(target, "is the file to salvage, which may still be needed");
    const Input input(source);
    if (!input.isPackage()) throw Failure(source, "is a data set file, not a package");
    const std::vector<ArchiveFault> faults = input.package().salvage(target);
    for (const ArchiveFault& fault : faults) std::cout << printable(describe(fault)) << '\n';
    report(target, std::ssize(PackageFile(target).dataSets()));
}

void addIndex(const std::string& file) {
    PackageFile package(file);
    const bool had = package.hasIndex();
    package.addIndex();
    std::cout << printable(file) << ": "
              << (had ? "has an index already"
                      : "index of " + counted(std::ssize(package.dataSets()), "data set"))
              << '\n';
}

void extract(const std::string& source, const std::vector<std::int32_t>& indices, const std::string& target) {
    Input input(source);
    input.requireSound();
    PackageInfo info = input.info();
    for (const std::int32_t index : indices) input.checked(index);
    const auto current = std::find(indices.begin(), indices.end(), info.current);
    info.current = current == indices.end() ? 0 : static_cast<std::int32_t>(current - indices.begin());
    savePackage(target, static_cast<std::int32_t>(indices.size()), info, [&](PackageWriter& writer) {
        for (const std::int32_t index : indices) input.copyTo(writer, index);
    });
    report(target, std::ssize(indices));
}

// The inputs are opened twice, so that only one is open at a time.
void merge(const std::vector<std::string>& sources, const std::string& target) {
    std::int32_t total = 0;
    std::optional<PackageInfo> info;
    for (const std::string& source : sources) {
        const Input input(source);
        input.requireSound();
        total += input.count();
        if (!info) info = input.info();
    }
    savePackage(target, total, *info, [&](PackageWriter& writer) {
        for (const std::string& source : sources) {
            Input input(source);
            for (std::int32_t k = 0; k < input.count(); ++k) input.copyTo(writer, k);
        }
    });
    report(target, total);
}

} // namespace icawave::cli
