// SPDX-License-Identifier: BSD-3-Clause
// icawave import: packages from EEGLAB data sets.
#include "apps/cli/Command.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Progress.h"
#include "apps/cli/Text.h"
#include "exchange/EeglabImport.h"

#include <filesystem>
#include <iostream>
#include <map>

namespace icawave::cli {

namespace {

struct Options {
    std::vector<std::string> sources;
    Target target;
    bool strict = false;
};

// The package that a source becomes: the target, or NAME.icpkg in the folder that it is.
std::string targetOf(const Options& options, const std::string& source) {
    std::error_code ignored;
    const std::filesystem::path target(options.target.path);
    if (std::filesystem::is_directory(target, ignored))
        return target / std::filesystem::path(source).filename().replace_extension(".icpkg");
    if (options.sources.size() > 1) throw Failure(target, "is not a folder, which several data sets need");
    return target;
}

void importSet(const std::string& source, const Output& target, bool strict) {
    formats::EeglabImport set(source);
    if (!set.sampleFile().empty()) target.mustNotBe(set.sampleFile());
    save(target, [&](CFile& file) {
        Progress progress("importing " + source, set.trials());
        set.write(file, [&](std::int64_t trials) { progress.update(trials); });
        if (const std::vector<std::string> warnings = set.warnings(); strict && !warnings.empty())
            throw Failure(source, warnings.front());
    });
    std::cout << printable(target.path()) << ": " << printable(set.report()) << '\n';
    for (const std::string& warning : set.warnings())
        std::cerr << "warning: " << printable(source + ": " + warning) << '\n';
}

void import(const Options& options) {
    std::map<std::string, Output> targets;      // of the sources
    std::map<std::string, std::string> sources; // of the targets
    for (const std::string& source : options.sources) {
        const std::string target = targetOf(options, source);
        const auto [other, isNew] = sources.emplace(target, source);
        if (!isNew) throw Failure(target, "would be made of " + other->second + " and of " + source);
    }
    for (const auto& [target, source] : sources) // in one order, so that no two imports wait for each other
        targets.emplace(source, Output(target, options.target.force, options.sources));
    forEachFile(options.sources, false,
                [&](const std::string& source) { importSet(source, targets.at(source), options.strict); });
}

} // namespace

void addImport(CLI::App& app) {
    const auto options = std::make_shared<Options>();
    CLI::App& command = addCommand(
        app, "import", "Make a package of each EEGLAB data set, one data set per trial", options, import);
    addFiles(command, options->sources, "SRC.set", "the EEGLAB data sets");
    addTarget(command, options->target, "-o", "the package to write, or the folder for SRC.icpkg");
    command.add_flag("--strict", options->strict, "take warnings for errors: write nothing");
}

} // namespace icawave::cli
