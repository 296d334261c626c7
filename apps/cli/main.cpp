// icawave: the command line. Every command either does all of its work or ends with one line on stderr; the
// exit status is 0 or 1.
#include "apps/cli/Commands.h"
#include "apps/cli/Progress.h"
#include "apps/cli/Text.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <iostream>

namespace {

using namespace icawave::cli;

int fail(const std::string& what) {
    std::cout.flush(); // what there was to print comes before the complaint
    std::cerr << "icawave: " << printable(what) << '\n';
    return 1;
}

void run(int argc, char** argv) {
    CLI::App app("Inspects, converts and stores component analyses of MEG and EEG recordings.", "icawave");
    app.require_subcommand(1);
    std::string file, target, second;
    std::vector<std::string> files;
    std::vector<std::int32_t> indices;
    std::optional<std::int32_t> index;
    bool json = false, components = false;
    const auto command = [&](const char* name, const char* purpose, const char* fileName,
                             const std::function<void()>& work) {
        CLI::App* added = app.add_subcommand(name, purpose);
        added->add_option(fileName, file, "the file to read")->required();
        added->callback(work);
        return added;
    };
    const char* const asJson = "machine-readable output";

    command("import", "Make a package from an EEGLAB data set", "SRC.set", [&] { importSet(file, target); })
        ->add_option("-o", target, "the package to write")
        ->type_name("OUT.icpkg")
        ->required();
    command("list", "Print one row for each data set", "FILE", [&] {
        list(file, json);
    })->add_flag("--json", json, asJson);
    command("info", "Print what a file holds", "FILE", [&] {
        info(file, json);
    })->add_flag("--json", json, asJson);
    const auto choosesDataSet = [&](CLI::App* added, const char* meaning) {
        added->add_option("-d", index, meaning)->type_name("INDEX");
    };
    const auto writes = [&](CLI::App* added) {
        added->add_option("-o", target, "the file to write")->type_name("OUT")->required();
    };
    const char* const whichOne = "the data set, counted from 0; needed for a package";
    CLI::App* exporting =
        command("export", "Write the values of one data set (.csv, .npy) or the data set itself (.icd)",
                "FILE", [&] { exportDataSet(file, index, target); });
    choosesDataSet(exporting, whichOne);
    writes(exporting);
    command("check", "Check all checksums, then read all records", "FILE", [&] { check(file); });
    command("dump", "Print every field as JSON, doubles as their bits", "FILE", [&] { dumpFile(file); });
    command("copy", "Load a file and store it again", "IN", [&] { copy(file, target); })
        ->add_option("OUT", target, "the file to write")
        ->required();
    command("diff", "Tell which fields and values of two files differ, bit for bit", "A",
            [&] { diff(file, second); })
        ->add_option("B", second, "the file to compare it with")
        ->required();
    writes(command("salvage", "Save the undamaged data sets of a damaged package", "IN",
                   [&] { salvage(file, target); }));
    command("index", "Add an index to a package that has none", "FILE", [&] { addIndex(file); });
    CLI::App* extracting = command("extract", "Make a package of some of a package's data sets", "FILE",
                                   [&] { extract(file, indices, target); });
    extracting->add_option("-d", indices, "the data sets, counted from 0")->type_name("INDEX")->required();
    writes(extracting);
    CLI::App* merging = app.add_subcommand("merge", "Make one package of the data sets of several files");
    merging->add_option("FILES", files, "the files to read; the first gives the package's fields")
        ->required();
    merging->callback([&] { merge(files, target); });
    writes(merging);
    CLI::App* asking = command("stats", "Print range, means and RMS of each data set", "FILE",
                               [&] { stats(file, index, components, json); });
    choosesDataSet(asking, "only this data set, counted from 0");
    asking->add_flag("--components", components,
                     "also minimum, mean, maximum, mean, mean magnitude and RMS of each component");
    asking->add_flag("--json", json, asJson);
    CLI::App* dividing = command("norm", "Divide the values of one data set by their RMS", "FILE",
                                 [&] { norm(file, index, target); });
    choosesDataSet(dividing, whichOne);
    writes(dividing);
    writes(command("sum", "Add all data sets of equal size into the first and keep that one", "FILE",
                   [&] { sum(file, target); }));
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        app.exit(help);
    }
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN); // a reader that went away shows as a failed write
    std::ios::sync_with_stdio(false);
    wipeProgressBefore(std::cout);
    try {
        run(argc, argv);
        if (!std::cout.flush()) throw Failure("standard output", "cannot be written");
        return 0;
    } catch (const std::bad_alloc&) {
        return fail("out of memory");
    } catch (const std::exception& e) {
        return fail(e.what());
    }
}
