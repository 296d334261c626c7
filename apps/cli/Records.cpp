// icawave check, dump and copy: whole files.
#include "apps/cli/Commands.h"
#include "apps/cli/Fields.h"
#include "apps/cli/Load.h"
#include "apps/cli/Save.h"
#include "apps/cli/Text.h"

#include <iostream>

namespace icawave::cli {

namespace {

// Checksums first, then every record by the library's loaders. Opening a file without an index did that.
std::vector<ArchiveFault> checkAll(Input& input) {
    std::vector<ArchiveFault> faults = input.package().check();
    for (const ArchiveFault& fault : faults) std::cout << printable(describe(fault)) << '\n';
    for (std::int32_t k = 0; faults.empty() && input.package().hasIndex() && k < input.count(); ++k)
        input.dataSet(k);
    return faults;
}

} // namespace

void check(const std::string& file) {
    Input input(file);
    if (input.isPackage())
        requireNone(file, checkAll(input));
    else
        input.requireSound();
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

void dumpFile(const std::string& file) {
    WholeFile whole(file);
    JsonWriter json(std::cout);
    json.beginObject();
    json.key("kind");
    json.value(CString(whole.isPackage ? "package" : "dataset"));
    json.key("object");
    json.beginObject();
    if (whole.isPackage)
        dump(json, whole.package);
    else
        dump(json, *whole.package.getIcaData(0));
    json.endObject();
    json.endObject();
    std::cout << '\n';
    if (whole.fault) throw Failure(file, *whole.fault);
}

void copy(const std::string& source, const std::string& target) {
    Input input(source);
    input.requireSound();
    if (!input.isPackage()) return save(target, [&](CFile& out) { store(out, input.dataSet(0)); });
    if (input.package().hasIndex()) {
        return savePackage(target, input.count(), input.info(), [&](PackageWriter& writer) {
            for (std::int32_t k = 0; k < input.count(); ++k) writer.add(&input.dataSet(k));
        });
    }
    CFaceIcazq package;
    requireNone(source, input.package().load(package));
    save(target, [&](CFile& out) { store(out, package); });
}

} // namespace icawave::cli
