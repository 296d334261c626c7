// SPDX-License-Identifier: BSD-3-Clause
// icawave check, dump and copy: whole files.
#include "apps/cli/Command.h"
#include "apps/cli/Commands.h"
#include "apps/cli/Fields.h"
#include "apps/cli/Load.h"
#include "apps/cli/OutputLimit.h"
#include "apps/cli/Text.h"

#include <iostream>

namespace icawave::cli {

namespace {

struct CheckOptions {
    std::vector<std::string> files;
};

void checkPackage(const std::string& file, Input& input) {
    const std::vector<ArchiveFault> faults = input.package().check();
    for (const ArchiveFault& fault : faults) std::cout << printable(describe(fault)) << '\n';
    requireNone(file, faults, finding);
}

void checkFile(const std::string& file) {
    Input input(file, 2);
    if (input.isPackage())
        checkPackage(file, input);
    else
        input.requireSound(finding);
    std::cout << printable(file) << ": ";
    if (input.isPackage())
        std::cout << "package, " << counted(input.count(), "data set");
    else
        std::cout << "data set";
    std::cout << ", " << counted(input.bytes(), "byte") << ", no fault found";
    if (input.isPackage() && input.package().hasIndex()) std::cout << "; all checksums are right";
    if (input.bytesBehind() > 0)
        std::cout << "; " << counted(input.bytesBehind(), "byte") << " behind the record";
    std::cout << '\n';
}

void check(const CheckOptions& options) {
    forEachFile(options.files, false, checkFile);
}

struct DumpOptions {
    std::string file;
    bool summary = false;
};

void dump(const DumpOptions& options) {
    WholeFile whole(options.file);
    const Values values = options.summary ? Values::count : Values::byRows;
    const auto withObject = [&](const auto& use) {
        whole.isPackage ? use(whole.package) : use(*whole.package.getIcaData(0));
    };
    OutputLimit limit(options.file, whole.bytes);
    withObject([&](auto& object) {
        forEachField(object, [&](const std::string& key, const FieldValue& value) {
            limit.add(writtenBytes(key, value, values));
        });
    });
    JsonWriter json(std::cout);
    json.beginObject();
    json.field("file", CString(shownPath(options.file)));
    json.field("kind", CString(whole.isPackage ? "package" : "dataset"));
    json.key("object");
    json.beginObject();
    withObject([&](auto& object) { dump(json, object, values); });
    json.endObject();
    json.endObject();
    std::cout << '\n';
    if (whole.fault) throw Failure(options.file, *whole.fault);
}

struct CopyOptions {
    std::string file;
    Target target;
};

void copy(const CopyOptions& options) {
    const Output target = options.target.output({options.file});
    Input input(options.file);
    input.requireSound();
    if (!input.isPackage()) return save(target, [&](CFile& out) { store(out, input.dataSet(0)); });
    if (input.package().hasIndex()) {
        return savePackage(target, input.count(), input.info(), input.sections(), [&](PackageWriter& writer) {
            for (std::int32_t k = 0; k < input.count(); ++k) writer.add(&input.dataSet(k));
        });
    }
    CFaceIcazq package;
    requireNone(options.file, input.package().load(package));
    save(target, [&](CFile& out) { store(out, package); });
}

} // namespace

void addCheck(CLI::App& app) {
    const auto options = std::make_shared<CheckOptions>();
    addFiles(addCommand(app, "check", "Check all checksums, then read all records", options, check),
             options->files);
}

void addDump(CLI::App& app) {
    const auto options = std::make_shared<DumpOptions>();
    CLI::App& command = addCommand(
        app, "dump", "Print every field as JSON, doubles as their bits, matrices by rows", options, dump);
    addFile(command, options->file);
    command.add_flag("--summary", options->summary, "how many values there are in place of the values");
}

void addCopy(CLI::App& app) {
    const auto options = std::make_shared<CopyOptions>();
    CLI::App& command = addCommand(app, "copy", "Load a file and store it again", options, copy);
    addFile(command, options->file);
    addTarget(command, options->target, "OUT");
}

} // namespace icawave::cli
