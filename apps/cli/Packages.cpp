// SPDX-License-Identifier: BSD-3-Clause
// icawave salvage, index, extract and merge: package files, record by record.
#include "apps/cli/Command.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Load.h"
#include "apps/cli/Text.h"

#include <algorithm>
#include <iostream>

namespace icawave::cli {

namespace {

struct Options {
    std::vector<std::string> files;
    std::vector<std::string> dataSets;
    Target target;

    const std::string& file() const { return files.front(); }
};

void report(const Output& target, std::int64_t dataSets) {
    std::cout << printable(target.path()) << ": " << counted(dataSets, "data set") << '\n';
}

// An index that is damaged is made again from the records.
bool isLoss(const ArchiveFault& fault) {
    return fault.record != "index";
}

void salvage(const Options& options) {
    const Output target = options.target.output(options.files);
    const Input input(options.file(), 2);
    if (!input.isPackage()) throw Failure(options.file(), "is a data set file, not a package");
    const std::vector<ArchiveFault> faults = input.package().salvage(target.path(), target.expected());
    for (const ArchiveFault& fault : faults) std::cout << printable(describe(fault)) << '\n';
    report(target, std::ssize(PackageFile(target.path()).dataSets()));
    if (std::ranges::any_of(faults, isLoss)) throw Ended{finding};
}

void index(const Options& options) {
    PackageFile package(options.file());
    const bool had = package.hasIndex();
    package.addIndex();
    std::cout << printable(options.file()) << ": "
              << (had ? "has an index already"
                      : "index of " + counted(std::ssize(package.dataSets()), "data set"))
              << '\n';
}

void extract(const Options& options) {
    const Output target = options.target.output(options.files);
    Input input(options.file());
    input.requireSound();
    PackageInfo info = input.info();
    const std::vector<std::int32_t> indices = input.chosen(options.dataSets);
    const auto current = std::find(indices.begin(), indices.end(), info.current);
    info.current = current == indices.end() ? 0 : static_cast<std::int32_t>(current - indices.begin());
    savePackage(target, static_cast<std::int32_t>(indices.size()), info, [&](PackageWriter& writer) {
        for (const std::int32_t k : indices) input.copyTo(writer, k);
    });
    report(target, std::ssize(indices));
}

// The inputs are opened twice, so that only one is open at a time.
void merge(const Options& options) {
    const Output target = options.target.output(options.files);
    std::vector<std::string> twice = options.files;
    twice.insert(twice.end(), options.files.begin(), options.files.end());
    Progress::plan(twice);
    std::int32_t total = 0;
    std::optional<PackageInfo> info;
    for (const std::string& file : options.files) {
        const Input input(file, 0);
        input.requireSound();
        total += input.count();
        if (!info) info = input.info();
        Progress::finishFile();
    }
    savePackage(target, total, *info, [&](PackageWriter& writer) {
        for (const std::string& file : options.files) {
            Input input(file);
            for (std::int32_t k = 0; k < input.count(); ++k) input.copyTo(writer, k);
            Progress::finishFile();
        }
    });
    report(target, total);
}

// A command of one package.
CLI::App& addPackageCommand(CLI::App& app, const char* name, const char* purpose,
                            const std::shared_ptr<Options>& options, void (*work)(const Options&)) {
    options->files.resize(1);
    CLI::App& command = addCommand(app, name, purpose, options, work);
    addFile(command, options->files.front());
    return command;
}

} // namespace

void addSalvage(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    addTarget(addPackageCommand(app, "salvage", "Save the undamaged data sets of a damaged package", options,
                                salvage),
              options->target);
}

void addIndex(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    addPackageCommand(app, "index", "Add an index to a package that has none", options, index);
}

void addExtract(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = addPackageCommand(app, "extract", "Make a package of some of a package's data sets",
                                          options, extract);
    addDataSets(command, options->dataSets, "the data sets, counted from 0, such as 0-9,12")->required();
    addTarget(command, options->target);
}

void addMerge(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    CLI::App& command =
        addCommand(app, "merge", "Make one package of the data sets of several files", options, merge);
    addFiles(command, options->files, "FILE", "the files to read; the first gives the package's fields");
    addTarget(command, options->target);
}

} // namespace icawave::cli
