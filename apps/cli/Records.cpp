// icawave check, dump and copy: whole records.
#include "apps/cli/Commands.h"
#include "apps/cli/Dump.h"
#include "apps/cli/Load.h"
#include "apps/cli/Text.h"

#include <iostream>

namespace icawave::cli {

namespace {

void writeJson(std::ostream& out, Input& input) {
    JsonWriter json(out);
    json.beginObject();
    json.key("kind");
    json.value(CString(input.isPackage() ? "package" : "dataset"));
    json.key("object");
    json.beginObject();
    if (input.isPackage())
        dump(json, input.package());
    else
        dump(json, input.dataSet(0));
    json.endObject();
    json.endObject();
    out << '\n';
}

} // namespace

void check(const std::string& file) {
    Input input(file);
    input.requireSound();
    std::cout << printable(file) << ": ";
    if (input.isPackage())
        std::cout << "package, " << counted(input.count(), "data set");
    else
        std::cout << "data set";
    std::cout << ", " << counted(input.bytes(), "byte") << ", no fault found";
    if (input.bytesBehind() > 0)
        std::cout << "; " << counted(input.bytesBehind(), "byte") << " behind the record";
    std::cout << '\n';
}

void dumpFile(const std::string& file) {
    Input input(file);
    writeJson(std::cout, input);
    input.requireSound();
}

void copy(const std::string& source, const std::string& target) {
    Input input(source);
    input.requireSound();
    input.saveAs(target);
}

} // namespace icawave::cli
