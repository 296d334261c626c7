// icawave list: one row for each data set, with the columns of the manager.
#include "apps/cli/Commands.h"
#include "apps/cli/Json.h"
#include "apps/cli/Load.h"
#include "apps/cli/Text.h"

#include <algorithm>
#include <iostream>
#include <vector>

namespace icawave::cli {

namespace {

void printJson(const Input& input, const std::vector<PackageEntry>& rows) {
    JsonWriter json(std::cout);
    const auto field = [&json](const char* name, const auto& value) {
        json.key(name);
        json.value(value);
    };
    json.beginObject();
    field("kind", CString(input.isPackage() ? "package" : "dataset"));
    json.key("dataSets");
    json.beginArray();
    for (std::int64_t k = 0; const PackageEntry& row : rows) {
        json.beginObject();
        field("index", k);
        field("name", row.name);
        field("sample", row.samples);
        field("numIca", row.channels);
        field("actIca", row.selectedChannel);
        field("class", row.dataSetClass);
        field("selectBegin", row.selectBegin);
        field("selectEnd", row.selectEnd);
        field("current", k++ == input.info().current);
        field("shown", row.shown);
        json.endObject();
    }
    json.endArray();
    json.endObject();
    std::cout << '\n';
}

void printTable(const Input& input, const std::vector<PackageEntry>& rows) {
    using Cells = std::vector<std::string>;
    std::vector<Cells> table = {{"Index", "Name", "Sample", "Num ICA", "Act ICA", "Class", "Select B",
                                 "Select E", "Current", "Shown"}};
    for (std::int64_t k = 0; const PackageEntry& row : rows) {
        const bool current = k == input.info().current;
        table.push_back({std::to_string(k++), printable(row.name), std::to_string(row.samples),
                         std::to_string(row.channels), std::to_string(row.selectedChannel),
                         std::to_string(row.dataSetClass), std::to_string(row.selectBegin),
                         std::to_string(row.selectEnd), current ? "Front" : "Back",
                         row.shown ? "shown" : "hidden"});
    }
    std::vector<std::size_t> widths(table.front().size());
    for (const Cells& cells : table) {
        for (std::size_t c = 0; c < cells.size(); ++c) widths[c] = std::max(widths[c], codePoints(cells[c]));
    }
    for (const Cells& cells : table) {
        for (std::size_t c = 0; c + 1 < cells.size(); ++c) std::cout << padded(cells[c], widths[c]) << "  ";
        std::cout << cells.back() << '\n';
    }
}

} // namespace

void list(const std::string& file, bool json) {
    Input input(file);
    std::vector<PackageEntry> rows = input.rows();
    const Messages messages;
    if (!input.isPackage())
        rows[0].samples = input.dataSet(0).getTotalSample(); // as the data set corrects it
    json ? printJson(input, rows) : printTable(input, rows);
    input.requireSound();
    if (messages.count > 0) throw Failure(file, messages.first.utf8());
}

} // namespace icawave::cli
