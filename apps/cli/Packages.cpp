// SPDX-License-Identifier: BSD-3-Clause
// icawave salvage, index, extract and merge: package files, record by record.
#include "apps/cli/Command.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Load.h"
#include "apps/cli/Text.h"

#include <algorithm>
#include <cerrno>
#include <iostream>

namespace icawave::cli {

namespace {

struct Options {
    std::vector<std::string> files;
    std::vector<std::string> dataSets;
    Target target;
    bool fewer = false; // data sets than the target has

    const std::string& file() const { return files.front(); }
};

void report(const Output& target, std::int64_t dataSets) {
    std::cout << printable(target.path()) << ": " << counted(dataSets, "data set") << '\n';
}

const char* textOf(DataSetState state) {
    switch (state) {
    case DataSetState::whole:
        return "whole";
    case DataSetState::unproven:
        return "loads, no checksum of it is there";
    case DataSetState::lost:
        break;
    }
    return "lost";
}

void print(const PackageReport& report) {
    for (const ArchiveFault& fault : report.faults) std::cout << printable(describe(fault)) << '\n';
    for (const DataSetFinding& found : report.dataSets) {
        std::cout << "data set " << (found.number < 0 ? "?" : std::to_string(found.number)) << ' '
                  << printable(found.name.utf8()) << ": " << textOf(found.state) << '\n';
    }
}

// Every fault is one, but for an index, which is made again from the records.
bool isLoss(const ArchiveFault& fault) {
    return fault.record != "index";
}

// A package that stands at the target is not replaced by one that has less.
void requireNotFewer(const Output& target, const PackageReport& report) {
    try {
        const std::int64_t there = std::ssize(PackageFile(target.path()).dataSets());
        const std::int64_t left = std::ranges::count_if(
            report.dataSets, [](const DataSetFinding& found) { return found.state != DataSetState::lost; });
        if (left < there)
            throw Failure(target.path(), "holds " + counted(there, "data set") + ", and " +
                                             std::to_string(left) + " would replace them; --fewer does so");
    } catch (const FileError&) { // no package
    }
}

void salvage(const Options& options) {
    const Output target = options.target.output(options.files);
    const Input input(options.file(), 3);
    if (!input.isPackage()) throw Failure(options.file(), "is a data set file, not a package");
    if (!options.fewer && target.isThere()) requireNotFewer(target, input.package().inspect());
    const PackageReport report = input.package().salvage(target.path(), target.expected());
    print(report);
    cli::report(target, std::ssize(PackageFile(target.path()).dataSets()));
    if (std::ranges::any_of(report.faults, isLoss)) throw Ended{finding};
}

void index(const Options& options) {
    if (!FileState::of(options.file())) throw Failure(options.file(), systemError(ENOENT));
    const WriterLock lock(options.file());
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
    const auto slots = static_cast<std::int32_t>(indices.size());
    savePackage(target, slots, info, input.sections(), [&](PackageWriter& writer) {
        for (const std::int32_t k : indices) input.copyTo(writer, k);
    });
    report(target, std::ssize(indices));
}

// What a section means is not known here: none takes the place of another one.
std::vector<std::byte> theSame(const std::string& name, const std::vector<std::vector<std::byte>>& blocks) {
    if (std::ranges::any_of(blocks, [&](const auto& block) { return block != blocks.front(); }))
        throw Failure("section " + name, "differs between the files and cannot be united");
    return blocks.front();
}

// The inputs are opened twice, so that only one is open at a time.
void merge(const Options& options) {
    const Output target = options.target.output(options.files);
    std::vector<std::string> twice = options.files;
    twice.insert(twice.end(), options.files.begin(), options.files.end());
    Progress::plan(twice);
    std::int32_t total = 0;
    std::optional<PackageInfo> info;
    std::vector<PackageSections> sections;
    for (const std::string& file : options.files) {
        const Input input(file, 0);
        input.requireSound();
        total += input.count();
        if (!info) info = input.info();
        sections.push_back(input.sections());
        Progress::finishFile();
    }
    savePackage(target, total, *info, mergeSections(sections, theSame), [&](PackageWriter& writer) {
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
    CLI::App& command = addPackageCommand(app, "salvage", "Save the undamaged data sets of a damaged package",
                                          options, salvage);
    addTarget(command, options->target);
    command.add_flag("--fewer", options->fewer, "replace a package that holds more data sets, too");
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
